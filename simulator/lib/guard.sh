# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The guard that keeps a computer running while something that runs "reboot" is tried on it.
# Written once: the sandbox uses it, and the simulated controller inside its own root. Sourced, never run.
# Only for a private mount namespace; the callers see to that.
# shellcheck disable=SC2034 # the names are for the scripts that source this

# Every program that stops a computer by its name.
readonly STOPPING_PROGRAMS="reboot halt poweroff shutdown init telinit systemctl"
readonly STAND_IN_DIRECTORY=/mnt/.zul-stand-ins

# program_files NAME... - every file that a program name can lead to, PATH or not.
program_files() {
    local name directory
    local -a directories
    IFS=: read -ra directories <<<"$PATH:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin"
    for name in "$@"; do
        for directory in "${directories[@]}"; do
            if [[ -n $directory && -e $directory/$name ]]; then echo "$directory/$name"; fi
        done
    done
}

# put_stand_ins FILE NAME... - puts a copy of FILE first in PATH under every name and over every file of these names.
put_stand_ins() {
    local file=$1 master name path
    shift
    master=$STAND_IN_DIRECTORY/$1
    mkdir -p "$STAND_IN_DIRECTORY"
    install -m 755 "$file" "$master"
    for name in "${@:2}"; do ln -f "$master" "$STAND_IN_DIRECTORY/$name"; done
    export PATH=$STAND_IN_DIRECTORY:$PATH
    while read -r path; do
        # Several names may be links to one file, which then is covered already.
        if [[ ! $path -ef $master ]]; then mount --bind "$master" "$path"; fi
    done < <(program_files "$@")
}

# stand_ins_hold NAME... - true when every file that a name leads to is the stand-in. Says which one is not.
stand_ins_hold() {
    local path name
    for name in "$@"; do
        if [[ ! -f $STAND_IN_DIRECTORY/$name ]]; then echo "no stand-in for $name" >&2 && return 1; fi
    done
    while read -r path; do
        if [[ ! $path -ef $STAND_IN_DIRECTORY/$1 ]]; then echo "$path is not the stand-in" >&2 && return 1; fi
    done < <(program_files "$@")
}

# cover_ways_to_init - hides the sockets and files through which a computer can be told to restart: by orders to its
# first process, by the kernel's emergency keys, by a hardware watchdog that is opened and closed again.
cover_ways_to_init() {
    local path
    for path in /run/systemd /run/dbus; do
        if [[ -d $path ]]; then mount -t tmpfs -o mode=755 hidden "$path"; fi
    done
    for path in /run/initctl /dev/initctl /proc/sysrq-trigger /dev/watchdog*; do
        if [[ -e $path ]]; then mount --bind /dev/null "$path"; fi
    done
}
