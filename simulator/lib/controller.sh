# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2119 # shared with the scripts that source this
# The simulated controller: its life, its media and its operator. Sourced, never run.
# Which of the two kinds it is (controller-isolated.sh, controller-fallback.sh) is decided by $ZUL_MODE: isolated or
# fallback.

# shellcheck source=common.sh
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
# shellcheck source=../../scripts/lib/facts.sh
source "$simulator/../scripts/lib/facts.sh"
# shellcheck source=screen.sh
source "$simulator/lib/screen.sh"
ZUL_MODE=${ZUL_MODE:-isolated}
if [[ $ZUL_MODE == isolated ]]; then
    # shellcheck source=controller-isolated.sh
    source "$simulator/lib/controller-isolated.sh"
else
    # shellcheck source=controller-fallback.sh
    source "$simulator/lib/controller-fallback.sh"
fi

# Seconds between "reboot" and the moment at which everything is ended and starts again; "held" waits for let_restart.
restart_delay=10
# More settings in the environment of the programs, for the watchdog.
watchdog_settings=()
# Settings in the environment of the tool alone.
tool_settings=()
# The language that the controller is set to at first, as in its settings.
language=""
# More files for the directory of the controller's programs.
more_programs=()
# start_controller starts these; a scenario may take one out.
controller_programs=(zul_watchdog zul_upgrade)

# install_programs DIRECTORY - what stands in a controller's program directory.
install_programs() {
    local directory=$1 name
    install -m 755 "$build/zul_upgrade" "$build/simulator/zul_watchdog" "$build/simulator/ts_calibrate" "$directory"
    for name in $application_programs; do install -m 755 "$build/simulator/zul_application" "$directory/$name"; done
    install -m 755 "$simulator"/programs/{zul_version,hold,note} "${more_programs[@]}" "$directory"
    ln -s "$tool_run/zul_upgrade/en.qm" "$directory/en.qm"
}

# install_package DIRECTORY - what the tool's package brings besides the tool, as it does: the fonts, the languages, what
# chooses one, and the settings. DIRECTORY is put before all but what the fonts name.
install_package() {
    local directory=$1
    "$simulator/../packaging/fonts/install-fonts" "$tool_share" "$tool_font_cache" "$directory"
    install -m 644 "$simulator"/../packaging/{english,translated}.qss "$directory$tool_share"
    cp -R "$build/share/zul-upgrade/translations" "$directory$tool_share"
    mkdir -p "$directory$tool_libexec" "$directory${tool_defaults%/*}"
    # shellcheck disable=SC2154 # programs: controller-isolated.sh, controller-fallback.sh
    sed -e "s|/usr/share/zul-upgrade|$tool_share|; s|/opt/zul/|$programs/|" "$simulator/../packaging/choose-language" \
        >"$directory$tool_libexec/choose-language"
    chmod 755 "$directory$tool_libexec/choose-language"
    sed -e "s|/usr/share/zul-upgrade|$tool_share|" -e "s|^ZUL_LANGUAGE=.*|ZUL_LANGUAGE=$language|" \
        "$simulator/../packaging/zul_upgrade.default" >"$directory$tool_defaults"
}

# settings_in FILE - those of /etc/default/zul_upgrade, without those of the frame buffer.
settings_in() {
    sed -n -e '/^QT_QPA_/d' -e '/^[A-Z_]*=/p' "$1"
}

# start_controller - everything up to the tool waiting for a medium.
start_controller() {
    require_programs
    prepare_controller
    start_transcript "$state"
    mapfile -t tool_environment < <(settings_in "$simulator/../packaging/zul_upgrade.default" | sed "s|/usr/share/zul-upgrade|$tool_share|")
    tool_environment+=("XDG_RUNTIME_DIR=$controller_tmp/runtime")
    start_screen
    controller_environment_is
    power_on
    follow_stand_ins &
    observe &
}

power_on() {
    local program
    boot_controller
    echo "$EPOCHREALTIME" >"$state/powered"
    event simulator "the controller starts"
    for program in "${controller_programs[@]}"; do start_program "$program"; done
}

power_off() {
    rm -f "$state/powered"
    halt_controller
    event simulator "the controller is off: no program runs"
}

# on_controller COMMAND... - runs a command as a program of the controller would.
on_controller() {
    local -a command
    controller_command "$@"
    "${command[@]}"
}

