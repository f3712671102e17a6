# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The fallback does not begin where it could harm.

# refused REASON ARGUMENT...
refused() {
    local reason=$1 status=0
    shift
    "$simulator/show" --fallback --output /mnt/output "$@" >/mnt/out 2>/mnt/error || status=$?
    [[ $status -eq 1 ]] && grep -q -- "$reason" /mnt/error && ! grep -q 'the controller starts' /mnt/out
}

mkdir /mnt/upgrade
check "when /mnt/upgrade is a folder" refused "/mnt/upgrade exists"
check "it stays" test -d /mnt/upgrade
rmdir /mnt/upgrade
ln -s nowhere /mnt/upgrade
check "when it is a link, even one to nothing" refused "/mnt/upgrade exists"
check "it stays" test -L /mnt/upgrade
rm /mnt/upgrade

check "when the medium is the user's own" refused "--run-on-this-computer" --medium "$simulator/media/continue"
check "when the user's own is named like a harmless one" refused "--run-on-this-computer" --medium "$simulator/media/harmless"

empty=$(mktemp -d)
remove_at_end "$empty"
cannot_write() {
    unshare --mount sh -c 'mount --bind "$1" /mnt && mount -o remount,bind,ro /mnt && shift && "$@"' sh \
        "$empty" "$simulator/show" --fallback --output "$empty" 2>&1
}
check "when /mnt cannot be written" grep -q "/mnt cannot be written" < <(cannot_write)
