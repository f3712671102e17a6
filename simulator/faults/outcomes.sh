# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # shared with the other parts of the matrix, and with lib/
# What is seen of a fault, while it lasts and when it is over: the words of the table, one function each. The operator
# goes on with what he was about, as he would without it. Sourced, never run.

words=()

# stated WORD - whether the table says so of this cell.
stated() {
    [[ " ${words[*]} " == *" $1 "* ]]
}

# ends_with CODE - that the tool ends with it is a part of the fault.
ends=()
ends_with() {
    ends+=("$1")
}

# --- What the operator goes on with -----------------------------------------------------------------------------------

# expected_notes - what the batch of this moment has run when it is over, one a line.
expected_notes() {
    case $moment in
        command) echo "held begins" && { stated killed || echo "held ends"; } ;;
        calibration) echo "TSTAPP begins" && { stated killed || echo "TSTAPP ends"; } ;;
    esac
    if ! stated first-fails; then echo first; fi
    if stated changed; then echo changed; else echo second; fi
}

only_this_was_run() {
    [[ $(cat "$state/tmp/notes" 2>/dev/null) == "$(expected_notes)" ]]
}

# nothing_else_was_run - but what was at work when the fault came.
nothing_else_was_run() {
    ! grep -qvE '^(held|TSTAPP) (begins|ends)$' "$state/tmp/notes" 2>/dev/null
}

# A batch that was over when the fault came had run whole.
nothing_further_is_run() {
    if [[ $moment == message ]]; then
        check "what was confirmed has run, each once" only_this_was_run
    else
        check "nothing further is run" nothing_else_was_run
    fi
}

# let_it_end - what was at work when the fault came is not disturbed by it.
let_it_end() {
    local name
    case $moment in
        command) name=held ;;
        calibration) name=TSTAPP ;;
        *) return 0 ;;
    esac
    if stated killed; then return; fi
    let_go $name
    must "the command ends by itself" within 20 noted "$name ends"
}

# first_word - begins what the operator does next, without a look at whether it helps.
first_word() {
    case $moment in
        idle) if [[ -z $plugged ]]; then insert sd faults; fi ;;
        list) tap confirm ;;
        question) tap question_yes ;;
        command | calibration) let_it_end ;;
        message) pull ;;
        countdown) pace q ;;
    esac
}

# the_rest - what follows, up to the medium's leave.
the_rest() {
    case $moment in
        idle)
            taken_up "${mounted_at[$plugged]}"
            choose 2 3
            tap confirm
            answer yes
            ;;
        list) answer yes ;;
        question) must "the question goes" within 10 window_hidden Attention ;;
        countdown)
            restart_is_asked_for
            return
            ;;
    esac
    if [[ $moment != message ]]; then batch_ends_and_medium_goes; fi
    left
}

batch_ends_and_medium_goes() {
    must "the batch ends" within 60 batch_over
    must "what was confirmed has run, each once" only_this_was_run
    must "the table shows how each ended" within 10 table_is_right
    must "the message asks for the SD card" within 20 message_is sd
    if [[ -n ${second:-} ]]; then over_second-medium; fi
    pull
}

# row_outcome ROW - what the status table has in its third column: failed, succeed, or neither.
row_outcome() {
    local width
    width=$(part_of_screen "140x22+365+$((63 + 25 * ($1 - 1)))" | convert png:- -trim -format %w info:)
    if ((width >= 42 && width <= 52)); then echo failed; elif ((width >= 62 && width <= 72)); then echo succeed; else echo neither; fi
}

# table_is_right - each confirmed command has its row, which says how it ended.
table_is_right() {
    local outcome first=1
    if [[ $moment == command || $moment == calibration ]]; then
        outcome=succeed
        if stated killed; then outcome=failed; fi
        [[ $(row_outcome 1) == "$outcome" ]] || return 1
        first=2
    fi
    outcome=succeed
    if stated first-fails; then outcome=failed; fi
    [[ $(row_outcome $first) == "$outcome" && $(row_outcome $((first + 1))) == succeed && $(row_outcome $((first + 2))) == neither ]]
}

