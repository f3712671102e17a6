# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A medium that names commands to run at once: no list, no question, no countdown, no restart.

controller_is_up
plug usb direct
medium_taken_up /media/sda1
must "the status page comes up by itself" within 10 status_page_shown
check "no countdown is shown" fails countdown_shown
must "the batch ends" within 60 batch_over
check "the commands ran in the order of the catalogue" in_order \
    ' tool +#+ Check the first file$' ' tool +#+ Calibrate touch screen$' ' tool +#+ List the medium$'
check "no question was asked" window_hidden Attention
check "the message asks for the USB drive" within 20 message_is usb
unplug usb
given_back
check "nothing was restarted" fails logged ' stand-in '
