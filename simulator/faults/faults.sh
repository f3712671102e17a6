# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2016,SC2034,SC2154,SC2317 # expanded on the controller; shared with the other parts; called by name
# The faults: fault_NAME brings one about, over_NAME takes it away again, where that takes more than a fresh medium. At
# the moment "idle" the medium comes with the fault, or right after it. Sourced, never run.

# --- The medium -----------------------------------------------------------------------------------------------------

# between_two_looks COMMAND - the tool does not see what happens meanwhile, only what has become of it.
between_two_looks() {
    pace h
    "$@"
    if [[ $moment != countdown ]]; then pace q; fi
}

# comes_first - where nobody has plugged a medium in yet.
comes_first() {
    if [[ -z $plugged ]]; then insert sd faults; fi
}

fault_pulled() {
    pull_it() {
        comes_first
        pull
    }
    between_two_looks pull_it
}

fault_replugged() {
    if [[ $moment == countdown ]]; then
        fault_replugged-at-once
        return
    fi
    if [[ $moment == idle ]]; then
        insert sd faults
        medium_taken_up /media/mmcblk1p1
    fi
    pull
    given_back
    mark
    insert sd faults
}

fault_replugged-at-once() {
    again() {
        comes_first
        pull
        insert sd faults
    }
    between_two_looks again
}

fault_swapped() {
    swap() {
        comes_first
        pull
        insert usb other
    }
    between_two_looks swap
}

fault_second-medium() {
    beside() {
        comes_first
        plug usb other
    }
    between_two_looks beside
    second=usb
    if [[ $moment == idle ]]; then
        # Of two new ones the last is taken; what is in the other slot is then the second one.
        second=sd plugged=usb
    fi
}

over_second-medium() {
    if [[ -n ${second:-} ]]; then unplug "$second"; fi
    second=""
}

# catalogue - where it is from outside.
catalogue() {
    echo "$state/media/mmcblk1p1/zul_install/system.ini"
}

# on_the_medium COMMAND - something happens to what is on the medium; at the moment "idle" before the tool has seen it.
on_the_medium() {
    to_it() {
        comes_first
        "$@"
    }
    between_two_looks to_it "$@"
}

fault_catalogue-changed() {
    change() { sed -i 's/@note second/@note changed/' "$(catalogue)"; }
    on_the_medium change
}

fault_catalogue-emptied() {
    empty() { : >"$(catalogue)"; }
    on_the_medium empty
}

# It stays as it is: what the controller would find after its restart is another moment's cell.
over_catalogue-emptied() {
    if [[ $moment == countdown ]]; then pull; fi
}

fault_catalogue-deleted() {
    delete() { rm "$(catalogue)"; }
    on_the_medium delete
}

over_catalogue-deleted() { over_catalogue-emptied; }

fault_read-error() {
    unreadable() {
        switch 2 e
        mount --bind /proc/self/mem "$state/media/mmcblk1p1/first.sh"
    }
    on_the_medium unreadable
}

over_read-error() {
    switch 2 0
}

# --- Programs that the tool needs -------------------------------------------------------------------------------------

# take_away PROGRAM, bring_back PROGRAM
take_away() {
    on_controller sh -c 'cp "/usr/bin/$1" /tmp/ && rm "/usr/bin/$1"' sh "$1"
    must "$1 is gone" fails on_controller sh -c 'command -v "$1" >/tmp/found' sh "$1"
}

bring_back() {
    on_controller sh -c 'cp "/tmp/$1" /usr/bin/' sh "$1"
}

fault_df-missing() { take_away df; }
over_df-missing() { bring_back df; }
fault_ln-missing() { take_away ln; }
over_ln-missing() { bring_back ln; }
fault_rm-missing() { take_away rm; }
over_rm-missing() { bring_back rm; }
fault_killall-missing() { take_away killall; }
over_killall-missing() { bring_back killall; }

# other_df SCRIPT - takes df's place, or another's; the real one is /tmp/df.
other_df() {
    on_controller sh -c '{ [ -e /tmp/df ] || cp /usr/bin/df /tmp/; } && printf "#!/bin/sh\n%s\n" "$1" >/tmp/df.new &&
        chmod 755 /tmp/df.new && mv /tmp/df.new /usr/bin/df' sh "$1"
}

over_other_df() {
    on_controller sh -c 'cp /tmp/df /usr/bin/df.new && mv /usr/bin/df.new /usr/bin/df'
}

fault_df-failing() { other_df 'echo "df: no" >&2; exit 1'; }
over_df-failing() { over_other_df; }
fault_df-complaining() { other_df '/tmp/df; echo "df: /x: Stale file handle" >&2; exit 1'; }
over_df-complaining() { over_other_df; }
fault_df-slow() { other_df 'sleep 10; exec /tmp/df'; }
over_df-slow() { over_other_df; }

look_of_df-hanging() { hold_last_look; }

fault_df-hanging() {
    other_df 'touch /tmp/df-hangs; until [ -e /tmp/let-go-df ]; do sleep 0.1; done; exec /tmp/df'
    must "df hangs" within 10 test -e "$state/tmp/df-hangs"
}

over_df-hanging() {
    let_go df
    over_other_df
}