# start_program NAME - starts a program of the controller in the background, with its output in the transcript.
start_program() {
    local out=${1#zul_} err=${1#zul_}
    # What the tool itself says comes on standard error; on standard output it passes on what its commands say.
    out=${out/#upgrade/command} err=${err/#upgrade/tool}
    # Nothing from this shell about a program that is killed with the controller.
    run_program "$1" "$out" "$err" 2>/dev/null &
}

run_program() {
    local status=0
    local -a command settings=() words=("$programs/$1")
    if [[ $1 == zul_upgrade ]]; then start_like_the_service "$3"; fi
    controller_command env "${settings[@]}" "${words[@]}"
    "${command[@]}" </dev/null > >(stamp "$2") 2> >(stamp "$3") &
    wait $! || status=$?
    if [[ -e $state/powered ]]; then event simulator "$1 ended with exit code $status"; fi
}

# start_like_the_service SOURCE - does what the service does before the tool's start; sets settings and words to those
# with which it starts the tool.
start_like_the_service() {
    local -a command
    mapfile -t settings < <(settings_in "$(controllers_file "$tool_defaults")")
    settings+=("${tool_settings[@]}")
    words_of_the_service ExecStartPre
    controller_command env "${settings[@]}" RUNTIME_DIRECTORY="$tool_run/zul_upgrade" "${words[@]}"
    "${command[@]}" </dev/null > >(stamp "$1") 2>&1 || true # as little as the service minds
    words_of_the_service ExecStart
}

# words_of_the_service DIRECTIVE - sets words to the program and the arguments that the service has there.
words_of_the_service() {
    read -ra words < <(sed -nE "s/^$1=-?//p" "$simulator/../packaging/zul_upgrade.service.in")
    words=("${words[@]//@ZUL_PROGRAM_DIR@/$programs}")
    words=("${words[@]//@ZUL_LIBEXEC_DIR@/$tool_libexec}")
    words=("${words[@]//%t/$tool_run}")
}

# Puts every call of a stand-in into the transcript, and restarts the controller after "reboot".
follow_stand_ins() {
    local call
    tail -n +1 -f "$state/stand-ins.log" | while read -r _ call; do
        event stand-in "$call"
        if [[ $call == reboot* ]]; then restart & fi
    done
}

restart() {
    # One restart is enough, however often it is asked for.
    mkdir "$state/restarting" 2>/dev/null || return 0
    if [[ $restart_delay == held ]]; then
        event simulator "the controller is about to go down"
        until [[ -e $state/let-restart ]]; do sleep 0.1; done
        rm "$state/let-restart"
    else
        event simulator "the controller goes down in $restart_delay seconds"
        sleep "$restart_delay"
    fi
    power_off
    rmdir "$state/restarting"
    power_on
}

# let_restart - for who holds restarts, so that nothing has to be seen before one in a hurry.
let_restart() {
    touch "$state/let-restart"
}

# Puts what can be seen from outside into the transcript whenever it changes, and anew after each start.
observe() {
    local before_start="" before_link before_window before_count start link window count
    while sleep 0.2; do
        start=$(cat "$state/powered" 2>/dev/null) || continue
        if [[ $start != "$before_start" ]]; then
            before_start=$start before_link=gone before_window=hidden before_count=-1
        fi
        link=$(upgrade_link 2>/dev/null) || link=gone
        if [[ $link != "$before_link" ]]; then event simulator "/mnt/upgrade ${link/#\//points at /}"; fi
        window=hidden
        if window_visible; then window=visible; fi
        if [[ $window != "$before_window" ]]; then event simulator "the tool's window is $window"; fi
        count=$(count_applications)
        if [[ $count != "$before_count" ]]; then event simulator "$count application programs run"; fi
        before_link=$link before_window=$window before_count=$count
    done
}

# plug sd|usb|DEVICE CONTENT [DIRECTORY] - plugs a medium in; CONTENT is a folder, or the name of one in media/.
plug() {
    local device content=$2 directory
    device=$(medium_device "$1")
    directory=${3:-$(medium_directory "$device")}
    if [[ ! -d $content ]]; then content=$simulator/media/$2; fi
    if [[ ! -d $content ]]; then die "no such medium: $2"; fi
    event operator "plugs $device in, mounted on $directory"
    mount_medium "$device" "$directory" "$content"
}

# unplug sd|usb|DEVICE [DIRECTORY]
unplug() {
    local device
    device=$(medium_device "$1")
    event operator "pulls $device out"
    unmount_medium "${2:-$(medium_directory "$device")}"
}

medium_device() {
    case $1 in
        sd) echo /dev/mmcblk1p1 ;;
        usb) echo /dev/sda1 ;;
        *) echo "$1" ;;
    esac
}

# running NAME - whether a program of the controller runs.
running() {
    grep -qxF -- "$programs/$1" < <(readlink /proc/[0-9]*/exe 2>/dev/null || true)
}

count_applications() {
    grep -cE -- "^$programs/(${application_programs// /|})\$" < <(readlink /proc/[0-9]*/exe 2>/dev/null || true) || true
}

all_applications_run() {
    [[ $(count_applications) -eq 5 ]]
}

no_application_runs() {
    [[ $(count_applications) -eq 0 ]]
}

# tool_ready - whether the tool has got as far as its event loop: it has opened the queue and waits for media.
tool_ready() {
    logged ' tool +key = ' && running zul_upgrade
}
