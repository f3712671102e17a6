# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The tool is in the language that the controller's settings name, from its next start on; a name that is none is told
# in one line, and the screen is in English.

# set_language TEXT - changes the settings as somebody at the controller would, and starts the tool anew.
set_language() {
    on_controller sed -i "s|^ZUL_LANGUAGE=.*|ZUL_LANGUAGE=$1|" /etc/default/zul_upgrade
    on_controller killall zul_upgrade
    must "the tool ends" within 10 fails running zul_upgrade
    mark
    start_program zul_upgrade
    must "the tool starts again" within 20 tool_ready
}

# asks TITLE - whether an operation that is confirmed brings up a question with this title.
asks() {
    must "the list page is shown" within 20 list_page_shown
    tap_operation 1
    tap confirm
    within 10 window_visible "$1"
}

language=zh_CN
controller_is_up
plug sd continue
medium_taken_up /media/mmcblk1p1
must "the question is Chinese" asks "注意"
check "nothing is told of a language that is there" fails logged ' tool +ZUL_LANGUAGE'

set_language uk
must "another language is taken at the next start" asks "Увага"

set_language ../../../../etc/passwd
must "a name that is none is English" asks "Attention"
check "which one line tells" logged_times 1 ' tool +ZUL_LANGUAGE="../../../../etc/passwd" .* in English; there are: en cs .* zh_TW$'

set_language ""
must "so is no name" asks "Attention"
check "without a word" fails logged ' tool +ZUL_LANGUAGE'
check "the tool has the style sheet of the service" \
    on_controller pgrep -fx "/opt/zul/zul_upgrade -stylesheet /run/zul_upgrade/screen.qss"
