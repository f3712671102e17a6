# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The kit: when a step has failed, those after it are not run, until the medium is plugged in again or the controller has
# restarted.

# shellcheck source=kit.bash
source "${examples:?}/../catalogue/tests/scenarios/kit.bash"
controller_is_up
steps "a note a" "b false" "c note c" "-a d note d"
run_them
check "what comes after the failure is not run" they_are "a done 0" "b failed 1" "c stopped 125" "d done 0"
check "but what always is" notes_are a d
unplug sd
given_back
steps "c note c" "reboots reboot"
run_them
check "plugged in again it is run" notes_are a d c
controller_restarts
mark
must "the tool is back" wait_for_log ' tool +key = ' 30
medium_taken_up /media/mmcblk1p1
must "and runs everything again" within 60 notes_are a d c c
check "a reboot cuts a step off: it failed, or is told as begun" test -n "$(outcomes "$history" | grep -E '^reboots (begun|failed|done) ')"
