# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Replaced while it skips one command after the other, which pulling the medium does not end: calibrations, each of
# which takes the page away. The skipping ends, the page comes back, and the new batch runs.

items=$(printf 'touch,%.0s' {1..200})
direct=$(variant held "s/^CMD_List=.*/CMD_Type=\"${items}second\"/;s/^touch=.*/touch=Touch operation@TSTAPP.sh/")
controller_is_up
plug sd "$direct"
medium_taken_up /media/mmcblk1p1
must "the commands are skipped" wait_for_log ' tool +#+ Touch operation$' 20
pulled_and_plugged_again held
must "the list page is shown" within 10 list_page_shown
check "the skipping goes on without the medium" wait_for_log ' tool +#+ Touch operation$' 20
choose 2
tap confirm
answer yes
must "the operation runs" within 60 notes_are first
mark
must "the page is shown" within 20 status_page_shown
check "the message asks for the SD card" within 20 message_is sd
let_pass 5
check "nothing is skipped any more" fails logged ' tool +#+ Touch operation$'
check "the page stays" status_page_shown
check "nothing else ran" notes_are first
