# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034 # for the scenarios
# What the scenarios of the kit have in common. Sourced, never run.

history=/var/lib/zul_step/history.jsonl

# steps COMMAND... - sets medium to one with the kit, whose commands, named a, b, c and so on, run at once. Each is what
# stands behind "sh /mnt/upgrade/step".
steps() {
    local command letters=(a b c d e f g)
    local -a keys=("${letters[@]:0:$#}")
    medium=$(mktemp -d /mnt/medium-XXXXXX)
    cp -R "${examples:?}/../catalogue/kit/medium/." "$medium"
    {
        printf '[system]\nCMD_Type="%s"\n\n[CMD]\n' "$(IFS=, && echo "${keys[*]}")"
        for command in "$@"; do
            printf '%s="%s@sh /mnt/upgrade/step %s"\n' "${keys[0]}" "${keys[0]}" "$command"
            keys=("${keys[@]:1}")
        done
    } >"$medium/zul_install/system.ini"
}

# run_them - plugs the medium in and waits until everything on it has been tried. It stays where it is.
run_them() {
    mark
    plug sd "$medium"
    medium_taken_up /media/mmcblk1p1
    must "the batch ends" within 120 batch_over
}

# outcomes FILE - prints "NAME OUTCOME EXIT" of each step that is reported there.
outcomes() {
    on_controller sed -n 's/.*"name":"\([^"]*\)","outcome":"\([^"]*\)","exit":\([^,]*\),.*/\1 \2 \3/p' "$@"
}

# they_are LINE... - what the history tells, and the medium the same of what it has seen.
they_are() {
    local told on_medium
    told=$(outcomes "$history")
    on_medium=$(outcomes /media/mmcblk1p1/zul_results/steps-1.jsonl)
    if [[ $told == "$(printf '%s\n' "$@")" && $told == *"$on_medium" && -n $on_medium ]]; then return; fi
    printf 'the history:\n%s\nthe medium:\n%s\n' "$told" "$on_medium"
    return 1
}
