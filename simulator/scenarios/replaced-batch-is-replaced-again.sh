# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Pulled, plugged in again and confirmed twice while one command runs: only what was confirmed last is run.

controller_is_up
chosen_at_work held 1 2
confirmed_anew held 2 3
confirmed_anew held 3
the_new_batch_waits
let_go held
ended_without_a_word
must "the last choice runs" within 60 notes_are "held begins" "held ends" second
must "the batch ends" within 30 batch_over
check "the message asks for the SD card" within 20 message_is sd
let_pass 5
check "nothing else runs" notes_are "held begins" "held ends" second
