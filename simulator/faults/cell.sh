# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # shared with lib/ and the parts beside this one
# One cell of the matrix: the fault $ZUL_FAULT at the moment $ZUL_MOMENT, and what the table states of it. Run by
# test-faults, as a scenario is. $ZUL_STATED is stated in place of what the table has, and $ZUL_PATIENCE is how many times
# its own time a condition is given, for test-faults-can-fail.

for part in table moments faults outcomes; do
    # shellcheck disable=SC1090 # the parts beside this one
    source "$simulator/faults/$part.sh"
done

moment=$ZUL_MOMENT
fault=$ZUL_FAULT
name=$moment.$fault
read -ra words <<<"$(tr + ' ' <<<"${ZUL_STATED:-$(cell_of "$fault" "$moment")}")"

"moment_$moment"
patience=${ZUL_PATIENCE:-5}
mark
event simulator "the fault: $fault at $moment, stated: ${words[*]}"
"fault_$fault"
"word_${words[0]}"
event simulator "the fault is over"
fault_is_over
if has_function "over_${words[0]}"; then "over_${words[0]}"; fi
recovered
check "the tool ended when it was stated, and only then" ended_as_stated
