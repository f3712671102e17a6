# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# en.qm beside the tool: used when it is one; absent or broken, the texts are the built-in ones. A file there is the
# owner's own and comes before the language of the settings.

# put_beside_the_tool - standard input; not into the file that the link there leads to.
put_beside_the_tool() {
    on_controller sh -c 'rm -f /opt/zul/en.qm && cat >/opt/zul/en.qm'
}

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

on_controller sed -i 's/^ZUL_LANGUAGE=.*/ZUL_LANGUAGE=zh_CN/' /etc/default/zul_upgrade
put_beside_the_tool <"$build/simulator/en.qm"
restart_tool
must "with the file the title is the translated one" within 20 window_visible "Maintenance"
check "and the built-in one is nowhere" window_hidden Widget
tap_operation 1
tap confirm
must "the question's title is translated as well" within 10 window_visible "Please answer"
check "the log says that the setting has no effect" logged ' tool +ZUL_LANGUAGE="zh_CN" has no effect'

echo "not a translation" | put_beside_the_tool
restart_tool
must "with a broken file the title is the built-in one" within 20 window_visible Widget
check "the log says nothing of it" fails logged ' tool .*not a translation'
