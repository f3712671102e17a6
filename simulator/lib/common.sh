# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034 # the names are for the scripts that source this
# What every script of the simulated controller uses: where things are, and the transcript. Sourced, never run.

simulator=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=../../scripts/lib/script.sh
source "$simulator/../scripts/lib/script.sh"
# shellcheck source=../../scripts/lib/checks.sh
source "$simulator/../scripts/lib/checks.sh"
build=${ZUL_BUILD_DIR:-$(dirname "$simulator")/build/release}

# The media in media/ whose commands harm nothing wherever they run.
readonly harmless_media="harmless direct"

require_programs() {
    local file
    for file in zul_upgrade simulator/zul_watchdog simulator/zul_application simulator/ts_calibrate; do
        if [[ ! -x $build/$file ]]; then die "$build/$file is missing: cmake --preset release && cmake --build --preset release"; fi
    done
}

# --- the transcript: one line an event, with the seconds since the start -------------------------------------------

# start_transcript DIRECTORY - everything of one simulated controller is kept below DIRECTORY.
start_transcript() {
    state=$1
    transcript=$state/transcript
    began=${EPOCHREALTIME/./}
    : >"$transcript"
}

# stamp SOURCE - copies standard input to the transcript, line by line. Empty lines are left out: the tool writes one
# for every command that it runs and that says nothing.
stamp() {
    local source=$1 line
    while IFS= read -r line || [[ -n $line ]]; do
        if [[ -n $line ]]; then event "$source" "$line"; fi
    done
}

# event SOURCE TEXT - one line of the transcript. A single write, so that sources do not mix within a line.
# It goes to the descriptor echo_to as well, when there is one.
event() {
    local tenths=$(((${EPOCHREALTIME/./} - began) / 100000)) line
    printf -v line '%4d.%d s  %-10s %s' $((tenths / 10)) $((tenths % 10)) "$1" "$2"
    echo "$line" >>"$transcript"
    if [[ -n ${echo_to:-} ]]; then echo "$line" >&"$echo_to"; fi
}

# mark - remembers the transcript's end: logged, times_logged and wait_for_log look only behind the last mark.
marked=0
mark() {
    marked=$(wc -l <"$transcript")
}

# logged PATTERN - whether a line behind the mark has a text that matches the extended regular expression.
logged() {
    tail -n +$((marked + 1)) "$transcript" | grep -E -- "$1" >/dev/null
}

times_logged() {
    tail -n +$((marked + 1)) "$transcript" | grep -cE -- "$1" || true
}

# logged_times COUNT PATTERN - whether so many lines behind the mark match, no more and no less.
logged_times() {
    [[ $(times_logged "$2") -eq $1 ]]
}

# wait_for_log PATTERN SECONDS
wait_for_log() {
    within "$2" logged "$1"
}
