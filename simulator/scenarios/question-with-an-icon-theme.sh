# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2154 # state: lib/common.sh
# The question looks the same on a controller that has an icon theme with pictures for Yes and No.

readonly icon_names="dialog-ok dialog-yes dialog-apply dialog-cancel dialog-no process-stop"
readonly icon_sizes="16 22 24 32 48"

# make_theme DIRECTORY - the theme that every Qt falls back to, all in one glaring colour.
make_theme() {
    local size name directories=""
    for size in $icon_sizes; do
        directories+="$size,"
        mkdir -p "$1/$size"
        for name in $icon_names; do convert -size "${size}x$size" xc:magenta "$1/$size/$name.png"; done
    done
    {
        printf '[Icon Theme]\nName=Hicolor\nComment=for a test\nDirectories=%s\n' "${directories%,}"
        for size in $icon_sizes; do printf '\n[%s]\nSize=%s\nType=Fixed\nContext=Actions\n' "$size" "$size"; done
    } >"$1/index.theme"
}

# photograph_question FILE - the middle of the screen with the question on it, and No.
photograph_question() {
    medium_taken_up /media/mmcblk1p1
    choose 1
    tap cancel
    must "the question comes up" within 10 window_visible Attention
    screenshot "$state/screen.png"
    convert "$state/screen.png" -crop 340x260+230+70 +repage "rgb:$1"
    answer no
}

controller_is_up
on_controller rm -rf /usr/share/icons /usr/share/pixmaps
on_controller killall -KILL zul_upgrade
must "the tool is gone" within 10 fails running zul_upgrade
mark
start_program zul_upgrade
must "the tool starts without an icon theme" within 20 tool_ready
plug sd typical
photograph_question "$state/without"

make_theme "$state/tmp/theme"
on_controller mkdir -p /usr/share/icons /usr/share/pixmaps
on_controller cp -R /tmp/theme /usr/share/icons/hicolor
on_controller cp -R /tmp/theme/32/. /usr/share/pixmaps
on_controller killall -KILL zul_upgrade
must "the tool is gone" within 10 fails running zul_upgrade
mark
start_program zul_upgrade
must "the tool starts with an icon theme" within 20 tool_ready
photograph_question "$state/with"
check "the question is the same" cmp "$state/without" "$state/with"
