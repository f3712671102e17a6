# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# When a step of the guard fails the command is not run; and the sandbox passes on what the command says.

# refuses_without PROGRAM - with PROGRAM replaced by one that always fails.
refuses_without() {
    local status=0 path started=/var/tmp/zul-started-$$
    path=$(type -P "$1")
    unshare --mount sh -c 'mount --bind "$1" "$2" && shift 2 && exec "$@"' sh \
        "$(type -P false)" "$path" "$simulator/sandbox" touch "$started" 2>/mnt/reason || status=$?
    [[ $status -eq 77 && ! -e $started ]] && grep -q '^sandbox: cannot run here: ' /mnt/reason
}

check "where mounts are refused" refuses_without mount
check "where namespaces are refused" refuses_without unshare
check "without stand-ins" refuses_without install
check "when its inner step is called by itself" fails "$simulator/sandbox" --inside "" true
check "from below /mnt" fails sh -c 'cd /mnt && "$1" true' sh "$simulator/sandbox"

status=0
"$simulator/sandbox" sh -c 'exit 42' || status=$?
check "an exit code comes through" test $status = 42
ZUL_SANDBOX_LOG=/mnt/calls "$simulator/sandbox" sh -c 'test -e /mnt/.zul-sandbox && test ! -e /mnt/calls'
check "its /mnt is its own" test ! -e /mnt/calls
log=$(mktemp /var/tmp/zul-calls-XXXXXX)
remove_at_end "$log"
ZUL_SANDBOX_LOG=$log "$simulator/sandbox" sh -c 'reboot; killall zul_main; sync; halt || test $? = 1'
check "calls are recorded" test "$(cut -d' ' -f2- "$log" | tr '\n' ,)" = "reboot,killall zul_main,sync,halt,"
