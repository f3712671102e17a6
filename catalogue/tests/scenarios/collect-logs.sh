# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The logs are on the medium, saved, and the controller goes on.

controller_is_up
on_controller sh -c 'mkdir -p /opt/zul/logs && echo "a line" >/opt/zul/logs/app.log'
plug usb "${examples:?}/collect-logs"
medium_taken_up /media/sda1
choose 1
confirm_choice
must "the batch ends" within 60 batch_over
check "the medium has the logs" test "$(on_controller tar -xzOf /media/sda1/logs-1.tar.gz ./app.log)" = "a line"
check "the script has saved them" within 10 logged_times 1 ' stand-in +sync$'
check "the message asks for the USB drive" within 20 message_is usb
unplug usb
given_back
check "nothing was restarted" fails logged ' stand-in +reboot'
