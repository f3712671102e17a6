# shellcheck shell=bash
# Where namespaces are refused the show does without by itself: it says so in one line, shows a whole upgrade, and
# leaves nothing behind.

export TMPDIR=/mnt/tmp
mkdir /mnt/tmp
output=$build/simulator/$name
remove_at_end "$output"
mounts=$(</proc/mounts)
# What an ordinary container lacks.
setpriv --bounding-set=-sys_admin "$simulator/show" --output "$output" >/mnt/shown || show_failed=yes
cat /mnt/shown
must "the show succeeds" test -z "${show_failed:-}"
check "one line says so" test "$(grep -c '^No namespaces (.*): df, killall, reboot and sync are stand-ins' /mnt/shown)" = 1
check "there are eight pictures" test "$(find "$output" -name '*.png' | wc -l)" = 8
check "there is no temporary folder" test -z "$(ls -A /mnt/tmp)"
check "there is no link" test ! -L /mnt/upgrade
check "there is no queue" test -z "$(ipcs -q | awk '$1 ~ /^0x/')"
check "there is no mount" test "$mounts" = "$(</proc/mounts)"
check "there is no process" within 10 fails pgrep -f 'zul_|Xvfb|clean-up|tail'
