# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The tool ends in the middle of an upgrade and is started again: it finds its own traces and begins anew.

controller_is_up
plug sd continue
medium_taken_up /media/mmcblk1p1
choose 2
confirm_choice
must "a command is at work" within 20 holds slow
on_controller killall -KILL zul_upgrade
must "the tool is gone" within 10 fails running zul_upgrade
check "its link is still there" link_points_at /media/mmcblk1p1
mark
start_program zul_upgrade
must "the tool starts again" within 20 tool_ready
medium_taken_up /media/mmcblk1p1
must "it offers the choice again" within 10 list_page_shown
check "the old link was replaced without a complaint" fails logged 'cannot remove'
check "it opened the queue that is there" test "$(on_controller ipcs -q | grep -c ' 666 ')" = 1
choose 1
confirm_choice
must "the batch ends" within 30 batch_over

mark
start_program zul_upgrade
must "a second one beside the first starts as well" within 20 tool_ready
unplug sd
given_back
