#!/bin/sh
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Runs on the board while a batch is recorded. When the batch begins, and whenever the tool reports that an operation has
# ended, it stops the tool, writes a mark into the logs of the disk and of the medium, and lists every file as programs on
# the board see it then. The tool goes on when the list has been taken, so that nothing of the next operation is in it.
#
# Usage: observer.sh DISK:SECTOR MEDIUM:SECTOR DIRECTORY...
#
# A mark is a sector of its own outside of every file system. The lists are files in /run/reports: 0, when the batch
# begins, then one for each operation. The first line is "in time", or "late" when the next operation had already begun.
set -u
disk=$1 medium=$2
shift 2

mark() { # NUMBER DEVICE:SECTOR
    printf '%-511s\n' "zul-mark $1" |
        dd "of=${2%:*}" bs=512 "seek=${2#*:}" oflag=direct conv=notrunc,nocreat status=none
}

# When the worker has a program at work. Those of the window, such as the poll for media, are children of another thread.
is_late() { # PID
    for thread in /proc/"$1"/task/*; do
        if [ "$thread" != "/proc/$1/task/$1" ] && grep -q . "$thread/children"; then return 0; fi
    done
    return 1
}

report() { # NUMBER DIRECTORY...
    number=$1
    shift
    tool=$(pidof zul_upgrade)
    kill -STOP "$tool"
    mark "$number" "$disk"
    mark "$number" "$medium"
    {
        if is_late "$tool"; then echo late; else echo "in time"; fi
        find "$@" -type f -printf '%s %m %p\n'
        echo
        find "$@" -type f -exec sha256sum {} +
    } >/run/reports/part
    mv /run/reports/part "/run/reports/$number"
    until [ -e "/run/reports/$number.taken" ]; do sleep 0.1; done
    kill -CONT "$tool"
}

rm -rf /run/reports
mkdir /run/reports
next=0
journalctl --follow --lines=0 --output=cat _SYSTEMD_UNIT=zul_upgrade.service | {
    echo >/run/reports/listening
    while read -r line; do
        case $line in
            '################# '*) if [ "$next" != 0 ]; then continue; fi ;; # it begins
            '#################') ;;                                          # it has ended
            *) continue ;;
        esac
        report "$next" "$@"
        next=$((next + 1))
    done
}
