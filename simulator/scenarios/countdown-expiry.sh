# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Nobody touches the screen: after five minutes the controller restarts by itself.

controller_is_up
plug sd typical
medium_taken_up /media/mmcblk1p1
count_seconds "$countdown_seconds" &
must "the countdown is shown" within 10 countdown_shown
must "reboot is called" wait_for_log ' stand-in +reboot$' 500
must "the tool ends" wait_for_log ' simulator +zul_upgrade ended with exit code 0$' 10
check "it took its ticks of a second" countdown_took_its_time
check "no operation ran" fails logged ' tool +#+ '
controller_restarts
