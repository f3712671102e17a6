# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# One medium goes and another comes between two looks: the first is given back, then the second is taken up.

controller_is_up
plug sd continue
medium_taken_up /media/mmcblk1p1
choose 1 2
mark
on_controller killall -STOP zul_upgrade
unplug sd
plug usb other
on_controller killall -CONT zul_upgrade
must "the first medium is given back" wait_for_log ' watchdog +received syscmd_apprestart$' 20
medium_taken_up /media/sda1
check "one after the other" in_order ' received syscmd_suspend@600' ' received syscmd_apprestart' ' received syscmd_suspend@600'
choose 2
check "the list is that of the second medium" within 10 logged ' tool +append item \[Right operation\]'
confirm_choice
must "the batch ends" within 30 batch_over
check "nothing of the first medium's choice ran" fails logged ' tool +#+ (Quick|Slow)'
check "the second one's did" command_started "Right operation"
