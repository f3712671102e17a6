# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # state, display, tool_environment, simulator: the other files of lib/
# The fallback, for a computer that refuses namespaces: the simulated controller has the computer's own mounts,
# processes and queues, with stand-ins for df, killall, reboot and sync in PATH. Sourced, never run.
#
# It does not keep a catalogue's commands in. Only media with harmless commands are run this way.

prepare_controller() {
    state=$ZUL_CONTROLLER
    mkdir "$state"/{media,stand-ins,programs,tmp}
    programs=$state/programs
    controller_tmp=$state/tmp
    looks=$state/tmp/looks
    tool_share=$state/share
    tool_font_cache=$state/share/cache
    tool_libexec=$state/libexec
    tool_defaults=$state/default/zul_upgrade
    tool_run=$state/tmp
    mkdir -m 700 "$controller_tmp/runtime"
    : >"$state/stand-ins.log"
    : >"$state/mounts"
    install_programs "$programs"
    install_package ""
    install_stand_ins
}

install_stand_ins() {
    local name
    for name in reboot halt poweroff shutdown init telinit systemctl sync; do
        install -m 755 "$simulator/lib/stand-in" "$state/stand-ins/$name"
    done
    install -m 755 "$simulator/lib/stand-in-df" "$state/stand-ins/df"
    install -m 755 "$simulator/lib/stand-in-killall" "$state/stand-ins/killall"
    for name in reboot sync df killall; do
        if [[ $(PATH=$state/stand-ins:$PATH command -v "$name") != "$state/stand-ins/$name" ]]; then
            die "$name would be the real one"
        fi
    done
}

boot_controller() {
    :
}

# The stand-in for df notes them by itself.
note_looks() {
    :
}

halt_controller() {
    "$simulator/lib/clean-up" --power-off "$state"
}

controller_command() {
    command=(env -i "${controller_environment[@]}" "$@")
}

controller_environment_is() {
    controller_environment=(
        PATH="$state/stand-ins:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin:$programs"
        HOME=/root LC_ALL=C.UTF-8 DISPLAY="$display" "${tool_environment[@]}" "${watchdog_settings[@]}"
        ZUL_SANDBOX_LOG="$state/stand-ins.log" ZUL_CONTROLLER="$state" ZUL_ON_CONTROLLER="$state"
    )
}

mount_medium() {
    local device=$1 directory=$2 content=$3
    mkdir -p "$directory"
    cp -R "$content/." "$directory"
    echo "$device 65536 16 65520 1% $directory" >>"$state/mounts"
}

unmount_medium() {
    local directory=$1
    grep -v -- " $directory\$" "$state/mounts" >"$state/mounts.new" || true
    mv "$state/mounts.new" "$state/mounts"
    rm -rf "$directory"
}

medium_directory() {
    echo "$state/media/${1#/dev/}"
}

controllers_file() {
    echo "$1"
}

upgrade_link() {
    readlink /mnt/upgrade
}
