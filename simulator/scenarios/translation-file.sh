# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# en.qm beside the tool: used when it is one; absent or broken, the texts are the built-in ones.

restart_tool() {
    on_controller killall zul_upgrade
    must "the tool ends" within 10 fails running zul_upgrade
    mark
    start_program zul_upgrade
    must "the tool starts again" within 20 tool_ready
}

controller_is_up
plug sd continue
must "without the file the title is the built-in one" within 20 window_visible Widget

on_controller sh -c 'cat >/opt/zul/en.qm' <"$build/simulator/en.qm"
restart_tool
must "with the file the title is the translated one" within 20 window_visible "Maintenance"
check "and the built-in one is nowhere" window_hidden Widget
tap_operation 1
tap confirm
must "the question's title is translated as well" within 10 window_visible "Please answer"

on_controller sh -c 'echo "not a translation" >/opt/zul/en.qm'
restart_tool
must "with a broken file the title is the built-in one" within 20 window_visible Widget
check "the log says nothing of it" fails logged ' tool .*en.qm'
