#!/usr/bin/env bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Counts the instructions of `zul_catalogue verify`, which judges as the gate does, beside those of sha256sum.
#
# Usage: simulator/sandbox bench/groups/verify.sh
#
# zul_media itself cannot be counted: its judge is shut in where no counts can be written. $ZUL_BUILD_DIR is the folder
# of the build. Prints lines "verify<TAB>row<TAB>subject<TAB>million instructions".
set -euo pipefail

# shellcheck source=../../scripts/lib/script.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib/script.sh"
# shellcheck source=common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
only_in_the_sandbox
readonly medium=/mnt/medium catalogue=$ZUL_BUILD_DIR/catalogue/zul_catalogue

# count EXPECTED_STATUS ROW SUBJECT COMMAND...
count() {
    local status=0
    valgrind --tool=callgrind --callgrind-out-file=/mnt/counted "${@:4}" >/mnt/said 2>&1 || status=$?
    if ((status != $1)); then cat /mnt/said >&2 && return 1; fi
    awk -v OFS='\t' -v row="$2" -v subject="$3" '/^totals:/ {print "verify", row, subject, $2 / 1e6}' /mnt/counted
}

make_key /mnt/key.pem /mnt/owner.pem
for files in 10 10000; do
    make_signed "$medium" /mnt/key.pem "$files" "$((10000000 / files))"
    count 0 "$files files" tool "$catalogue" verify "$medium" --key /mnt/owner.pem
    count 0 "$files files" sha256sum sha256sum "$medium"/files/*
    if ((files == 10)); then
        rm "$medium"/zul_install/MANIFEST*
        count 2 unsigned tool "$catalogue" verify "$medium" --key /mnt/owner.pem
        count 0 unsigned start "$catalogue" --version
    fi
    rm -r "$medium"
done
