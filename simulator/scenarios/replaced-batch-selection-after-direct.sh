# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A medium whose commands run at once is swapped for one with a choice, while one of them runs.

direct=$(variant held 's/^CMD_List=.*/CMD_Type="first,held,second"/')
controller_is_up
at_work "$direct"
confirmed_anew held 3
the_new_batch_waits
let_go held
ended_without_a_word
must "the operation runs" within 60 notes_are first "held begins" "held ends" second
must "the batch ends" within 30 batch_over
check "the message asks for the SD card" within 20 message_is sd
check "it was announced once" logged_times 1 ' tool +#+ .'
