# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Without a watchdog the upgrade goes on; the commands wait for it in the queue. Without its file as well.

controller_programs=(zul_upgrade)
controller_is_up
plug sd continue
must "the window comes up" within 20 window_visible
choose 1
confirm_choice
must "the batch ends" within 30 batch_over
unplug sd
must "the window goes" within 20 window_hidden
must "the link goes" within 10 fails upgrade_link
check "two commands wait" within 10 queue_holds "$watchdogs_queue" "1024 2"
start_program zul_watchdog
must "the watchdog starts late" wait_for_log ' watchdog +received syscmd_apprestart$' 10
check "and gets both, whole and in order" in_order ' watchdog +received syscmd_suspend@600$' ' watchdog +received syscmd_apprestart$'
must "the application programs run" within 20 all_applications_run

mark
on_controller killall zul_upgrade zul_watchdog
must "both end" within 10 fails running zul_upgrade
on_controller rm /opt/zul/zul_watchdog
start_program zul_upgrade
must "without the file the key is -1" wait_for_log ' tool +key = -1$' 10
plug sd continue
must "the window comes up all the same" within 20 window_visible
check "the command is in a queue all the same" within 10 queue_holds 0xffffffff "512 1"
