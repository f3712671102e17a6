# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A medium without a catalogue: one line in the log, and nothing else until it is removed.

controller_is_up
plug sd no-catalogue
must "the log says why" wait_for_log ' tool +/mnt/upgrade/zul_install/system.ini unPresence$' 20
let_pass 7
check "it says it once" within 10 logged_times 1 'unPresence'
check "the window stays away" window_hidden
check "the application programs go on" all_applications_run
check "none of them was stopped" fails logged ' was killed by '
check "the watchdog was told nothing" fails logged ' watchdog +received '
check "there is no link" fails upgrade_link
unplug sd
let_pass 4
check "the watchdog was told nothing on removal either" fails logged ' watchdog +received '
plug sd direct
medium_taken_up /media/mmcblk1p1
