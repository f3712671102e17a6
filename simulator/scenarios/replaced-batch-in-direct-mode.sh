# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A second medium whose commands run at once, while a command of the first one runs: every one of its commands is run.

first=$(variant held 's/^CMD_List=.*/CMD_Type="held,first,first"/')
second=$(variant held 's/^CMD_List=.*/CMD_Type="second,first"/')
controller_is_up
at_work "$first"
pulled_and_plugged_again "$second"
must "the status page is shown" within 10 status_page_shown
the_new_batch_waits
let_go held
ended_without_a_word
must "the second medium's commands run" within 60 notes_are "held begins" "held ends" second first
must "the batch ends" within 30 batch_over
check "the message asks for the SD card" within 20 message_is sd
check "each was announced once" logged_times 2 ' tool +#+ .'
let_pass 5
check "nothing runs a second time" notes_are "held begins" "held ends" second first