# taken_up DIRECTORY - as far as the fault lets it.
taken_up() {
    if stated programs-stay; then
        must "the window comes up" within 20 window_visible
        must "the watchdog is asked for a suspension" wait_for_log ' watchdog +received syscmd_suspend@'"$suspension"'$' 10
        check "the programs run on below it" all_applications_run
        on_controller sh -c 'pkill -x "zul_main|zul_gui_.*"' || true # the window of one is over the list
        must "they are out of the way" within 10 no_application_runs
    elif stated unheard || stated heard-later; then
        must "the link points at the medium" within 20 link_points_at "$1"
        must "the window comes up" within 20 window_visible
        must "no application program runs" within 10 no_application_runs
        check "the watchdog hears nothing" fails logged ' watchdog +received syscmd_suspend'
    else
        medium_taken_up "$1"
    fi
}

# left - the upgrade is over and the application is back, as far as the fault lets it.
left() {
    must "the window goes" within 60 window_hidden
    if stated link-stays; then
        let_pass 1
        check "what is at /mnt/upgrade stays" something_at_upgrade
    else
        must "the link goes" within 10 fails something_at_upgrade
    fi
    if stated unheard || stated heard-later; then
        let_pass 2
        check "the watchdog hears nothing" fails logged ' watchdog +received syscmd_apprestart$'
        check "the programs do not come back yet" no_application_runs
    else
        must "the watchdog is asked to restart the programs" wait_for_log ' watchdog +received syscmd_apprestart$' 10
        must "the application programs run" within 20 all_applications_run
    fi
}

something_at_upgrade() {
    local path
    path=/proc/$(<"$state/init.pid")/root/mnt/upgrade
    [[ -e $path || -L $path ]]
}

restart_is_asked_for() {
    must "reboot is called" wait_for_log ' stand-in +reboot$' 60
    ends_with 0
    must "the tool ends" within 20 fails running zul_upgrade
    check "it is called once" logged_times 1 ' stand-in +reboot$'
    check "nothing ran" nothing_else_was_run
}

# --- The words --------------------------------------------------------------------------------------------------------

word_goes-on() {
    first_word
    the_rest
}

word_reboots() {
    word_goes-on
}

word_ends() {
    left
    check "a question that was open is gone" window_hidden Attention
    let_it_end
    let_pass 2
    nothing_further_is_run
}

word_anew() {
    mark_unless_left
    medium_taken_up "${mounted_at[$plugged]}"
    must "the list is shown" within 10 list_page_shown
    let_it_end
    let_pass 2
    nothing_further_is_run
    tap confirm
    must "nothing is chosen" wait_for_log ' tool +no item selected$' 10
    if [[ -n ${second:-} ]]; then over_second-medium; fi
    pull
    mark
    left
}

# Where the medium was swapped between two looks, the leave of the first one is still to be seen.
mark_unless_left() {
    if [[ $fault != swapped || $moment == idle ]]; then return; fi
    must "the first medium is given back" wait_for_log ' watchdog +received syscmd_apprestart$' 20
}

word_unseen() {
    if [[ $fault != pulled ]]; then first_word; fi
    let_pass 2
    check "the window stays away" window_hidden
    check "there is no link" fails something_at_upgrade
    check "the watchdog hears nothing" fails logged ' watchdog +received '
    check "the application programs go on" all_applications_run
}

word_refused() {
    first_word
    must "the log says why" wait_for_log ' tool +/mnt/upgrade/zul_install/system.ini unPresence$' 20
    let_pass 2
    check "once" logged_times 1 ' unPresence$'
    check "the window stays away" window_hidden
    check "the watchdog hears nothing" fails logged ' watchdog +received '
    check "the application programs go on" all_applications_run
}

word_empty() {
    medium_taken_up "${mounted_at[$plugged]}"
    must "the log says why" wait_for_log ' tool +unrecognized command line$' 20
    must "the lists are there" within 10 list_page_shown
    tap_operation 1
    let_pass 1
    check "and have nothing in them" fails logged ' tool +append item '
    check "no countdown is shown" fails countdown_shown
    pull
    left
}

# The window is as it was, whatever the operator does; the worker goes on.
word_waits() {
    stands_still
    if [[ $moment == command || $moment == calibration ]]; then
        must "the batch goes on unseen" within 30 noted second
        let_pass 1
        check "the window does not show it" fails message_shown
    fi
}

