# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Everything runs without being asked for, and nothing is added.

controller_is_up
plug usb "${examples:?}/run-at-once"
medium_taken_up /media/sda1
must "the status page comes up by itself" within 10 status_page_shown
must "the batch ends" within 60 batch_over
check "the settings are installed" on_controller cmp /opt/zul/settings /media/sda1/settings
check "the medium has a note of it" on_controller test -s /media/sda1/zul_results/installed.log
check "the data were saved, before and after the renaming, after the note and at the end" \
    within 10 logged_times 4 ' stand-in +sync$'
check "nothing half done is left" fails on_controller test -e /opt/zul/settings.new
unplug usb
given_back
check "nothing was restarted" fails logged ' stand-in +reboot'
