# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Everything is run, reported on the medium and on the controller, and what is to be done only once is.

# shellcheck source=kit.bash
source "${examples:?}/../catalogue/tests/scenarios/kit.bash"

settings_have() {
    test "$(on_controller grep -c '^brightness=60$' /opt/zul/settings)" = "$1"
}

controller_is_up
medium=$examples/guarded-steps
plug usb "$medium"
medium_taken_up /media/sda1
choose 1 2 3
confirm_choice
must "the batch ends" within 60 batch_over
check "the new program is in its place" test "$(on_controller /opt/zul/zul_version)" = "application 2.4.0"
check "the settings are added" settings_have 1
check "the log is on the medium" on_controller test -s /media/sda1/zul_results/disks.log
check "all of it is reported there" test "$(outcomes /media/sda1/zul_results/steps-1.jsonl)" = $'update done 0\nadd done 0\nlog done 0'
check "and on the controller" test "$(outcomes "$history")" = $'update done 0\nadd done 0\nlog done 0'
unplug usb
given_back
mark
plug usb "$medium"
medium_taken_up /media/sda1
choose 2
confirm_choice
must "the batch ends" within 60 batch_over
check "a second time nothing is added" settings_have 1
check "which is told" test "$(outcomes "$history" | tail -n 1)" = "add already 0"
check "nothing was restarted" fails logged ' stand-in +reboot'
