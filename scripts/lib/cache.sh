# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What takes minutes to make is kept; what is half made, or registered for a while, goes when the script ends, however
# it ends. Sourced, never run.
#
# The cache is root's: it holds device nodes and programs that run as root, so it is in no user's home.
# ZUL_CACHE names another place.

# shellcheck source=script.sh
source "$(dirname "${BASH_SOURCE[0]}")/script.sh"

: "${ZUL_CACHE:=/var/cache/zul_upgrade-build}"
ARM_ENTRY=zul-arm
# Of each kind: whoever comes back to an older state has it made again.
KEPT=3

# --- What is kept ---------------------------------------------------------------------------------------------------

# key_of TEXT... - a short name for what goes into a cached file.
key_of() {
    printf '%s\n' "$@" | sha256sum | cut -c 1-12
}

# cached KIND-KEY COMMAND [ARGUMENT...] - prints the path under which this is kept. When there is nothing yet, the
# command makes it, at a path that is put before its arguments. Two scripts that need the same make it once.
# After leave_nothing_behind.
cached() {
    local kind=${1%-*} target=$ZUL_CACHE/$1 gate
    umask 022 # it is there for others than root, too
    exec {gate}>"$ZUL_CACHE/$kind.lock"
    flock "$gate"
    if [[ ! -e $target ]]; then
        echo "making $1: a few minutes, once" >&2
        "$2" "$ZUL_SCRATCH/$1" "${@:3}" >&2
        mv "$ZUL_SCRATCH/$1" "$target"
    fi
    touch "$target"
    forget_old "$kind"
    exec {gate}>&-
    echo "$target"
}

# in_use PATH - keeps it from being forgotten as long as this script runs.
in_use() {
    local lock
    exec {lock}<"$1"
    flock --shared "$lock"
}

# forget_old KIND - all but those that were used last, and what is in use.
forget_old() {
    local path
    while IFS= read -r -d '' path; do
        flock --nonblock "$path" rm -rf --one-file-system "$path" || true
    done < <(
        find "$ZUL_CACHE" -mindepth 1 -maxdepth 1 -name "$1-*" -printf '%T@ %p\0' |
            sort --zero-terminated --reverse --numeric-sort | tail --zero-terminated --lines="+$((KEPT + 1))" |
            cut --zero-terminated --delimiter=' ' --fields=2-
    )
}

# --- What goes ------------------------------------------------------------------------------------------------------

# leave_nothing_behind ARGUMENT... - runs the script again, in processes and mounts of its own, with $ZUL_SCRATCH for what
# is half made. When that one has ended, or a signal ends this one, all its processes have ended, too; then
# the folder goes, and what the kernel was told. A start sweeps up after those that were killed with no time for that.
# Returns in the script that runs inside, and in one that it starts. Needs root.
leave_nothing_behind() {
    local gate lock status=0
    if [[ -d ${ZUL_SCRATCH:-} ]]; then return; fi
    if [[ ! -d $ZUL_CACHE ]]; then install -d -m 755 "$ZUL_CACHE"; fi
    exec {gate}>"$ZUL_CACHE/partial.lock"
    flock "$gate"
    sweep_up
    ZUL_SCRATCH=$(mktemp -d -p "$ZUL_CACHE" partial-XXXXXXXX)
    export ZUL_SCRATCH
    exec {lock}<"$ZUL_SCRATCH"
    flock "$lock"
    exec {gate}>&-
    trap 'forget_scratch "$ZUL_SCRATCH"' EXIT
    inside=""
    trap 'end_inside 143' TERM HUP
    trap 'end_inside 130' INT
    # In the background, so that a signal to this script is handled at once; the defaults of the signals that the
    # shell ignores for background commands are restored. The parent-death signal covers a killed script.
    setpriv --pdeathsig KILL env --default-signal=INT,QUIT \
        unshare --mount --pid --fork --kill-child --mount-proc -- "$script_file" "$@" <&0 &
    inside=$!
    wait "$inside" || status=$?
    exit "$status"
}

# end_inside STATUS - kills the first process inside; the kernel ends the others before that one is a zombie. unshare
# stands still meanwhile, because it has something to say about it.
# shellcheck disable=SC2317 # called by traps
end_inside() {
    local first=""
    set +e
    exec 2>/dev/null
    until [[ -n $first ]] || ! kill -0 "$inside"; do read -r first <"/proc/$inside/task/$inside/children"; done
    kill -STOP "$inside"
    kill -KILL "$first"
    while grep -q $'^State:\t[^ZX]' "/proc/$first/status"; do sleep 0.02; done
    kill -KILL "$inside"
    wait "$inside"
    exit "$1"
}

sweep_up() {
    local left
    for left in "$ZUL_CACHE"/partial-*; do
        # shellcheck disable=SC2016 # expanded by the shell inside
        if [[ -d $left ]] && flock --nonblock "$left" true; then forget_scratch "$left"; fi
    done
}

forget_scratch() {
    # shellcheck disable=SC2016 # expanded inside
    in_binary_formats '[ ! -e "$1" ] || echo -1 >"$1"' "$ARM_ENTRY-${1##*-}" || true
    rm -rf --one-file-system "$1"
}

# in_binary_formats COMMANDS ARGUMENT... - a shell's, in the directory in which the kernel lists the formats of programs
# that it hands to others. Where it has to be mounted it is for them alone.
in_binary_formats() {
    # shellcheck disable=SC2016 # expanded inside
    unshare --mount -- sh -euc '
        formats=/proc/sys/fs/binfmt_misc
        [ -e $formats/register ] || mount -t binfmt_misc binfmt_misc $formats
        cd $formats
        commands=$1
        shift
        eval "$commands"' sh "$@" 2>/dev/null
}
