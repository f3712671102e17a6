# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2016,SC2034,SC2154 # expanded on the controller; shared with the other parts, and with lib/
# The moments at which a fault comes: one function each brings the tool there, with an operator's taps. Sourced, never run.

# The medium in the slot: sd, usb or nothing; and where it is mounted.
plugged=""
declare -A mounted_at=([sd]=/media/mmcblk1p1 [usb]=/media/sda1)

# insert sd|usb CONTENT, pull - the one medium that the matrix is about.
insert() {
    plug "$1" "$2"
    plugged=$1
}

pull() {
    if [[ -n $plugged ]]; then unplug "$plugged"; fi
    plugged=""
}

# pace r|q|f|h - real, four times as quick, a hundred times, standing still. See programs/time_stand_in.cpp.
pace() {
    switch 0 "$1"
}

# switch NUMBER LETTER - turns a switch of the stand-in for time.
switch() {
    printf %s "$2" | dd of="$state/tmp/time" bs=1 seek="$1" conv=notrunc status=none
}

time_stands() {
    [[ $(head -c 1 "$state/tmp/time") == h ]]
}

# the_controller_waits - everything is up, and the tool's timers run four times as quick.
the_controller_waits() {
    watchdog_settings=(ZUL_RESTART_DELAY_MS=60000)
    more_programs=("$build/simulator/libtime_stand_in.so" "$build/simulator/send_command")
    tool_settings=(LD_PRELOAD=/opt/zul/libtime_stand_in.so ZUL_TIME=/tmp/time)
    mkdir -p /mnt/.zul-controller/tmp
    printf q000 >/mnt/.zul-controller/tmp/time
    controller_is_up
    on_controller mkdir -p /opt/zul/data
}

moment_idle() {
    the_controller_waits
}

moment_list() {
    the_controller_waits
    insert sd faults
    medium_taken_up /media/mmcblk1p1
    choose 2 3
}

moment_question() {
    moment_list
    tap confirm
    must "the question comes up" within 10 window_visible Attention
}

moment_command() {
    batch_at_work held 1 2 3
}

moment_calibration() {
    batch_at_work TSTAPP 4 2 3
    must "the page is away" within 10 fails status_page_shown
}

# batch_at_work NAME ROW... - the operations are confirmed, and "hold NAME" is at work.
batch_at_work() {
    the_controller_waits
    insert sd faults
    medium_taken_up /media/mmcblk1p1
    choose "${@:2}"
    tap confirm # "confirm_choice" looks for the page, which a calibration has hidden by then
    answer yes
    must "the command is at work" within 20 holds "$1"
}

moment_message() {
    moment_list
    confirm_choice
    must "the batch ends" within 30 batch_over
}

# The list again, but the countdown shows 00:00: the next tick is the restart. The tool's time stands still until then.
moment_countdown() {
    moment_list
    if has_function "look_of_$fault"; then "look_of_$fault"; fi
    pace f
    must "the countdown comes to its last second" within 60 time_stands
    if has_function "look_of_$fault"; then must "a look at df is under way" within 20 test -e "$state/tmp/df-hangs"; fi
}

# hold_last_look - whether the tool looks at df before its last tick is a matter of where its two timers stand. Once a look
# takes longer than the time between two, each comes right behind a tick. The one behind the tick of 00:00 is held, and
# no other begins before the last tick.
hold_last_look() {
    other_df 'case $(head -c 1 /tmp/time) in
        r) sleep 3.5 ;;
        h) touch /tmp/df-hangs; until [ -e /tmp/let-go-df ]; do sleep 0.1; done ;;
    esac
    exec /tmp/df'
}