# The wrapper of docs/installing.md is first in PATH.
fault_df-cut-off() {
    on_controller sh -c 'printf "#!/bin/sh\n%s\n" "$1" >"${PATH%%:*}/df" && chmod 755 "${PATH%%:*}/df"' sh \
        "exec timeout --signal=KILL 5 /bin/df"
    other_df 'exec sleep 1000'
}

over_df-cut-off() {
    over_other_df
    on_controller sh -c 'rm "${PATH%%:*}/df"'
}

# --- Files ------------------------------------------------------------------------------------------------------------

# as_kernel COMMAND... - on the controller, with rights that its programs do not have.
as_kernel() {
    nsenter --target "$(<"$state/init.pid")" --mount --root -- "$@"
}

fault_mnt-read-only() { as_kernel mount -o remount,ro /mnt; }
over_mnt-read-only() { as_kernel mount -o remount,rw /mnt; }

fault_upgrade-is-a-directory() { on_controller sh -c 'rm -f /mnt/upgrade && mkdir /mnt/upgrade'; }
over_upgrade-is-a-directory() { on_controller rm -r /mnt/upgrade; }
fault_upgrade-is-a-file() { on_controller sh -c 'rm -f /mnt/upgrade && touch /mnt/upgrade'; }

# On a controller /mnt and the rest are of one disk; here each gets its own that is full.
fault_disk-full() {
    as_kernel mount -t tmpfs -o size=4k full /opt/zul/data
    as_kernel sh -c 'head -c 4096 /dev/zero >/opt/zul/data/rubbish'
    as_kernel sh -c 'mount -o "remount,nr_inodes=$(df --output=iused /mnt | tail -n 1 | tr -d " ")" /mnt'
}

over_disk-full() {
    as_kernel umount /opt/zul/data
    as_kernel mount -o remount,nr_inodes=1000 /mnt
}

# --- The watchdog and its queue ---------------------------------------------------------------------------------------

# carry_on PROGRAM - nsenter(1), which has started it, has stopped with it, and would not hear of its end.
carry_on() {
    on_controller killall -CONT "$1"
    pkill -CONT -x nsenter
}

fault_queue-removed() {
    on_controller sh -c 'ipcrm --all=msg'
}

# The tool has the queue of its start; only another start finds the new one.
over_queue-removed() {
    if ! running zul_upgrade; then return; fi
    on_controller killall zul_upgrade
    must "the tool ends" within 10 fails running zul_upgrade
    ends_with 143
}

fault_queue-full() {
    on_controller killall -STOP zul_watchdog
    on_controller /opt/zul/send_command --fill
}

over_queue-full() { carry_on zul_watchdog; }
fault_queue-unreadable() { on_controller /opt/zul/send_command --close; }
fault_watchdog-dead() { on_controller killall -KILL zul_watchdog; }
over_watchdog-dead() { start_program zul_watchdog; }

# --- The tool's process -----------------------------------------------------------------------------------------------

# signalled NAME - ends the tool; 128 and the signal's number is what its starter sees.
signalled() {
    on_controller killall "-$1" zul_upgrade
    ends_with $((128 + $(kill -l "$1")))
}

fault_sigterm() { signalled TERM; }
fault_sighup() { signalled HUP; }
fault_sigkill() { signalled KILL; }

fault_sigstop() { on_controller killall -STOP zul_upgrade; }
over_sigstop() { carry_on zul_upgrade; }

fault_screen-gone() {
    kill "$(<"$state/screen.pid")"
    ends_with 1
}

over_screen-gone() {
    rm "$state/display"
    start_screen
    controller_environment_is
}

fault_clock-ahead() { switch 1 +; }
over_clock-ahead() { switch 1 0; }
fault_clock-back() { switch 1 -; }
over_clock-back() { switch 1 0; }

tool() {
    pgrep -x zul_upgrade
}

# All that the limit allows are open; what the tool starts has them closed again.
fault_no-descriptors() {
    prlimit --nofile=256: --pid "$(tool)"
    switch 3 f
    must "all are open" within 10 opened_to_the_limit
}

opened_to_the_limit() {
    local -a open
    open=("/proc/$(tool)/fd/"*)
    ((${#open[@]} == 256))
}

over_no-descriptors() { switch 3 0; }

# At the countdown's end the look at df finds the medium: one that is refused a process would have the programs back.
look_of_no-processes() { hold_last_look; }

# Does not bind the computer's root, which with --as-root it would be.
fault_no-processes() {
    limit_before=$(prlimit --nproc --noheadings --raw --output SOFT --pid "$(tool)")
    prlimit --nproc=1: --pid "$(tool)"
    if [[ $moment == countdown ]]; then
        let_go df
        must "the look at df ends" within 20 fails pgrep -x df
        over_other_df
    fi
}

over_no-processes() {
    if running zul_upgrade; then prlimit --nproc="$limit_before:" --pid "$(tool)"; fi
}

# --- A command --------------------------------------------------------------------------------------------------------

# The kernel kills who asks for too much: the one that is at work now, and another as soon as it begins.
fault_no-memory() {
    touch "$state/tmp/no-memory"
    case $moment in
        command) pkill -KILL -f '/opt/zul/hold held' ;;
        calibration) pkill -KILL -f '/opt/zul/hold TSTAPP' ;;
    esac
}

over_no-memory() { rm "$state/tmp/no-memory"; }
