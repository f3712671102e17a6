# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The countdown is not stopped by confirming, nor by the medium's going.

controller_is_up
plug sd continue
medium_taken_up /media/mmcblk1p1
count_seconds "$countdown_seconds" &
choose 1
confirm_choice
must "the batch ends" within 30 batch_over
unplug sd
given_back
must "reboot is called" wait_for_log ' stand-in +reboot$' 500
must "the tool ends" wait_for_log ' simulator +zul_upgrade ended with exit code 0$' 10
check "it took its ticks of a second" countdown_took_its_time
