# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The kit: a file is copied with a mode, replaced whole, and left as it was when the disk does not give back what was
# written.

# shellcheck source=kit.bash
source "${examples:?}/../catalogue/tests/scenarios/kit.bash"
# gives_back_otherwise - from now on what is read from the controller's disk is not what was written.
gives_back_otherwise() {
    # shellcheck disable=SC2016 # expanded on the controller
    on_controller sh -c 'printf "#!/bin/sh\nexit 1\n" >"${PATH%%:*}/cmp"; chmod 755 "${PATH%%:*}/cmp"'
}

copied() {
    [[ $(on_controller cat /opt/zul/app) == "$1" && $(on_controller stat -c %a /opt/zul/app) == 750 ]]
}

controller_is_up
steps a
printf 'sh /mnt/upgrade/step -c -m 750 /mnt/upgrade/zul_install/app /opt/zul/app\n' >"$medium/a.sh"
echo old >"$medium/zul_install/app"
run_them
check "a file is copied" copied old
unplug sd
given_back
echo new >"$medium/zul_install/app"
run_them
check "and replaced" copied new
unplug sd
given_back
echo newer >"$medium/zul_install/app"
gives_back_otherwise
run_them
check "what is read back otherwise fails" they_are "a done 0" "a done 0" "a failed 1"
check "and leaves the old one" copied new
check "nothing half is left" fails on_controller test -e /opt/zul/app.step-new
