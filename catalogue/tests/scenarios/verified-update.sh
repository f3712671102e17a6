# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A damaged file is noticed before anything is installed; a whole medium installs.

damaged=$(mktemp -d /mnt/damaged-XXXXXX)
cp -R "${examples:?}/verified-update/." "$damaged"
echo "damaged" >>"$damaged/zul_install/settings"

controller_is_up
plug sd "$damaged"
medium_taken_up /media/mmcblk1p1
choose 1
confirm_choice
must "the batch ends" within 60 batch_over
check "nothing was installed" test "$(on_controller /opt/zul/zul_version)" = "application 2.0.0"
check "not even the file that is whole" fails on_controller test -e /opt/zul/settings
check "the medium says which file" on_controller grep -q '^settings: FAILED' /media/mmcblk1p1/check.log
unplug sd
controller_restarts
mark
must "the tool is back" wait_for_log ' tool +key = ' 30
plug sd "${examples:?}/verified-update"
medium_taken_up /media/mmcblk1p1
choose 1
confirm_choice
must "the batch ends" within 60 batch_over
check "the program is installed" test "$(on_controller /opt/zul/zul_version)" = "application 2.3.0"
check "the settings are installed" on_controller grep -q brightness=80 /opt/zul/settings
