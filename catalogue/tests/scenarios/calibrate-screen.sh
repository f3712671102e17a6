# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The calibration program has the screen for itself, and the controller does not restart.

controller_is_up
hold_calibration
plug sd "${examples:?}/calibrate-screen"
medium_taken_up /media/mmcblk1p1
choose 1
# The status page may be there for a moment only before the calibration takes the screen.
tap confirm
answer yes
must "the calibration program runs" within 30 holds ts_calibrate
must "the page is gone while it does" within 20 fails status_page_shown
let_go ts_calibrate
must "it ends" within 30 noted "ts_calibrate ends"
must "the page comes back" within 30 status_page_shown
must "the batch ends" within 30 batch_over
unplug sd
given_back
check "nothing was restarted" fails logged ' stand-in '
