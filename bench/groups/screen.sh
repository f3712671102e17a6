# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # the names are those of simulator/lib
# Measures on the simulated controller's screen: from a medium to its list painted, and from a tap to its effect
# painted, beside two programs that show a list. A scenario for simulator/lib/scenario.
#
# Environment: BENCH_SAMPLES, the file to append to; BENCH_NOTICES, BENCH_TAPS, how often

# shellcheck source=common.sh
source "$(dirname "$file")/common.sh"
readonly rows_seen=8 # of the tool's list, without scrolling

sample() { # ROW SUBJECT MILLISECONDS
    printf 'screen\t%s\t%s\t%s\n' "$1" "$2" "$3" >>"$BENCH_SAMPLES"
}

# The tool's own "df", that says when it has ended: the moment at which a medium can be known.
note_every_look() {
    real_df=$(on_controller sh -c 'command -v df')
    on_controller tee /mnt/.zul-stand-ins/df >/dev/null <<TEXT
#!/bin/bash
$real_df "\$@"
echo "\${EPOCHREALTIME/./}" >>/tmp/looks
TEXT
    on_controller chmod 755 /mnt/.zul-stand-ins/df
}

# Baseline: a loop that looks as often as the tool, begun with it. It prints the moment at which it knows of the medium.
begin_loop() {
    # shellcheck disable=SC2016 # expanded on the controller
    on_controller bash -c 'until sleep 3 && "$1" | grep -q /dev/mmc; do :; done; echo "${EPOCHREALTIME/./}"' loop "$real_df" \
        >"$state/noticed" &
    loop=$!
}

# A new tool for every medium: each further catalogue makes the countdown run faster.
restart_tool() {
    mark
    on_controller killall zul_upgrade
    must "the tool ends" within 10 fails running zul_upgrade
    begin_loop
    start_program zul_upgrade
    must "the tool starts" within 30 tool_ready
}

notice() { # REPETITION
    local plugged noticed
    sleep "$(awk -v part="$1" -v all="$BENCH_NOTICES" 'BEGIN {print 3 * part / all}')" # spread over the interval
    # shellcheck disable=SC2046 # four numbers
    expect_painting $(tools_first_row)
    plug sd "$state/bench-medium"
    plugged=${EPOCHREALTIME/./}
    painted_at
    must "the list is shown" list_page_shown
    noticed=$(awk -v painted="$painted" '$1 <= painted {last = $1} END {print last}' "$state/tmp/looks")
    wait "$loop"
    sample waiting tool "$(milliseconds_between "$plugged" "$noticed")"
    sample waiting loop "$(milliseconds_between "$plugged" "$(<"$state/noticed")")"
    sample list tool "$(milliseconds_between "$noticed" "$painted")"
}

sample_tap() { # SUBJECT LEFT TOP WIDTH HEIGHT X Y
    local taken
    taken=$(paint_watch "${@:2:4}" tap "${@:6}")
    sample tap "$1" "$taken"
}

tap_the_tool() {
    local row tapped
    for ((tapped = 0; tapped < BENCH_TAPS; tapped++)); do
        # Never the same row twice in a row: that would be a double tap. In the second round they are taken out again.
        row=$((tapped % rows_seen))
        sample_tap tool $((selected_x - 20)) $((first_row_y - 18)) 40 317 "$operation_x" $((first_row_y + row * row_height))
    done
}

measure_tool() {
    local repetition
    for ((repetition = 0; repetition < BENCH_NOTICES; repetition++)); do
        restart_tool
        notice "$repetition"
        if ((repetition == BENCH_NOTICES - 1)); then tap_the_tool; fi
        unplug sd
        given_back
    done
}

# list_program NAME - in a process of its own, in whose place the program comes. Without a session's services: they
# would be asked for and not be there.
list_program() {
    exec nsenter --target "$(<"$state/screen.pid")" --mount -- env DISPLAY="$display" HOME=/tmp NO_AT_BRIDGE=1 GSETTINGS_BACKEND=memory GDK_BACKEND=x11 LC_ALL=C.UTF-8 \
        "$1" --list --width="$screen_width" --height="$screen_height" --column=Name "${names[@]}" >/dev/null 2>&1
}

# The second and third row, of any row height: below every headline, and not selected from the start.
readonly -a their_rows=(20 65 60 60)
readonly below_each_other=40 # pixels, more than the height of any row and less than two

measure_list_program() { # NAME
    local repetition begun program
    for ((repetition = 0; repetition < BENCH_NOTICES; repetition++)); do
        expect_painting "${their_rows[@]}"
        begun=${EPOCHREALTIME/./}
        list_program "$1" &
        program=$!
        painted_at
        sample list "$1" "$(milliseconds_between "$begun" "$painted")"
        if ((repetition == BENCH_NOTICES - 1)); then tap_list_program "$1"; fi
        kill "$program"
        wait "$program" || true
    done
}

tap_list_program() { # NAME
    local row tapped
    for ((tapped = 0; tapped < BENCH_TAPS; tapped++)); do
        row=$((tapped % 5))
        sample_tap "$1" 15 62 45 230 50 $((80 + row * below_each_other))
    done
}

controller_is_up
install -m 755 "$build/bench/paint_watch" "$state/tmp"
write_catalogue "$state/bench-medium"
note_every_look
measure_tool
measure_list_program yad
measure_list_program zenity
