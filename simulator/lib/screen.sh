# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2086,SC2154 # places are two numbers; the names are those of the other files of lib/
# The simulated controller's screen and the operator's finger on it. Sourced, never run.

# start_screen - an X server without a window manager, as on the controller. Sets display.
# With $ZUL_WINDOW it is a window on the user's own display, else it exists in memory only.
start_screen() {
    local -a command=(Xvfb -screen 0 "${screen_width}x${screen_height}x24")
    if [[ -n ${ZUL_WINDOW:-} ]]; then command=(Xephyr -screen "${screen_width}x$screen_height" -title "controller"); fi
    command+=(-displayfd 3 -noreset -nolisten tcp)
    if [[ $ZUL_MODE == isolated ]]; then
        # Its sockets are the controller's, whose display numbers cannot clash with another's; but the user's has to be there.
        if [[ -n ${ZUL_WINDOW:-} ]]; then lend_users_display; fi
        command=("$simulator/lib/with-tmp" "$state/tmp" "${command[@]}" -nolock -ac)
    fi
    mkfifo "$state/display"
    "${command[@]}" 3>"$state/display" >"$state/screen.log" 2>&1 </dev/null &
    echo $! >"$state/screen.pid"
    read -r -t 20 display <"$state/display" || die "the screen does not start: $(tail -3 "$state/screen.log")"
    display=:$display
}

# The socket of the user's display, for the one program that shows the window.
lend_users_display() {
    local number=${DISPLAY#:} socket
    socket=/tmp/.X11-unix/X${number%%.*}
    if [[ ! -S $socket ]]; then die "the display $DISPLAY has no socket $socket"; fi
    touch "$state$socket"
    mount --bind "$socket" "$state$socket"
    if [[ -n ${XAUTHORITY:-} ]]; then
        cp "$XAUTHORITY" "$state/tmp/.Xauthority"
        export XAUTHORITY=/tmp/.Xauthority
    fi
}

# on_screen COMMAND... - runs an X client beside the controller.
on_screen() {
    if [[ $ZUL_MODE == isolated ]]; then
        DISPLAY=$display nsenter --target "$(<"$state/screen.pid")" --mount -- "$@"
    else
        DISPLAY=$display "$@"
    fi
}

# window_visible [TITLE] - whether the window of that title is on the screen: "Widget" the tool's, "Attention" a question.
window_visible() {
    on_screen xdotool search --onlyvisible --name "^${1:-Widget}\$" >/dev/null 2>&1
}

window_hidden() {
    fails window_visible "$@"
}

# screenshot FILE - once two looks in a row have seen the same.
screenshot() {
    local before="" now
    for _ in {1..30}; do
        now=$(on_screen import -silent -window root -depth 8 rgb:- | cksum)
        if [[ $now == "$before" ]]; then break; fi
        before=$now
        sleep 0.1
    done
    on_screen import -silent -window root png:- >"$1"
}

# pixel X Y - prints the colour of a point as RRGGBB.
pixel() {
    on_screen import -silent -window root -crop "1x1+$1+$2" -depth 8 rgb:- | od -An -tx1 | tr -d ' \n'
}

# tap NAME - touches a place of facts.sh.
tap() {
    local -n place=at_$1
    event operator "taps ${1//_/ }"
    on_screen xdotool mousemove $place click 1 mousemove $at_rest
}

# tap_operation ROW, tap_selected ROW - touches a row of the two lists, counted from 1.
tap_operation() {
    tap_row operation "$1" "$operation_x"
}

tap_selected() {
    tap_row selected "$1" "$selected_x"
}

tap_row() {
    event operator "taps row $2 of the $1 list"
    on_screen xdotool mousemove "$3" $((first_row_y + ($2 - 1) * row_height)) click 1 mousemove $at_rest
}

# list_page_shown, status_page_shown - the two pages differ in the middle: between the lists is the background picture,
# the table is white. While a calibration program has the screen neither is there.
list_page_shown() {
    [[ $(pixel $between_lists) != ffffff && $(pixel $low_in_list) == ffffff ]]
}

status_page_shown() {
    [[ $(pixel $between_lists) == ffffff ]]
}

countdown_shown() {
    [[ $(part_of_screen "$countdown_area" | convert png:- -format '%[min]' info:) == 0 ]]
}

# message_width - pixels from the first to the last ink of the line above the status table.
message_width() {
    part_of_screen "$message_area" | convert png:- -trim -format %w info:
}

# message_kind - which of the three requests to unplug is shown, told by its length with the fonts of fonts.conf: sd, usb
# or other. Prints nothing where none is shown.
message_kind() {
    local width kind
    local -A widths=([sd]=558 [usb]=581 [other]=634)
    width=$(message_width)
    for kind in "${!widths[@]}"; do
        if ((width >= widths[$kind] - 8 && width <= widths[$kind] + 8)); then echo "$kind"; fi
    done
}

# message_is sd|usb|other
message_is() {
    [[ $(message_kind) == "$1" ]]
}

message_shown() {
    [[ -n $(message_kind) ]]
}

# part_of_screen AREA - an image of it in black and white.
part_of_screen() {
    on_screen import -silent -window root png:- |
        convert png:- -crop "$1" +repage -colorspace gray -threshold 50% png:-
}
