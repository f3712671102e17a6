# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# How a test of the command line says what it expects. Sourced, never run.

failures=0

fail() {
    echo "FAIL: $*"
    failures=$((failures + 1))
}

# expect NAME EXIT_CODE PATTERN COMMAND...: the command ends with the code, and what it prints has the pattern.
expect() {
    local name=$1 wanted=$2 pattern=$3 code=0
    shift 3
    "$@" >output 2>&1 || code=$?
    if ((code != wanted)); then
        fail "$name: exit code $code instead of $wanted"
        cat output
    elif ! grep -Eq -- "$pattern" output; then
        fail "$name: no \"$pattern\" in:"
        cat output
    else
        echo "ok: $name"
    fi
}

one_line() { # NAME
    if (($(wc -l <output) == 1)); then echo "ok: $1, in one line"; else fail "$1: $(wc -l <output) lines"; fi
}

# catalogue MEDIUM TEXT, with its escapes
catalogue() {
    mkdir -p "$1/zul_install"
    printf '%b' "$2" >"$1/zul_install/system.ini"
}

# Ends the test, with 1 when something has failed.
conclude() {
    if ((failures == 0)); then exit 0; fi
    echo "$failures failed"
    exit 1
}
