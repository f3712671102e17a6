# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The program is replaced and the old one kept; the second operation puts that back.

controller_is_up
plug sd "${examples:?}/update-program"
medium_taken_up /media/mmcblk1p1
choose 1
confirm_choice
must "the batch ends" within 60 batch_over
check "the new program is in its place" test "$(on_controller /opt/zul/zul_version)" = "application 2.2.0"
check "the old one is kept" test "$(on_controller /opt/zul/zul_version.old)" = "application 2.0.0"
check "nothing half done is left" fails on_controller test -e /opt/zul/zul_version.new
check "nothing half kept either" fails on_controller test -e /opt/zul/zul_version.old.new
check "the script has saved twice before ENDGAME did" within 10 logged_times 3 ' stand-in +sync$'
controller_restarts
mark
must "the tool is back" wait_for_log ' tool +key = ' 30
medium_taken_up /media/mmcblk1p1
check "the new program has outlived the restart" test "$(on_controller /opt/zul/zul_version)" = "application 2.2.0"
choose 2
confirm_choice
must "the batch ends" within 60 batch_over
check "the old program is back" test "$(on_controller /opt/zul/zul_version)" = "application 2.0.0"
