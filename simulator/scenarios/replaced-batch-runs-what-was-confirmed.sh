# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Pulled, plugged in again and confirmed while a command runs: just that is run, once, and then it is time to unplug.

controller_is_up
chosen_at_work held 1 2
confirmed_anew held 3 2
the_new_batch_waits
let_go held
ended_without_a_word
must "both operations run" within 60 notes_are "held begins" "held ends" second first
must "the batch ends" within 30 batch_over
check "now the message asks for the SD card" within 20 message_is sd
check "each was announced once" in_order ' tool +#+ Second operation$' ' tool +#+ $' ' tool +#+ First operation$' ' tool +#+ $'
check "and nothing else" logged_times 2 ' tool +#+ .'
let_pass 5
check "nothing runs a second time" notes_are "held begins" "held ends" second first
unplug sd
given_back
check "nothing was restarted" fails logged ' stand-in '
