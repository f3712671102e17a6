# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The operator chooses the controller's language by taps alone and has it after the restart, with the next medium. A
# language that the controller does not have fails, and the setting stays as it is.

settings=/etc/default/zul_upgrade

# settings_are TEXT - with the mode that they had.
settings_are() {
    [[ $(on_controller cat "$settings") == "$1" && $(on_controller stat -c %a "$settings") == 640 ]]
}

with_language() {
    echo "${before/ZUL_LANGUAGE=/ZUL_LANGUAGE=$1}"
}

set_by_the_script() {
    on_controller sh /mnt/upgrade/set.sh "$1"
}

# has_settings TEXT - the controller's are these from now on.
has_settings() {
    # shellcheck disable=SC2016 # expanded on the controller
    on_controller sh -c 'printf %s "$2" >"$1"' sh "$settings" "$1"
}

# The names are longer than the screen: a tap on the bar, below its handle, shows the next of them.
scroll_to_the_end() {
    for _ in 1 2 3 4; do
        event operator "taps the bar of the operation list"
        # shellcheck disable=SC2086,SC2154 # two numbers, of facts.sh
        on_screen xdotool mousemove 343 400 click 1 mousemove $at_rest
    done
}

controller_is_up
on_controller chmod 640 "$settings"
before=$(on_controller cat "$settings")
plug sd "${examples:?}/choose-language"
medium_taken_up /media/mmcblk1p1

on_controller rm /usr/share/zul-upgrade/translations/cs.qm
check "a language that the controller does not have fails" fails set_by_the_script cs
check "and the settings are as they were" settings_are "$before"
has_settings "${before/ZUL_LANGUAGE=/#ZUL_LANGUAGE=}"
check "where the line is missing" set_by_the_script de
check "it is added" settings_are "${before/ZUL_LANGUAGE=/#ZUL_LANGUAGE=}"$'\n'"ZUL_LANGUAGE=de"
check "and changed the next time" set_by_the_script en
check "once" settings_are "${before/ZUL_LANGUAGE=/#ZUL_LANGUAGE=}"$'\n'"ZUL_LANGUAGE=en"
# shellcheck disable=SC2016 # expanded on the controller
on_controller sh -c 'mv "$1" /opt/elsewhere && ln -s /opt/elsewhere "$1"' sh "$settings"
check "where the settings are elsewhere" set_by_the_script uk
check "they are changed there" on_controller grep -qx ZUL_LANGUAGE=uk /opt/elsewhere
check "and the link stays" on_controller test -L "$settings"
on_controller mv -f /opt/elsewhere "$settings"
has_settings "$before"$'\n'
mark

choose 4
scroll_to_the_end
choose 7
check "the names are those that were meant" in_order ' tool +append item \[Deutsch\]' ' tool +append item \[简体中文\]'
confirm_choice
must "the batch ends" within 60 batch_over
check "the one that was chosen last is set" settings_are "$(with_language zh_CN)"
check "nothing half done is left" fails on_controller test -e "$settings.new"
check "each has saved twice before ENDGAME did" within 10 logged_times 5 ' stand-in +sync$'
controller_restarts
mark
must "the tool is back" wait_for_log ' tool +key = ' 30
medium_taken_up /media/mmcblk1p1
unplug sd
given_back
mark
plug sd continue
medium_taken_up /media/mmcblk1p1
choose 1
tap confirm
check "the next medium's question is Chinese" within 10 window_visible "注意"
check "and nothing had to be told" fails logged ' tool +ZUL_LANGUAGE'
