# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Of two new media the one that df lists last is taken; the other's turn comes when that one is pulled.

controller_is_up
on_controller killall -STOP zul_upgrade
plug sd continue
plug usb other
on_controller killall -CONT zul_upgrade
medium_taken_up /media/sda1
choose 1
check "the list is that of the last medium" within 10 logged ' tool +append item \[Left operation\]'
let_pass 4
check "the first one is left alone" link_points_at /media/sda1
check "it was taken up once" within 10 logged_times 1 ' watchdog +received syscmd_suspend@600'
unplug usb
must "the last medium is given back" wait_for_log ' watchdog +received syscmd_apprestart$' 20
mark
medium_taken_up /media/mmcblk1p1
choose 1
check "now the list is that of the first" within 10 logged ' tool +append item \[Quick operation\]'
