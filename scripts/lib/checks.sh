# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034 # failed_checks is for the scripts that source this
# How a script of tests says what holds. Sourced, never run.

failed_checks=0

# check TEXT COMMAND... - says whether COMMAND succeeds, and counts it when it does not.
check() {
    local text=$1
    shift
    if "$@"; then
        echo "  ok      $text"
    else
        echo "  FAILED  $text"
        failed_checks=$((failed_checks + 1))
    fi
}

# fails COMMAND... - true when COMMAND fails.
fails() {
    if "$@"; then return 1; fi
}

# within SECONDS COMMAND... - runs COMMAND again and again until it succeeds; fails when the time is up: that of a computer
# with nothing else to do, and one that has is given five times as long, or what $patience says.
within() {
    local end=$((${EPOCHREALTIME/./} + ${patience:-5} * $1 * 1000000))
    shift
    until "$@"; do
        if ((${EPOCHREALTIME/./} > end)); then return 1; fi
        sleep 0.1
    done
}
