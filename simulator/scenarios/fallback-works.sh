# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Where namespaces are refused the show says what the fallback would be, and does nothing; asked for, it shows a
# whole upgrade that way and leaves nothing behind.

output=$(mktemp -d)
remove_at_end "$output"
export TMPDIR=/mnt/tmp
mkdir /mnt/tmp
mounts=$(sort /proc/mounts)
# What an ordinary container lacks.
container=(setpriv --bounding-set=-sys_admin "$simulator/show" --output "$output")
status=0
"${container[@]}" >/mnt/shown 2>/mnt/said || status=$?
check "by itself it does not begin" test $status = 77 -a ! -s /mnt/shown
check "it names the switch and what it means" grep -q '^With --fallback .* on this computer itself: ' /mnt/said
"${container[@]}" --fallback >/mnt/shown || show_failed=yes
cat /mnt/shown
must "the show succeeds" test -z "${show_failed:-}"
check "one line says so" test "$(grep -c '^The fallback: df, killall, reboot and sync are stand-ins' /mnt/shown)" = 1
check "there are eight pictures" test "$(find "$output" -name '*.png' | wc -l)" = 8
check "there is no temporary folder" test -z "$(ls -A /mnt/tmp)"
check "there is no link" test ! -L /mnt/upgrade
check "there is no queue" test -z "$(ipcs -q | awk '$1 ~ /^0x/')"
# A mount of before may have gone: the kernel takes one away when another program removes the directory below it.
check "there is no mount" test -z "$(comm -13 <(echo "$mounts") <(sort /proc/mounts))"
check "there is no process" within 10 fails pgrep -f 'zul_|Xvfb|clean-up|tail'
