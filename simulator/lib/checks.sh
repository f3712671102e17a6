# shellcheck shell=bash
# shellcheck disable=SC2154 # transcript: common.sh
# Checks of what a transcript tells. Sourced, never run.

failed_checks=0

# check TEXT COMMAND... - says whether COMMAND succeeds, and counts it when it does not.
check() {
    local text=$1
    shift
    if "$@"; then
        echo "  ok      $text"
    else
        echo "  FAILED  $text"
        failed_checks=$((failed_checks + 1))
    fi
}

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

# noticed_in_time - from the mount to the first thing the tool says. It looks every 3 seconds, its timer may be 5 % late,
# and what it says comes after the look and its first two commands.
noticed_in_time() {
    local plugged noticed
    plugged=$(time_of ' operator +plugs')
    noticed=$(sed '1,/ operator *plugs/d' "$transcript" | grep -m1 -E ' tool ' | sed -E 's/^ *([0-9]+)\.([0-9]) s .*/\1\2/')
    [[ -n $noticed ]] && ((10#$noticed - 10#$plugged <= 35))
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

# every_command_ended - whether each start of a command is followed by its end, and there was one.
every_command_ended() {
    [[ $(times_logged ' tool +#+ .') -gt 0 && $(times_logged ' tool +#+ .') -eq $(times_logged ' tool +#+ $') ]]
}
