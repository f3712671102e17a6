# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The kit: what ran is on the medium and on the controller, also when the medium is pulled meanwhile, and nothing of it on
# the medium that is plugged in then.

# shellcheck source=kit.bash
source "${examples:?}/../catalogue/tests/scenarios/kit.bash"
controller_is_up
on_controller sh -c 'mkdir -p /etc/zul && echo SN-0017 >/etc/zul/serial'
steps "a hold held" "b note b"
at_work "$medium"
check "a step that has begun is told" test "$(outcomes "$history" /media/mmcblk1p1/zul_results/steps-1.jsonl)" = $'a begun null\na begun null'
check "with the controller's serial" test -n "$(on_controller grep '"controller":"SN-0017"' "$history")"
steps "c note c"
pulled_and_plugged_again "$medium"
let_go held
must "the new batch ends" within 60 noted c
must "its step is told" within 20 they_are "a done 0" "c done 0"
check "of the old one nothing is on the new medium" test "$(outcomes /media/mmcblk1p1/zul_results/steps-1.jsonl)" = "c done 0"
