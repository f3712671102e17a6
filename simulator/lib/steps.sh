# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # shared with controller.sh, and with the scenarios
# Steps that many scenarios have in common. Each ends the scenario when it does not come about. Sourced, never run.

# let_pass SECONDS - for what must not happen there is nothing to wait for but time.
let_pass() {
    sleep "$1"
}

# controller_is_up - the tool waits for a medium and the application programs run.
controller_is_up() {
    start_controller
    must "the tool starts" within 30 tool_ready
    if [[ " ${controller_programs[*]} " == *" zul_watchdog "* ]]; then
        must "the application programs run" within 20 all_applications_run
    fi
    must "no window is there before a medium is" window_hidden
}

link_points_at() {
    [[ $(upgrade_link 2>/dev/null) == "$1" ]]
}

# medium_taken_up DIRECTORY - the tool is in upgrade mode with the medium mounted there.
medium_taken_up() {
    must "the link points at the medium" within 20 link_points_at "$1"
    must "the window comes up" within 20 window_visible
    must "the watchdog is asked for a suspension" wait_for_log ' watchdog +received syscmd_suspend@'"$suspension"'$' 10
    must "no application program runs" within 10 no_application_runs
}

# given_back - the tool has left upgrade mode.
given_back() {
    must "the window goes" within 20 window_hidden
    must "the watchdog is asked to restart the programs" wait_for_log ' watchdog +received syscmd_apprestart$' 10
    must "the application programs run" within 20 all_applications_run
    must "the link goes" within 10 fails upgrade_link
}

# controller_restarts - until now the restart was held, whatever has asked for it.
controller_restarts() {
    let_restart
    must "the controller goes down" wait_for_log ' simulator +the controller is off' 30
}

# choose ROW... - takes rows of the operation list over into the selection.
choose() {
    local row before
    must "the list page is shown" within 10 list_page_shown
    for row in "$@"; do
        before=$(times_logged ' tool +append item ')
        tap_operation "$row"
        must "row $row is taken over" within 10 logged_more_than "$before" ' tool +append item '
    done
}

logged_more_than() {
    [[ $(times_logged "$2") -gt $1 ]]
}

answer() {
    must "the question comes up" within 10 window_visible Attention
    tap "question_$1"
    must "the question goes" within 10 window_hidden Attention
}

# confirm_choice - the batch is given to the worker.
confirm_choice() {
    tap confirm
    answer yes
    must "the status page is shown" within 10 status_page_shown
}

command_started() {
    logged " tool +#+ $1\$"
}

# --- Commands that are at work until the scenario says so: "hold NAME", and "note NAME", in a catalogue ------------------

# holds NAME - whether "hold NAME" is at work.
holds() {
    noted "$1 begins" && fails noted "$1 ends"
}

let_go() {
    touch "$state/tmp/let-go-$1"
}

noted() {
    grep -qxF -- "$1" "$state/tmp/notes" 2>/dev/null
}

# notes_are LINE... - whether just this was noted, in this order.
notes_are() {
    [[ $(cat "$state/tmp/notes" 2>/dev/null) == "$(printf '%s\n' "$@")" ]]
}

# hold_calibration - the calibration program is one that is at work until it is let go.
hold_calibration() {
    on_controller cp "$programs/hold" "$programs/ts_calibrate"
}

# variant MEDIUM SED_SCRIPT - a copy of a medium of media/ with another catalogue. Prints where it is.
variant() {
    local copy
    copy=$(mktemp -d /mnt/medium-XXXXXX)
    cp -R "$simulator/media/$1/." "$copy"
    sed -i -E "$2" "$copy/zul_install/system.ini"
    echo "$copy"
}

# at_work MEDIUM - a medium whose commands run at once is taken up, and its "hold held" is at work.
at_work() {
    plug sd "$1"
    medium_taken_up /media/mmcblk1p1
    must "the held command is at work" within 30 holds held
}

# chosen_at_work MEDIUM ROW... - the operations of a medium are confirmed, and its "hold held" is at work.
chosen_at_work() {
    plug sd "$1"
    medium_taken_up /media/mmcblk1p1
    choose "${@:2}"
    confirm_choice
    must "the held command is at work" within 30 holds held
}

# pulled_and_plugged_again MEDIUM - while a command is at work.
pulled_and_plugged_again() {
    unplug sd
    given_back
    mark
    plug sd "$1"
    medium_taken_up /media/mmcblk1p1
}

# confirmed_anew MEDIUM ROW... - pulled, plugged in again and confirmed.
confirmed_anew() {
    pulled_and_plugged_again "$1"
    must "the list page is shown" within 10 list_page_shown
    choose "${@:2}"
    confirm_choice
}

# the_new_batch_waits - the command that is at work is not disturbed, and nothing begins beside it.
the_new_batch_waits() {
    let_pass 5
    check "nothing begins while the old command is at work" fails logged ' tool +#+ .'
}

# ended_without_a_word - the command of the replaced batch has ended, and nobody is asked to unplug. Sets the mark: what
# is logged behind it is the new batch's.
ended_without_a_word() {
    must "the old command ends" wait_for_log ' tool +#+ $' 20
    mark
    let_pass 1
    check "nobody is asked to unplug for it" fails message_shown
}

# How the key of the watchdog's queue begins.
printf -v watchdogs_queue '0x%02x' "$queue_project_id"

# queue_holds KEY "BYTES MESSAGES" - what waits in the controller's queue whose key begins so.
queue_holds() {
    [[ $(on_controller ipcs -q | awk -v key="$1" 'index($1, key) == 1 && $4 == 666 {print $5, $6}') == "$2" ]]
}

# count_seconds COUNT - counts beside the tool. It has the same computer, so that it comes to its end as late as the tool.
count_seconds() {
    local counted
    for ((counted = 0; counted < $1; counted++)); do sleep 1; done
    event simulator "$1 seconds were counted"
}

# countdown_took_its_time - reboot came after as many ticks as were counted beside it with count_seconds.
countdown_took_its_time() {
    local shown reboot counted
    must "the seconds were counted beside it" wait_for_log ' simulator +[0-9]+ seconds were counted$' 60
    shown=$(time_of ' watchdog +received syscmd_suspend@')
    reboot=$(time_of ' stand-in +reboot$')
    counted=$(time_of ' simulator +[0-9]+ seconds were counted$')
    echo "tenths of a second: reboot came after $((reboot - shown)), the count ended after $((counted - shown))"
    ((reboot - shown >= 10 * (countdown_seconds - 1) && reboot - counted <= 10))
}

# --- Media that are judged before the tool sees them: zul_media, with a folder in the place of a device --------------------

# judge [--plug NAME] WORD... - plugs in media of gate/tests/mediacases.py; what becomes of each has to be what is said there.
judge() {
    "$simulator/../gate/tests/judge.py" "$build/gate/tests/zul_media_of_folders" "$state" "$@"
}

# zul_media mount|unmount NAME
zul_media() {
    "$build/gate/tests/zul_media_of_folders" "$state" "$@"
}

# looked_more_than COUNT - whether the tool has looked for media so many times, and once more; after note_looks.
looked_more_than() {
    [[ $(wc -l <"$looks") -gt $1 ]]
}

# replaced_by_a_hostile_one DIRECTORY - as when a card is swapped, or answers otherwise from now on.
replaced_by_a_hostile_one() {
    printf '#!/bin/sh\necho hostile\n' >"$1/update.sh"
    sed -i 's/=.*@.*/=Hostile@reboot/' "$1/zul_install/system.ini"
    rm "$1/zul_install/MANIFEST.sig"
}
