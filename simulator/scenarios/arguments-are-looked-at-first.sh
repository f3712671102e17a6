# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What is wrong with the demo's arguments is said before anything is installed, built or shown, and truly.

demo=$simulator/../demo

# refused REASON COMMAND...
refused() {
    local reason=$1 status=0
    shift
    "$@" >/mnt/out 2>/mnt/error || status=$?
    [[ $status -eq 64 && ! -s /mnt/out ]] && grep -qF -- "$reason" /mnt/error
}

mkdir /mnt/empty
check "an option that there is not" refused "unknown option --bogus" "$demo" --bogus
check "a word that is no option" refused "unknown option typical" "$demo" typical
check "after others that there are" refused "unknown option --bogus" "$demo" --direct --bogus
check "a medium that there is not" refused "no such folder: /nowhere" "$demo" --medium /nowhere
check "a medium without a name" refused "--medium needs a folder" "$demo" --medium
check "a medium without a catalogue" refused "no zul_install/system.ini in /mnt/empty" "$demo" --medium /mnt/empty
check "options that do not go together" refused "is for the show" "$demo" --interactive --direct
check "either way" refused "is for --interactive" "$demo" --language de
check "a language that there is not" refused "no such language: xx; there are: en cs" "$demo" --interactive --language xx
check "a language without a name" refused "no such language: ;" "$simulator/run" --language
for entry in show run; do
    check "$entry: an option that there is not" refused "unknown option --bogus" "$simulator/$entry" --bogus
    check "$entry: a medium that there is not" refused "no such folder: /nowhere" "$simulator/$entry" --medium /nowhere
done
