# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # shared with the other files of lib/
# The simulated controller in namespaces of its own. Sourced inside the sandbox, never run.
#
# Its root is a throwaway layer over this computer's; it has its own mounts, processes and queues, few capabilities,
# and is ended with its first process. Media are mounted from outside, as a kernel does.

programs=/opt/zul
controller_tmp=/tmp
tool_share=/usr/share/zul-upgrade
tool_font_cache=/var/cache/zul-upgrade
tool_libexec=/usr/libexec/zul-upgrade
tool_defaults=/etc/default/zul_upgrade
tool_run=/run

# What a controller's programs may not do, because it would not stay inside.
denied_capabilities="-sys_boot,-sys_admin,-sys_module,-sys_rawio,-mknod,-sys_time,-sys_ptrace,-net_admin,-syslog,-dac_read_search"
# The one that goes to a given root gives this up there.
if [[ -z ${ZUL_ROOT:-} ]]; then denied_capabilities+=,-sys_chroot; fi
readonly denied_capabilities
# shellcheck source=root.sh
source "$simulator/lib/root.sh"
# shellcheck source=given-root.sh
source "$simulator/lib/given-root.sh"

prepare_controller() {
    if [[ ! -e /mnt/.zul-sandbox ]]; then die "not in a sandbox"; fi
    state=/mnt/.zul-controller
    looks=$state/tmp/looks
    mkdir -p "$state"/{upper,work,root,media,staging,tmp/.X11-unix,programs}
    mkdir -m 700 "$state/tmp/runtime"
    chmod 1777 "$state/tmp" "$state/tmp/.X11-unix"
    : >"$state/stand-ins.log"
    install_programs "$state/programs"
    install_package "$state/share"
    # Shared, so that a medium that is mounted here appears on the controller, and goes from there when it is unmounted.
    mount -t tmpfs -o mode=755 media "$state/media"
    mount --make-shared "$state/media"
    if [[ -n ${ZUL_ROOT:-} ]]; then
        layer_or_copy
        require_running_programs
    fi
}

# Builds the controller's root and starts its first process. Everything on the controller ends with that one.
boot_controller() {
    local log
    # Opened here: the first process has to be the only child.
    exec {log}> >(stamp controller)
    unshare --mount --pid --ipc --fork --kill-child --propagation slave \
        "$simulator/lib/controller-init" "$state" "$denied_capabilities" </dev/null >&"$log" 2>&1 &
    echo $! >"$state/boot.pid"
    disown
    exec {log}>&-
    within 20 test -e "$state/tmp/.booted" || die "the controller does not start: $(tail -n 3 "$transcript")"
    rm "$state/tmp/.booted"
    pgrep -P "$(<"$state/boot.pid")" >"$state/init.pid"
}

# note_outcomes - from the next start on, the tool tells what the commands print and come to, and runs them in a given root.
note_outcomes() {
    more_programs+=("$build"/simulator/{libnote_outcome.so,in_controller})
    tool_settings+=("LD_PRELOAD=$programs/libnote_outcome.so" "ZUL_IN_CONTROLLER=$programs/in_controller"
        "ZUL_CONTROLLER_ROOT=${ZUL_ROOT:+$given_root}")
    if [[ -z ${ZUL_ROOT:-} ]]; then tool_settings[-1]+=/; fi
}

# note_looks - from now on, and up to a restart, "df" is the real one with a note of every look in $looks.
note_looks() {
    # shellcheck disable=SC2016 # expanded on the controller
    on_controller sh -c 'cat >"${PATH%%:*}/df" && chmod 755 "${PATH%%:*}/df"' <"$simulator/lib/stand-in-df"
}

halt_controller() {
    local init
    init=$(<"$state/init.pid")
    kill -KILL "$(<"$state/boot.pid")" 2>/dev/null || true
    within 20 fails test -d "/proc/$init" || die "the controller does not end"
}

# controller_command COMMAND... - sets command to what runs COMMAND on the controller, with what its programs may do and know.
controller_command() {
    command=(nsenter --target "$(<"$state/init.pid")" --mount --pid --ipc --root --wd --
        setpriv --bounding-set="$denied_capabilities" --inh-caps=-all --
        env -i "${controller_environment[@]}" "$@")
}

controller_environment_is() {
    controller_environment=(
        PATH=/mnt/.zul-stand-ins:/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin:/opt/zul
        HOME=/root LC_ALL=C.UTF-8 DISPLAY="$display" "${tool_environment[@]}" "${watchdog_settings[@]}"
    )
}

mount_medium() {
    local device=$1 directory=$2 content=$3 staged
    staged=$(mktemp -d "$state/staging/XXXXXX")
    # A tmpfs may carry any source name. It is filled before it appears on the controller, as a medium is.
    if fits_in_memory "$content"; then
        mount -t tmpfs -o mode=755 "$device" "$staged"
        cp -R "$content/." "$staged"
    else
        mount_layer_over "$content" "$device" "$staged"
    fi
    mkdir -p "$state/media/${directory#/media/}"
    mount --bind "$staged" "$state/media/${directory#/media/}"
    umount "$staged"
}

# fits_in_memory CONTENT - with much to spare; ZUL_MEDIUM_MEMORY says another number of kilobytes.
fits_in_memory() {
    local available
    available=$(awk '$1 == "MemAvailable:" { print int($2 / 4) }' /proc/meminfo)
    (($(du -sk "$1" | cut -f 1) < ${ZUL_MEDIUM_MEMORY:-$available}))
}

# mount_layer_over CONTENT DEVICE DIRECTORY - a layer may carry any source name as well. What is written goes to
# $state/medium/upper.
mount_layer_over() {
    local layer=$state/medium options
    mkdir -p "$layer"/{lower,upper,work}
    mount --rbind "$1" "$layer/lower"
    options=lowerdir=$layer/lower,upperdir=$layer/upper,workdir=$layer/work
    if in_user_namespace; then options+=,userxattr; fi
    mount -t overlay -o "$options" "$2" "$3"
}

# Lazily: a medium that is pulled does not ask whether it is in use.
unmount_medium() {
    umount --lazy "$state/media/${1#/media/}"
}

# The device is not part of the path: the tool tells the kind of a medium from its mount directory.
medium_directory() {
    echo "/media/${1#/dev/}"
}

# controllers_file PATH - prints where a file of the controller is.
controllers_file() {
    echo "/proc/$(<"$state/init.pid")/root$1"
}

# What /mnt/upgrade points at; fails when it is not there.
upgrade_link() {
    readlink "$(controllers_file /mnt/upgrade)"
}
