# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The same from a USB drive, which is asked back by its name and pulled before the controller goes down.

controller_is_up
plug usb typical
medium_taken_up /media/sda1
choose 2 3 4
tap_selected 1
must "a tap on the selection takes it out" wait_for_log ' tool +remove item 0\[Update language packs\] in the selected list$' 10
tap_operation 4
must "and so does a second tap on the list" wait_for_log ' tool +remove item 1\[Clear logs\] in the selected list$' 10
confirm_choice
tap details
must "the batch ends" within 60 batch_over
check "the command read the medium" within 10 logged ' command +[0-9]+ [0-9]+ /mnt/upgrade/zul_install/system.ini$'
check "the message asks for the USB drive" within 20 message_is usb
check "what was taken out did not run" within 10 logged_times 3 ' tool +#+ .'
unplug usb
given_back
controller_restarts
mark
must "the tool is back" wait_for_log ' tool +key = ' 30
must "the application programs run" within 20 all_applications_run
let_pass 4
check "without a medium there is no window" window_hidden
check "and no link" fails upgrade_link
