# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The kit: a step that takes too long is ended, with what it has started and with what does not listen; nothing after it is run.

# shellcheck source=kit.bash
source "${examples:?}/../catalogue/tests/scenarios/kit.bash"
controller_is_up
steps "-t 2 a hold left" "b note b" "-a c note c"
printf '#!/bin/sh\ntrap "" TERM\nsleep 1234 &\nhold left\n' >"$medium/a.sh"
sed -i 's/ a hold left/ a/' "$medium/zul_install/system.ini"
run_them
check "it was ended, and the next was not run" they_are "a late 124" "b stopped 125" "c done 0"
check "nothing of it is at work" fails on_controller pgrep -f '^sleep 1234$'
check "what is always run was" notes_are "left begins" c
unplug sd
given_back
