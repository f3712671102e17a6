# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A throwaway Debian 12 root of this computer's architecture, and a place for what is tested in it. Sourced, never run.
# Sets $work and $root, which go when the script ends. To be sourced after leave_nothing_behind.

throwaway=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
# shellcheck source=../../scripts/lib/roots.sh
source "$throwaway/../../scripts/lib/roots.sh"

work=$(mktemp -d -p "$ZUL_SCRATCH")
root=$work/root

# names_in FIELD DEB - the packages that a field such as Depends names, of alternatives the first, with commas between.
names_in() {
    dpkg-deb --field "$2" "$1" | sed 's/([^)]*)//g; s/|[^,]*//g; s/ //g'
}

# make_system PACKAGE,... DEB... - with the packages, with what the built packages need, and a watchdog where the
# controller has it. The built packages are in /tmp/packages and not installed.
make_system() {
    local packages=$1 deb built
    local -a mirrors
    shift
    mapfile -t mirrors < <(mirror)
    for deb in "$@"; do
        packages+=,$(names_in Depends "$deb")
    done
    # Those that are built no archive has.
    built=$(for deb in "$@"; do dpkg-deb --field "$deb" Package; done)
    packages=$(tr , '\n' <<<"$packages" | grep -vxF "$built" | paste -sd ,)
    mmdebstrap --quiet --variant=minbase --include="$packages" bookworm "$root" "${mirrors[@]}"
    mkdir -p "$root/opt/zul" "$root/tmp/packages"
    touch "$root/opt/zul/zul_watchdog"
    cp "$@" "$root/tmp/packages/"
}

# inside COMMAND... - in the root, from which no real "reboot" can be reached.
inside() {
    "$throwaway/../../simulator/sandbox" --as-root env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 chroot "$root" "$@"
}
