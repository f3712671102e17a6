# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What every script may need that a person starts: its usage text, a clear end, root's rights. Sourced, never run.

# Found now, because the script may go to another directory: it sources this before.
script_file=$(realpath "$0")

# Debian has these in root's PATH only, and much in them, such as pivot_root, is of use to an ordinary user as well.
case :$PATH: in
    *:/usr/sbin:*) ;;
    *) PATH=$PATH:/usr/sbin:/sbin ;;
esac

# usage - prints the header comment of the script that runs, up to the line before "set", without what is for programs.
usage() {
    sed -n '2,/^set/{/^set/d;/^# \(SPDX-\|shellcheck \)/d;s/^# \{0,1\}//;p}' "$script_file"
}

# hand_over DIRECTORY... - what root has made in a folder of the checkout belongs to whose the checkout is. Other folders
# are left alone.
hand_over() {
    local checkout directory
    checkout=$(realpath "$(dirname "${BASH_SOURCE[0]}")/../..")
    if ((EUID != 0)) || [[ $(stat -c %u "$checkout") == 0 ]]; then return; fi
    for directory in "$@"; do
        if [[ -d $directory && $(realpath "$directory")/ == "$checkout"/* ]]; then
            find "$directory" -xdev -user root -exec chown --no-dereference --reference="$checkout" {} +
        fi
    done
}

# die REASON... - ends the script with 1.
die() {
    echo "${script_file##*/}: $*" >&2
    exit 1
}

# cannot REASON... - ends the script with the code for "cannot run here".
cannot() {
    echo "${script_file##*/}: cannot run here: $*" >&2
    exit 77
}

# become_root ARGUMENT... - where it is not root, runs the script again as root, with the environment as it is. What
# sudo starts ends with this process, however that ends. Returns when it is root already.
become_root() {
    local -a environment
    if ((EUID == 0)); then return; fi
    if ! sudo -n true 2>/dev/null; then cannot "needs root, or sudo without a password"; fi
    mapfile -d '' environment </proc/self/environ
    exec sudo -n env -i "${environment[@]}" setpriv --pdeathsig KILL "$script_file" "$@"
}
