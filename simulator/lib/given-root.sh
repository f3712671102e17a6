# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2154 # state, programs: controller-isolated.sh
# A real controller's root in the simulated one, for the commands of a medium: the tool itself cannot run there, which
# may be made for another processor. Sourced in a sandbox, never run.
#
# Of $ZUL_ROOT, which is only read, there is a throwaway layer at $given_root. An ordinary user's layer can hold no files
# of others: where there are any, and where the file system refuses a layer, it is a copy, in memory and all that user's.

readonly given_root=/run/zul-controller

# layer_or_copy - puts it to $state/given/root; ends the script where that cannot be.
layer_or_copy() {
    local given=$state/given options
    mkdir -p "$given"/{lower,upper,work,root}
    # By a name of ours: in an option, some characters of a folder's would mean something.
    mount --rbind "$ZUL_ROOT" "$given/lower"
    options=lowerdir=$given/lower,upperdir=$given/upper,workdir=$given/work
    if in_user_namespace; then options+=,userxattr; fi
    if ! has_files_of_others "$ZUL_ROOT" && mount -t overlay -o "$options" overlay "$given/root" 2>/dev/null; then return; fi
    copy_given_root "$given"
    mount --bind "$given/root" "$given/root"
}

has_files_of_others() {
    in_user_namespace && [[ -n $(find "$1" -xdev ! -uid 0 -print -quit 2>/dev/null) ]]
}

copy_given_root() {
    local needed left
    needed=$(du -smx "$ZUL_ROOT" 2>/dev/null | cut -f 1 || true)
    left=$(df -BM --output=avail "$state" | tail -n 1 | tr -dc 0-9)
    if ((needed > left)); then
        die "a copy of $ZUL_ROOT takes $needed MB, and $left MB of memory are left for it: give its files to yourself, or use --as-root, and no copy is needed"
    fi
    : >"$1/copied"
    # Devices cannot be made, and what only root may read cannot be read.
    LC_ALL=C cp -RT --no-dereference --preserve=mode,links,timestamps -- "$ZUL_ROOT" "$1/root" 2>"$1/not-copied" || true
    if grep -q 'No space left' "$1/not-copied"; then die "the memory is too small for a copy of $ZUL_ROOT"; fi
    sed -n "s/.*cannot open '\(.*\)' for reading.*/this user cannot read \1, so the controller does not have it/p" \
        "$1/not-copied" >&2
}

# require_running_programs - ends the script where programs of that root do not run here.
require_running_programs() {
    local reason machine
    if [[ -z $("$build/simulator/in_controller" --where "$state/given/root" /bin/sh) ]]; then
        echo "${0##*/}: --controller: $ZUL_ROOT is no controller's root: it has no /bin/sh" >&2
        exit 64
    fi
    if reason=$(starts); then return; fi
    machine=$(machine_of_given_root)
    if [[ -n $machine ]] && in_user_namespace && register_emulators && reason=$(starts); then return; fi
    if [[ -n $machine ]]; then
        cannot "$ZUL_ROOT is of another processor, $machine, and nothing here runs its programs: install the package" \
            "qemu-user-static (or have its formats registered: systemctl restart systemd-binfmt)"
    fi
    cannot "the /bin/sh of $ZUL_ROOT does not start: ${reason##*: }"
}

starts() {
    chroot "$state/given/root" /bin/sh -c 'exit 0' 2>&1
}

# machine_of_given_root - prints which processor its shell is for, when it is not for this computer's.
machine_of_given_root() {
    local shell
    shell=$state/given/root$("$build/simulator/in_controller" --where "$state/given/root" /bin/sh)
    if [[ $(machine_of "$shell") != "$(machine_of /proc/self/exe)" ]]; then machine_of "$shell"; fi
}

# machine_of FILE - prints the processor that an ELF file is for, and nothing for another file.
machine_of() {
    local -a bytes
    read -ra bytes < <(od -An -tu1 -N 20 "$1" | tr '\n' ' ')
    if [[ ${bytes[*]:0:4} != "127 69 76 70" ]]; then return; fi
    # The number is in the file's byte order, and always small.
    case $((bytes[18] > bytes[19] ? bytes[18] : bytes[19])) in
        3) echo "x86, 32 bits" ;;
        8) echo MIPS ;;
        20) echo "PowerPC, 32 bits" ;;
        21) echo "PowerPC, 64 bits" ;;
        40) echo "ARM, 32 bits" ;;
        62) echo "x86, 64 bits" ;;
        183) echo "ARM, 64 bits" ;;
        243) echo RISC-V ;;
        *) echo "number ${bytes[18]}" ;;
    esac
}

# register_emulators - what is installed but not registered, as where no systemd runs: a user namespace has a list of
# its own, since Linux 6.7. The computer's stays as it is.
register_emulators() {
    local format registered=1
    mkdir -p "$state/given/formats"
    mount -t binfmt_misc binfmt_misc "$state/given/formats" 2>/dev/null || return 1
    for format in /usr/lib/binfmt.d/qemu-*.conf; do
        if [[ -r $format ]] && cat "$format" >"$state/given/formats/register" 2>/dev/null; then registered=0; fi
    done
    return "$registered"
}

# mount_given_root ROOT - mounts it in the root that is being made for the controller, with what both have in common.
mount_given_root() {
    local name place=$1$given_root
    mkdir -p "$place"
    mount --bind "$state/given/root" "$place"
    for name in proc sys dev run tmp mnt media; do
        # A link would lead elsewhere from here.
        if [[ ! -d $place/$name || -L $place/$name ]]; then rm -f "$place/$name" && mkdir "$place/$name"; fi
        if [[ $name == run ]]; then
            mount -t tmpfs -o mode=755 run "$place/run"
            mkdir -m 1777 "$place/run/lock"
        else
            mount --rbind "$1/$name" "$place/$name"
        fi
    done
}

# put_stand_ins_in_given_root FILE NAME... - in the place of its programs of these names: a link of theirs may lead to a
# program that is much else as well.
put_stand_ins_in_given_root() {
    local file=$1 directory name
    shift
    while read -r directory; do
        for name in "$@"; do
            if [[ ! -e $given_root$directory/$name && ! -L $given_root$directory/$name && $directory != *sbin ]]; then continue; fi
            rm -f "$given_root$directory/$name"
            install -m 755 "$file" "$given_root$directory/$name"
        done
    done < <("$programs/in_controller" --where "$given_root" {/usr/local,/usr,}/{sbin,bin} | sort -u)
    # It would want a screen of its own.
    printf '#!/bin/sh\nsleep 6\n' >"$STAND_IN_DIRECTORY/ts_calibrate"
    chmod 755 "$STAND_IN_DIRECTORY/ts_calibrate"
}
