# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The root of a simulated controller: this computer's, with throwaway layers over it. Sourced in a sandbox, never run.
#
# For the computer's root it is one layer. For an ordinary user, in a user namespace, it is one a directory, and every
# directory below /opt, /usr and /var exists in the layer, made by that user: there files can be made, removed and replaced.
# A file of this computer's that is neither in /etc nor the user's own cannot be changed in its place, because the
# changed copy would have to be its owner's, who does not exist in the user namespace.

# in_user_namespace - whether this is not the computer's root.
in_user_namespace() {
    [[ ! $(</proc/self/uid_map) =~ ^\ *0\ +0\ +4294967295$ ]]
}

# mount_root STATE - mounts STATE/root; what was changed in it before the last end is in it again.
mount_root() {
    mkdir -p "$1"/{upper,work,root}
    if in_user_namespace; then
        mount_layers "$1"
    else
        mount -t overlay -o "lowerdir=/,upperdir=$1/upper,workdir=$1/work" overlay "$1/root"
    fi
}

mount_layers() {
    local state=$1 path
    mount --bind "$state/root" "$state/root" # to move into it, it has to be a mount
    for path in /*; do
        case $path in
            /proc | /sys | /dev | /run | /tmp | /mnt | /media) mkdir -p "$state/root$path" ;;
            /etc) copy_once "$state" /etc ;;
            /usr) layer "$state" /usr ;;
            /opt) layer "$state" /opt || true ;;
            /var) layer "$state" /var || true ;;
            # What cannot be looked into, or has something mounted in it, is empty on the controller.
            *) if [[ -L $path ]]; then cp -P "$path" "$state/root/"; else layer "$state" "$path" -maxdepth 0 || true; fi ;;
        esac
    done
}

# layer STATE DIRECTORY [OPTION...] - mounts the directory, with directories of the layer's own where find finds one.
layer() {
    local state=$1 path=$2
    shift 2
    mkdir -p "$state/root$path"
    if [[ ! -d $path || ! -r $path ]]; then return; fi
    if [[ ! -d $state/upper$path ]]; then
        mkdir -p "$state"/{upper,work}"$path"
        # What find may not look into is not there.
        { find "$path" -xdev -mindepth 1 "$@" -type d -readable -print0 || true; } 2>/dev/null |
            (cd "$state/upper" && sed -z 's|^/||' | xargs -0 --no-run-if-empty mkdir -p --)
    fi
    mount -t overlay -o "userxattr,lowerdir=$path,upperdir=$state/upper$path,workdir=$state/work$path" overlay \
        "$state/root$path" 2>/dev/null
}

copy_once() {
    if [[ -d $1/root$2 ]]; then return; fi
    # What only root may read stays away.
    cp -R --preserve=mode,links "$2" "$1/root$2" 2>/dev/null || test -d "$1/root$2"
}
