# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Replaced while a calibration is at work: it ends by itself, the page is there for the new batch, whose commands run.

controller_is_up
plug sd held
medium_taken_up /media/mmcblk1p1
choose 5 2
tap confirm
answer yes
must "the calibration is at work" within 20 holds TSTAPP
must "the page is gone while it is" within 20 fails status_page_shown
confirmed_anew held 3 2
the_new_batch_waits
let_go TSTAPP
ended_without_a_word
must "the operations run" within 60 notes_are "TSTAPP begins" "TSTAPP ends" second first
must "the batch ends" within 30 batch_over
check "the page is shown" status_page_shown
check "the message asks for the SD card" within 20 message_is sd
