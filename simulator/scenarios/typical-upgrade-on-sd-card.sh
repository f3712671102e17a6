# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# From the medium to the restart: operations of a choice run one after the other, then sync and reboot.

controller_is_up
note_looks
plug sd typical
medium_taken_up /media/mmcblk1p1
must "it is noticed at the first look" within 10 noticed_at_the_first_look
must "the countdown is shown" within 10 countdown_shown
choose 1 5
must "nothing has been started yet" fails logged ' tool +#+ '
confirm_choice
must "the batch ends" within 60 batch_over
must "reboot is called" wait_for_log ' stand-in +reboot$' 10
check "the commands ran in the order of the choice, then sync and reboot" in_order \
    ' tool +#+ Update application$' ' tool +#+ $' ' tool +#+ Restore settings$' ' tool +#+ $' \
    ' tool +#+ Save data$' ' tool +#+ $' ' tool +#+ Reboot system$' ' tool +#+ $'
check "the first one did its work" within 10 logged ' command +after:  application 2.1.0$'
check "sync was called before reboot" in_order ' stand-in +sync$' ' stand-in +reboot$'
check "sync was called once" within 10 logged_times 1 ' stand-in +sync$'
check "reboot was called once" within 10 logged_times 1 ' stand-in +reboot$'
check "the message asks for the SD card" within 20 message_is sd
controller_restarts
mark
must "the tool is back" wait_for_log ' tool +key = ' 30
medium_taken_up /media/mmcblk1p1
check "what was upgraded is still there" test "$(on_controller /opt/zul/zul_version)" = "application 2.1.0"
unplug sd
given_back
