# shellcheck shell=bash
# Debian 12 roots, for the controller's architecture too, made once and kept outside the checkout. Sourced, never run.

scripts=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
# shellcheck source=script.sh
source "$scripts/lib/script.sh"

: "${ZUL_CACHE:=${XDG_CACHE_HOME:-$HOME/.cache}/zul_upgrade}"
: "${ZUL_DEBIAN_MIRROR:=}"
readonly ARM_INTERPRETER=/proc/sys/fs/binfmt_misc/qemu-arm

# require_arm_emulation - lets the kernel run 32-bit ARM programs, inside a root too.
require_arm_emulation() {
    "$scripts/install-packages" armhf
    if [[ ! -e /proc/sys/fs/binfmt_misc/register ]]; then
        mount -t binfmt_misc binfmt_misc /proc/sys/fs/binfmt_misc || cannot "the kernel has no binfmt_misc"
    fi
    if [[ ! -e $ARM_INTERPRETER ]]; then
        cat /usr/lib/binfmt.d/qemu-arm.conf >/proc/sys/fs/binfmt_misc/register
    fi
    arch-test armhf >/dev/null || cannot "armhf programs do not run"
}

# key_of TEXT... - a short name for what goes into a cached file.
key_of() {
    printf '%s\n' "$@" | sha256sum | cut -c 1-12
}

# mirror - where this computer gets Debian 12 itself, as an emulated root can from there; nothing when it has none.
# One archive only: the one of security updates is often in the middle of an update for a port.
mirror() {
    if [[ -n $ZUL_DEBIAN_MIRROR ]]; then
        echo "$ZUL_DEBIAN_MIRROR"
    else
        # shellcheck disable=SC2016 # apt's own variable
        apt-get indextargets --format '$(REPO_URI)' 'Created-By: Packages' 'Codename: bookworm' 'Component: main' |
            sed -n 1p
    fi
}

# make_root TARGET ARCHITECTURE VARIANT PACKAGES [OPTION...] - a root without documents and translations.
# TARGET ending in .tar gives an archive, otherwise a directory; it appears when it is complete.
make_root() {
    local target=$1 architecture=$2 variant=$3 packages=$4 partial
    local -a mirrors
    shift 4
    mapfile -t mirrors < <(mirror)
    partial=${target%/*}/partial-$$-${target##*/}
    mkdir -p "${target%/*}"
    echo "making ${target##*/}: a few minutes, once" >&2
    nice -n 15 mmdebstrap --quiet --architectures="$architecture" --variant="$variant" --include="$packages" \
        --aptopt='Acquire::Retries "3"' --dpkgopt=force-unsafe-io \
        --dpkgopt='path-exclude=/usr/share/doc/*' --dpkgopt='path-exclude=/usr/share/man/*' \
        --dpkgopt='path-exclude=/usr/share/locale/*' "$@" bookworm "$partial" "${mirrors[@]}" >&2
    mv "$partial" "$target"
}
