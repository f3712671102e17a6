#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Measures what zul_media takes to mount a signed medium, beside sha256sum, openssl and cp of the same files.
#
# Usage: simulator/sandbox bench/groups/gate.sh REPETITIONS SIZE...
#
# A SIZE is "1 MB", "10 MB" or "100 MB", in ten files, or "10000 files" of 1 KB. Media are in memory, and so is what is
# copied, so that it is the gate that is measured and no disk. $ZUL_BUILD_DIR is the folder of the build. Prints lines
# "gate<TAB>WHAT, SIZE<TAB>subject<TAB>value": milliseconds, those of processor time, and MB at the peak.
set -euo pipefail

# shellcheck source=../../scripts/lib/script.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib/script.sh"
# shellcheck source=common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
only_in_the_sandbox
readonly root=/mnt/gate medium=/mnt/gate/media/sda1 copy=/mnt/copy

# cost COMMAND... - adds up milliseconds, and those of processor time, and keeps the higher peak, in KiB.
cost() {
    "$ZUL_BUILD_DIR/bench/cost_of" /mnt/costs "$@" >/dev/null 2>/mnt/said || { cat /mnt/said >&2 && return 1; }
}

# sample SIZE SUBJECT - what was counted since the last one.
sample() {
    awk -v OFS='\t' -v size="$1" -v subject="$2" '
        { time += $1; processor += $2; if ($3 > peak) peak = $3 }
        END {
            print "gate", "time, " size, subject, time
            print "gate", "processor, " size, subject, processor
            print "gate", "peak, " size, subject, peak * 1024 / 1e6
        }' /mnt/costs
    rm /mnt/costs
}

# copied - in a new memory file system, as the gate has one; what takes it away is not counted.
copied() {
    mount -t tmpfs copy "$copy"
    cost cp -R "$medium" "$copy"
    umount "$copy"
}

# What does the same without the gate.
others() { # SIZE
    signature_is off "$root"
    zul_media "$root" mount sda1
    cost sha256sum "$medium"/files/*
    copied
    sample "$1" "sha256sum and cp"
    cost openssl dgst -sha256 "$medium"/files/*
    copied
    sample "$1" "openssl and cp"
    zul_media "$root" unmount sda1
}

gate() { # SIZE
    signature_is required "$root"
    cost "$ZUL_MEDIA" "$root" mount sda1
    sample "$1" tool
    if ! cmp "$medium"/files/00000 "$root/devices/sda1/files/00000"; then die "nothing is mounted"; fi
    zul_media "$root" unmount sda1
}

measure() { # REPETITIONS SIZE
    local repetition
    rm -rf "$root/devices/sda1"
    case $2 in
        *" MB") make_signed "$root/devices/sda1" /mnt/key.pem 10 "$((${2% MB} * 100000))" ;;
        *" files") make_signed "$root/devices/sda1" /mnt/key.pem "${2% files}" 1000 ;;
        *) die "no size: $2" ;;
    esac
    for ((repetition = 0; repetition < $1; repetition++)); do
        gate "$2"
        others "$2"
    done
}

mkdir "$copy"
make_gate "$root" /mnt/key.pem
for size in "${@:2}"; do measure "$1" "$size"; done
