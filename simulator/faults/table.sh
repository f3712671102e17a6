# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Reads the table of faults. Sourced, never run.

fault_table=$(dirname "${BASH_SOURCE[0]}")/table

# names_of KIND, text_of KIND NAME - what the table has of moments, words, additions ("and") and faults.
names_of() {
    sed -nE "s/^$1 ([a-z-]+)[: ].*/\1/p" "$fault_table"
}

text_of() {
    sed -nE "s/^$1 $2: //p" "$fault_table"
}

# cells_of FAULT - prints its cells, one a line, in the order of the moments; with the mark of those of every day.
cells_of() {
    sed -nE "s/^cells $1 +//p" "$fault_table" | tr -s ' ' '\n'
}

# cell_of FAULT MOMENT - what is stated of it.
cell_of() {
    paste -d' ' <(names_of moment) <(cells_of "$1") | sed -nE "s/^$2 \*?//p"
}

# list_cells [everyday] - prints MOMENT.FAULT of all cells, or of those of every day.
list_cells() {
    local fault moment cell
    for fault in $(names_of fault); do
        while read -r moment cell; do
            if [[ -z ${1:-} || $cell == '*'* ]]; then echo "$moment.$fault"; fi
        done < <(paste -d' ' <(names_of moment) <(cells_of "$fault"))
    done
}
