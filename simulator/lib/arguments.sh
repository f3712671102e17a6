# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What the scripts that show a simulated controller ask of their arguments. Sourced, never run.

# folder OPTION VALUE - prints the folder's real path; ends with 64 when there is none.
folder() {
    if [[ -z $2 ]]; then
        echo "${0##*/}: $1 needs a folder" >&2
        exit 64
    fi
    if [[ ! -d $2 ]]; then
        echo "${0##*/}: $1: no such folder: $2" >&2
        exit 64
    fi
    realpath -- "$2"
}

# medium OPTION VALUE - the same for a folder with a catalogue.
medium() {
    local found
    found=$(folder "$@")
    if [[ ! -f $found/zul_install/system.ini ]]; then
        echo "${0##*/}: $1: no zul_install/system.ini in $2" >&2
        exit 64
    fi
    echo "$found"
}

# language OPTION VALUE - the same code, where the tool is translated into it.
language() {
    local list
    list=$(dirname "${BASH_SOURCE[0]}")/../../translations/languages
    if [[ $2 != en ]] && ! grep -qxF -- "$2" <(grep '^[a-z]' "$list"); then
        echo "${0##*/}: $1: no such language: $2; there are: en $(grep '^[a-z]' "$list" | paste -sd ' ')" >&2
        exit 64
    fi
    echo "$2"
}

# own_display - whether a window can be shown on this computer's own display.
own_display() {
    [[ ${DISPLAY:-} =~ ^:[0-9] ]]
}

unknown_option() {
    echo "${0##*/}: unknown option $1; --help lists them" >&2
    exit 64
}
