# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # the names are those of simulator/lib
# Measures on the simulated controller's screen: from plugging in a signed medium to its list painted, with the gate and
# without it. A scenario for simulator/lib/scenario.
#
# The tool looks for a medium every three seconds, which would hide what comes before. So its first look waits until
# the medium is mounted, and the medium is plugged in when that look has begun.
#
# Environment: BENCH_SAMPLES, the file to append to; BENCH_PLUGS, how often

# shellcheck source=common.sh
source "$(dirname "$file")/common.sh"
quiet=0.3

# The tool's own "df", whose first call after hold_look waits for let_it_look.
put_held_df() {
    local real_df
    real_df=$(on_controller sh -c 'command -v df')
    mkfifo -m 666 "$state/tmp/look"
    exec {look}<>"$state/tmp/look" # open all the time, so that nobody waits for the other end
    on_controller tee /mnt/.zul-stand-ins/df >/dev/null <<TEXT
#!/bin/bash
if rm /tmp/look-is-held 2>/dev/null; then read -r </tmp/look; fi
exec $real_df "\$@"
TEXT
    on_controller chmod 755 /mnt/.zul-stand-ins/df
}

# hold_look - a new tool, which has begun its first look.
hold_look() {
    mark
    on_controller touch /tmp/look-is-held
    start_program zul_upgrade
    must "the tool starts" within 30 tool_ready
    must "the tool looks for a medium" within 20 fails test -e "$state/tmp/look-is-held"
}

let_it_look() {
    echo >&"$look"
}

plug_in() { # SIZE off|required
    local begun
    signature_is "$2" "$state"
    hold_look
    # shellcheck disable=SC2046 # four numbers
    expect_painting $(tools_first_row)
    begun=${EPOCHREALTIME/./}
    zul_media "$state" mount "sda${1% MB}"
    let_it_look
    painted_at
    must "the list is shown" list_page_shown
    printf 'plug\t%s\t%s\t%s\n' "$1" "${2/required/tool}" "$(milliseconds_between "$begun" "$painted")" >>"$BENCH_SAMPLES"
    on_controller killall zul_upgrade
    must "the tool ends" within 10 fails running zul_upgrade
    zul_media "$state" unmount "sda${1% MB}"
    must "the window goes" within 10 window_hidden
}

controller_programs=()
start_controller
install -m 755 "$build/bench/paint_watch" "$state/tmp"
make_gate "$state" /mnt/key.pem
for size in 1 10 100; do make_signed "$state/devices/sda$size" /mnt/key.pem 10 "$((size * 100000))"; done
put_held_df
for ((plug = 0; plug < BENCH_PLUGS; plug++)); do
    for size in 1 10 100; do
        plug_in "$size MB" off
        plug_in "$size MB" required
    done
done
