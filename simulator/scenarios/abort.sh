# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Cancel asks first; Yes ends the tool and restarts the controller, and no operation runs.

controller_is_up
plug sd typical
medium_taken_up /media/mmcblk1p1
choose 1
tap cancel
answer no
let_pass 2
check "No changes nothing" window_visible
check "and restarts nothing" fails logged ' stand-in '
tap cancel
answer yes
must "reboot is called" wait_for_log ' stand-in +reboot$' 10
must "the tool ends" wait_for_log ' simulator +zul_upgrade ended with exit code 0$' 10
controller_restarts
check "no operation ran" fails logged ' tool +#+ '
check "nothing was saved" fails logged ' stand-in +sync'
mark
must "the tool is back" wait_for_log ' tool +key = ' 30
medium_taken_up /media/mmcblk1p1
