# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The kit: a step for another kind of controller is not run, and what comes after it is.

# shellcheck source=kit.bash
source "${examples:?}/../catalogue/tests/scenarios/kit.bash"
controller_is_up
on_controller sh -c 'mkdir -p /etc/zul && echo Compatible=zul-800 >/etc/zul/media.conf'
steps "-k zul-900 a note a" "-k zul-800 b note b" "c note c"
run_them
check "only those for it are run" they_are "a other-kind 125" "b done 0" "c done 0"
check "really" notes_are b c
unplug sd
given_back
steps "d note d"
sed -i 's/^kind=""/kind="zul-900"/' "$medium/step"
run_them
check "a whole medium can be for another kind" they_are "a other-kind 125" "b done 0" "c done 0" "d other-kind 125"
check "and nothing of it is run" notes_are b c
