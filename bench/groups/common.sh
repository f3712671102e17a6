# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # shared with the groups, and with simulator/lib
# What several groups need. Sourced, never run.

readonly operations=12
names=()
for ((i = 1; i <= operations; i++)); do names+=("Operation $i"); done

# write_catalogue MEDIUM - of so many operations.
write_catalogue() {
    local list
    mkdir -p "$1/zul_install"
    printf -v list ',op%d' $(seq "$operations")
    {
        printf '[system]\nCMD_List="%s"\nENDGAME=false\n\n[CMD]\n' "${list#,}"
        for ((i = 1; i <= operations; i++)); do printf 'op%d=%s@true\n' "$i" "${names[i - 1]}"; done
    } >"$1/zul_install/system.ini"
}

milliseconds_between() { # MICROSECONDS MICROSECONDS
    awk -v from="$1" -v to="$2" 'BEGIN {printf "%.3f", (to - from) / 1000}'
}

# --- The simulated controller's screen ------------------------------------------------------------------------------

# paint_watch ARGUMENT... - on this screen; see programs/paint_watch.cpp.
paint_watch() {
    on_screen /tmp/paint_watch "$@"
}

# expect_painting LEFT TOP WIDTH HEIGHT - watches from now on; painted_at waits, and sets painted to the moment: the
# last, when nothing has changed for $quiet seconds.
expect_painting() {
    : >"$state/painted"
    paint_watch "$@" settle "${quiet:-1}" >"$state/painted" &
    watcher=$!
    must "the screen is watched" within 20 grep -qx watching "$state/painted"
}

painted_at() {
    must "something is painted" wait "$watcher"
    painted=$(tail -n 1 "$state/painted")
}

# tools_first_row - where the text of the first operation is: in the middle of the tool's first row.
tools_first_row() {
    echo $((operation_x - 60)) $((first_row_y - 15)) 120 30
}

# --- The gate -------------------------------------------------------------------------------------------------------

# only_in_the_sandbox - for groups that mount and write below /mnt.
only_in_the_sandbox() {
    if [[ ! -e /mnt/.zul-sandbox ]]; then cannot "not in a sandbox"; fi
}

# make_key SECRET PUBLIC
make_key() {
    openssl genpkey -algorithm ed25519 -out "$1"
    openssl pkey -in "$1" -pubout -out "$2"
}

# make_gate ROOT SECRET_KEY - what zul_media finds below ROOT, with the owner's key; ROOT/media may be there.
make_gate() {
    mkdir -p "$1"/{devices,keys.d,media,run}
    mount -t tmpfs run "$1/run"
    make_key "$2" "$1/keys.d/owner.pem"
}

# zul_media ROOT mount|unmount NAME - with the folder ROOT/devices/NAME in the place of a device.
readonly ZUL_MEDIA=$ZUL_BUILD_DIR/gate/tests/zul_media_of_folders
zul_media() {
    "$ZUL_MEDIA" "$@" 2>/mnt/said || { cat /mnt/said >&2 && return 1; }
}

# signature_is off|required ROOT
signature_is() {
    printf 'Signature=%s\nFreeMemory=0\n' "$1" >"$2/media.conf"
}

# make_signed MEDIUM SECRET_KEY FILES BYTES - a medium with a catalogue and so many files of so many random bytes.
make_signed() {
    write_catalogue "$1"
    mkdir "$1/files"
    head -c "$(($3 * $4))" /dev/urandom | split --bytes="$4" --suffix-length=5 --numeric-suffixes - "$1/files/"
    "$ZUL_BUILD_DIR/catalogue/zul_catalogue" sign "$1" --key "$2" >/dev/null
}
