# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The run list is emptied under the worker: the batch stops after the command that is running, and the tool lives on.

controller_is_up
plug sd continue
medium_taken_up /media/mmcblk1p1
choose 2 1
confirm_choice
must "the slow command is at work" within 20 holds slow
pulled_and_plugged_again continue
must "the list page is back" within 10 list_page_shown
let_go slow
must "the slow command ends" wait_for_log ' tool +#+ $' 20
let_pass 5
check "the command behind it does not start" fails command_started "Quick operation"
check "the tool still runs" running zul_upgrade
choose 1
confirm_choice
must "the next batch runs" within 20 command_started "Quick operation"
must "and ends" within 20 batch_over
