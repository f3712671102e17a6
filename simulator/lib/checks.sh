# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2154 # transcript: common.sh
# Checks of what a transcript tells. Sourced, never run.

# must TEXT COMMAND... - ends the script when COMMAND fails: nothing that follows would mean anything.
must() {
    local text=$1
    shift
    if ! "$@"; then
        echo "FAILED: $text" >&2
        exit 1
    fi
}

# time_of PATTERN - when the first line with that text was written, in tenths of a second.
time_of() {
    grep -m1 -E -- "$1" "$transcript" | sed -E 's/^ *([0-9]+)\.([0-9]) s .*/\1\2/'
}

# noticed_at_the_first_look - the first time that the tool's "df" listed a medium there was no link yet, and at its next
# look there was one. How often it looks is its timer's affair; by the clock, a busy computer would be blamed on it.
noticed_at_the_first_look() {
    [[ $(grep -m2 '^medium ' "$looks") == $'medium free\nmedium taken up' ]]
}

# in_order PATTERN... - whether lines with these texts come one after the other. Each source has a pipe of its own, so
# the order of what happens at the same moment is only certain within a source.
in_order() {
    local pattern line=0 found
    for pattern in "$@"; do
        found=$(tail -n +$((line + 1)) "$transcript" | grep -n -m1 -E -- "$pattern" | cut -d: -f1)
        if [[ -z $found ]]; then return 1; fi
        line=$((line + found))
    done
}

# batch_over - the command that was announced last has ended, and the screen asks for the medium: the window does so when
# the worker says that the batch is over, whatever the medium.
batch_over() {
    logged ' tool +#+ .' && last_command_ended && message_shown
}

last_command_ended() {
    tail -n +$((marked + 1)) "$transcript" | grep -E ' tool +#+ ' | tail -n 1 | grep -qE ' #+ $'
}