# The same, and the worker stands as well.
word_stands() {
    stands_still
    let_pass 8
    nothing_further_is_run
}

stands_still() {
    local before after
    before=$(look_at_screen)
    first_word
    let_pass 2
    after=$(look_at_screen)
    check "the screen is as it was" test "$before" = "$after"
    check "nothing is restarted" fails logged ' stand-in '
    check "the tool is there" running zul_upgrade
}

look_at_screen() {
    on_screen import -silent -window root -depth 8 rgb:- | cksum
}

# When the fault is over, all that the operator has done meanwhile is heeded.
over_waits() {
    if [[ $moment == list ]]; then must "the tap is heeded now" within 20 window_visible Attention; fi
    the_rest
}

over_stands() {
    over_waits
}

word_dies() {
    must "the tool is gone" within 20 fails running zul_upgrade
    let_it_end
    if [[ $moment == countdown ]]; then pace q; fi
    let_pass 2
    nothing_further_is_run
    check "nothing is restarted" fails logged ' stand-in '
    if [[ $moment == idle ]]; then return; fi
    check "its link stays" something_at_upgrade
    check "the application programs stay away" no_application_runs
}

word_no-reboot() {
    pace r # quicker, a last tick that is late would have a look at df with it
    must "the tool ends" within 60 fails running zul_upgrade
    ends_with 0
    check "nothing is restarted" fails logged ' stand-in '
    check "nothing ran" nothing_else_was_run
    check "the application programs stay away, unless the medium counted as gone" stay_away_unless_gone
}

# A look at df that was refused before the last tick has ended the upgrade: the programs are back with the watchdog's word.
stay_away_unless_gone() {
    no_application_runs || logged ' watchdog +received syscmd_apprestart$'
}

# --- When the fault is over -------------------------------------------------------------------------------------------

has_function() {
    [[ $(type -t "$1") == function ]]
}

fault_is_over() {
    mark
    if has_function "over_$fault"; then "over_$fault"; fi
}

# recovered - the tool is there again, by itself, by its service or by the restart that it has asked for; it offers anew
# the medium that is still there; and a whole upgrade from a fresh medium works.
recovered() {
    if stated reboots || { stated waits && [[ $moment == countdown ]]; } || { stated stands && [[ $moment == countdown ]]; }; then
        controller_programs=(zul_watchdog zul_upgrade)
        controller_restarts
        mark
        must "the tool is back" within 30 tool_ready
    elif ! running zul_upgrade; then
        mark
        start_program zul_upgrade
        must "the tool is back" within 30 tool_ready
    fi
    if stated heard-later; then
        must "the watchdog hears what has waited for it" wait_for_log ' watchdog +received syscmd_apprestart$' 20
        must "the application programs run" within 20 all_applications_run
    fi
    if [[ -n $plugged ]]; then offered_anew; fi
    fresh_medium
}

offered_anew() {
    if ! stated refused; then
        must "the medium is offered anew" within 20 window_visible
        must "with its list" within 10 list_page_shown
        pull
        must "it is given back" within 20 window_hidden
        must "the link goes" within 10 fails something_at_upgrade
    else
        let_pass 2
        check "the medium is not tried again" window_hidden
        pull
        let_pass 2
    fi
}

fresh_medium() {
    : >"$state/tmp/notes"
    mark
    insert usb faults
    medium_taken_up /media/sda1
    choose 2 3
    tap confirm
    answer yes
    must "its batch ends" within 30 batch_over
    check "it ran what was chosen, each once" notes_are first second
    check "the message asks for the USB drive" within 20 message_is usb
    pull
    given_back
}

# ended_as_stated - the tool has ended just as often as the fault or the design says, and never by a crash.
ended_as_stated() {
    marked=0
    # Two processes write the transcript: the tool may be gone before it says so.
    within 10 logged_times "${#ends[@]}" ' simulator +zul_upgrade ended with exit code' &&
        [[ $(sed -nE 's/.* zul_upgrade ended with exit code ([0-9]+)$/\1/p' "$transcript") == "$(printf '%s\n' "${ends[@]}")" ]]
}
