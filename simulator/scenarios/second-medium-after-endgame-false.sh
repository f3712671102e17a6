# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# ENDGAME=false: no sync, no reboot; a second medium finds the tool ready for it, on the list page.

controller_is_up
plug sd continue
medium_taken_up /media/mmcblk1p1
choose 1 3
confirm_choice
must "the batch ends" within 30 batch_over
check "the message asks for the SD card" within 20 message_is sd
check "both commands ran" in_order ' tool +#+ Quick operation$' ' tool +#+ Failing operation$'
check "sync and reboot were not added" fails logged ' tool +#+ (Save data|Reboot system)'
unplug sd
given_back
mark
plug usb other
medium_taken_up /media/sda1
must "the list page is what the operator sees" within 10 list_page_shown
choose 2
check "the list is that of the second medium" within 10 logged ' tool +append item \[Right operation\]'
check "nothing is left of the first choice" fails logged ' tool +remove item'
confirm_choice
must "its batch ends" within 30 batch_over
check "it ran the second medium's operation only" within 10 logged_times 1 ' tool +#+ .'
check "the message asks for the USB drive" within 20 message_is usb
check "nothing was restarted" fails logged ' stand-in '
