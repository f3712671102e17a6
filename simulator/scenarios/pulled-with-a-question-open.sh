# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A medium that goes while a question is open takes the question with it, and nothing runs.

controller_is_up
plug sd continue
medium_taken_up /media/mmcblk1p1
choose 1
tap confirm
must "the question comes up" within 10 window_visible Attention
unplug sd
given_back
must "the question is gone" within 10 window_hidden Attention
let_pass 5
check "nothing ran" fails logged ' tool +#+ '
check "the tool still runs" running zul_upgrade

mark
plug sd continue
medium_taken_up /media/mmcblk1p1
tap cancel
must "the other question comes up" within 10 window_visible Attention
unplug sd
given_back
must "it is gone, too" within 10 window_hidden Attention
let_pass 3
check "nothing was restarted" fails logged ' stand-in +reboot'
check "the tool still runs" running zul_upgrade
