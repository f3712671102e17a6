# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A medium with a choice is swapped for one whose commands run at once, while a confirmed command runs.

direct=$(variant held 's/^CMD_List=.*/CMD_Type="second,second,first"/')
controller_is_up
chosen_at_work held 2 1 3
pulled_and_plugged_again "$direct"
the_new_batch_waits
let_go held
ended_without_a_word
must "the direct medium's commands run" within 60 notes_are first "held begins" "held ends" second second first
must "the batch ends" within 30 batch_over
check "the message asks for the SD card" within 20 message_is sd
check "each was announced once" logged_times 3 ' tool +#+ .'
