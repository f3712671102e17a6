# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2154 # state: common.sh
# What was changed in the controller's root: its throwaway layers have all of it. Sourced inside the sandbox, never run.

# layers_now - prints "KIND SUM PATH", with tabulators, of everything in the layers: "file", "link", or "gone", which
# covers a file of the layer below.
layers_now() {
    local place path
    for place in "$state/upper" "$state/root/etc"; do
        path=${place#"$state/upper"} path=${path#"$state/root"}
        if [[ ! -d $place ]]; then continue; fi
        (
            cd "$place" || exit
            find . -type f -exec cksum {} + | awk -v path="$path" '{ sum = $1 "-" $2; sub(/^[0-9]+ [0-9]+ \./, ""); print "file\t" sum "\t" path $0 }'
            find . -type l -printf 'link\t%l\t%P\n' | awk -F '\t' -v OFS='\t' -v path="$path" '{ print $1, $2, path "/" $3 }'
            find . -type c -printf 'gone\t-\t%P\n' | awk -F '\t' -v OFS='\t' -v path="$path" '{ print $1, $2, path "/" $3 }'
        ) 2>/dev/null
    done | LC_ALL=C sort -t $'\t' -k 3
}

# files_of DIRECTORY - the same of everything that is there.
files_of() {
    (
        cd "$1" || exit
        find . -type f -exec cksum {} + | awk '{ sum = $1 "-" $2; sub(/^[0-9]+ [0-9]+ \.\//, ""); print "file\t" sum "\t" $0 }'
    ) | LC_ALL=C sort -t $'\t' -k 3
}

# changes BEFORE AFTER [BELOW] - prints "added PATH", "changed PATH" and "removed PATH" of two files from layers_now, which
# lie over what is in BELOW: without it, this computer's root; or from files_of, over nothing.
changes() {
    local what path below=${3:-}
    LC_ALL=C awk -F '\t' '
        NR == FNR { before[$3] = $1 "\t" $2; next }
        { after[$3] = 1 }
        !($3 in before) { print ($1 == "gone" ? "removed" : "new") "\t" $3; next }
        before[$3] == $1 "\t" $2 { next }
        $1 == "gone" { print "removed\t" $3; next }
        before[$3] ~ /^gone/ { print "added\t" $3; next }
        { print "changed\t" $3 }
        END { for (path in before) if (!(path in after) && before[path] !~ /^gone/) print "removed\t" path }' "$1" "$2" |
        while IFS=$'\t' read -r what path; do
            if [[ $what == new ]]; then
                what=added
                if [[ -e $below$path || -L $below$path ]]; then what=changed; fi
            fi
            echo "$what $path"
        done | LC_ALL=C sort
}
