# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034,SC2154 # the names are those of simulator/lib
# Measures what the waiting tool costs, on the simulated controller, whose mounts are all made up: a disk of this
# computer's could be a medium for it. A scenario for simulator/lib/scenario.
#
# Environment: BENCH_SAMPLES, the file to append to; BENCH_IDLE_SECONDS; BENCH_IDLE_PAIRS, how many of each run

controller_programs=()
start_controller
on_controller env QT_QPA_PLATFORM=offscreen python3 - "$programs/zul_upgrade" "$BENCH_IDLE_SECONDS" "$BENCH_IDLE_PAIRS" \
    <"$(dirname "$file")/idle.py" >>"$BENCH_SAMPLES"
