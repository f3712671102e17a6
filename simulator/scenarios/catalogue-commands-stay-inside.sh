# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Whatever a medium's commands write, remove and kill, this computer keeps what it has.

precious=$(mktemp /var/tmp/zul-precious-XXXXXX)
remove_at_end "$precious"
medium=$(mktemp -d /mnt/medium-XXXXXX)
mkdir "$medium/zul_install"
cat >"$medium/zul_install/system.ini" <<INI
[system]
CMD_Type="write,replace,remove,end,reboot,last"

[CMD]
write=Write@sh /mnt/upgrade/write.sh
replace=Replace a program@cp -f /mnt/upgrade/write.sh /usr/bin/zul-was-here
remove=Remove@rm -f $precious
end=End processes@killall Xvfb bash tail nsenter unshare
reboot=Reboot by its path@/sbin/reboot
last=Last@true
INI
cat >"$medium/write.sh" <<'SH'
for directory in /etc /usr/lib /opt /root /var/tmp /media /dev /run; do echo here >$directory/zul-was-here; done
SH

controller_is_up
plug sd "$medium"
medium_taken_up /media/mmcblk1p1
must "all commands run" within 60 command_started Last
for directory in /etc /usr/lib /opt /root /var/tmp /media /dev /run; do
    check "$directory is written inside" on_controller test -e $directory/zul-was-here
    check "and not outside" test ! -e $directory/zul-was-here
done
check "a program is replaced inside" on_controller test -e /usr/bin/zul-was-here
check "and not outside" test ! -e /usr/bin/zul-was-here
check "a file is gone inside" fails on_controller test -e "$precious"
check "and is there outside" test -e "$precious"
check "the screen lives" window_visible
check "reboot by its path is the stand-in" within 10 logged ' stand-in +reboot$'
mark
controller_restarts
must "and comes back" wait_for_log ' simulator +the controller starts' 30
must "with its tool" within 30 tool_ready

on_controller bash -c 'kill -KILL -1' || true
must "killing everything ends the tool" within 10 fails running zul_upgrade
check "and nothing out here" on_screen xdotool getdisplaygeometry
