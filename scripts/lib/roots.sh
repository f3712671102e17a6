# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Debian 12 roots, for the controller's architecture too, made once and kept outside the checkout. Sourced, never run.

scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=cache.sh
source "$scripts/lib/cache.sh"

: "${ZUL_DEBIAN_MIRROR:=}"

# require_arm_emulation - has the kernel run 32-bit ARM programs, inside a root too, until the script ends. The entry in
# the kernel's list is this script's own, so that it neither needs nor takes away what others have registered.
# After leave_nothing_behind.
require_arm_emulation() {
    local name=$ARM_ENTRY-${ZUL_SCRATCH##*-}
    # shellcheck disable=SC2016 # expanded inside
    in_binary_formats '[ -e "$1" ] || printf %s "$(sed "s/^:[^:]*:/:$1:/" /usr/lib/binfmt.d/qemu-arm.conf)" >register' \
        "$name" || cannot "the kernel takes no program for 32-bit ARM"
    arch-test armhf >/dev/null || cannot "armhf programs do not run"
}

# mirror - where this computer gets Debian 12 itself, as an emulated root can from there; nothing when it has none.
# One archive only: the one of security updates is often in the middle of an update for a port.
mirror() {
    if [[ -n $ZUL_DEBIAN_MIRROR ]]; then
        echo "$ZUL_DEBIAN_MIRROR"
    else
        # shellcheck disable=SC2016 # apt's own variable
        apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Codename: bookworm' 'Component: main' |
            sed -n 1p
    fi
}

# make_root TARGET ARCHITECTURE VARIANT PACKAGES [OPTION...] - a root without documents and translations; an archive
# when TARGET ends in .tar, a directory otherwise.
make_root() {
    local target=$1 architecture=$2 variant=$3 packages=$4
    local -a mirrors
    shift 4
    mapfile -t mirrors < <(mirror)
    nice -n 15 mmdebstrap --quiet --architectures="$architecture" --variant="$variant" --include="$packages" \
        --aptopt='Acquire::Retries "3"' --dpkgopt=force-unsafe-io \
        --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-exclude=/usr/share/man/*' \
        --dpkgopt='path-exclude=/usr/share/locale/*' "$@" bookworm "$target" "${mirrors[@]}"
}

# cached_root KIND SUFFIX ARCHITECTURE VARIANT PACKAGES [OPTION...] - prints the path of such a root, KIND-KEY followed
# by SUFFIX, which may be .tar. It is made when there is none yet. After leave_nothing_behind.
cached_root() {
    cached "$1-$(key_of "${@:3}" "$(declare -f make_root)")$2" make_root "${@:3}"
}
