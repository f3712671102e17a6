# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A show that is interrupted, ended or killed in the middle of an upgrade leaves nothing behind, in either mode.

output=$(mktemp -d)
remove_at_end "$output"
export TMPDIR=/mnt/tmp
mkdir /mnt/tmp

traces() {
    echo "mounts: $(sort </proc/mounts)"
    echo "queues: $(ipcs -q | awk '$1 ~ /^0x/')"
    echo "files: $(find /mnt /mnt/tmp -maxdepth 1 | sort)"
    echo "processes: $(pgrep -af 'zul-|zul_|Xvfb|simulator/show|clean-up|controller-init|nsenter' || true)"
}

end_in_the_middle() {
    local signal=$1 pid
    shift
    : >/mnt/shown # before this one has a chance to look at what the last one has shown
    env --default-signal=INT "$simulator/show" --output "$output" "$@" >/mnt/shown 2>&1 &
    pid=$!
    within 60 grep -qE ' tool +#+ .' /mnt/shown || must "the show gets to its first command" fails cat /mnt/shown
    kill -s "$signal" "$pid"
    if wait "$pid" 2>/dev/null; then return 1; fi
}

# Less may be there: the kernel takes a mount away when another program removes the directory below it.
more_than_before() {
    # Without the shell's <(…): it waits for those later, and takes the status for that of another command.
    traces | grep -vxF -f /mnt/before || true
}

nothing_more_than_before() {
    [[ -z $(more_than_before) ]]
}

touch /mnt/before /mnt/shown
traces >/mnt/before
for signal in INT TERM KILL; do
    check "SIG$signal ends the show" end_in_the_middle $signal
    check "and leaves nothing" within 60 nothing_more_than_before
    check "SIG$signal ends the fallback" end_in_the_middle $signal --fallback
    check "and leaves nothing" within 60 nothing_more_than_before
done
more_than_before
