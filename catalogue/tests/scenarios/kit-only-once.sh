# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The kit: a step is run only once on each controller, however often and with whichever medium it comes; after a failure
# it is run again, and so is another version.

# shellcheck source=kit.bash
source "${examples:?}/../catalogue/tests/scenarios/kit.bash"
controller_is_up
steps "-o 1.0 a note a" "-o 1.0 b false"
run_them
unplug sd
given_back
steps "-o 1.0 a note again" "-o 1.0 b note b" "-o 1.1 a note newer"
run_them
check "once" they_are "a done 0" "b failed 1" "a already 0" "b done 0" "a done 0"
check "really" notes_are a b newer
