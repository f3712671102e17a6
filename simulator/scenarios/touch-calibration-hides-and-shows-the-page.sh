# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# While the calibration program runs the tool's window is empty; then the status page is back.

controller_is_up
hold_calibration
plug sd direct
medium_taken_up /media/mmcblk1p1
must "the first command runs" within 20 command_started "Check the first file"
must "the page is shown for it" within 20 status_page_shown
must "the calibration starts" within 20 command_started "Calibrate touch screen"
must "the page goes" within 20 fails status_page_shown
must "the calibration program runs" within 20 holds ts_calibrate
check "the page stays away while it runs" fails status_page_shown
check "the list page does not come instead" fails list_page_shown
check "the window itself stays" window_visible
let_go ts_calibrate
must "it ends" within 20 noted "ts_calibrate ends"
must "the page comes back" within 20 status_page_shown
must "the batch goes on" within 20 command_started "List the medium"
