#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
"""Measures the processor time of the waiting tool and of a shell loop that looks as often, side by side.

Usage: idle.py TOOL SECONDS PAIRS

Both look every three seconds, so half an interval is added: no look falls on the end. Prints lines
"idle<TAB>processor<TAB>subject<TAB>milliseconds".
"""

import os
import signal
import subprocess
import sys
import time

LOOP = ["sh", "-c", "while sleep 3; do df >/dev/null; done"]
HALF_AN_INTERVAL = 1.5
BEFORE_THE_FIRST_LOOK = 1.0


def own_processor_seconds(process: subprocess.Popen[bytes]) -> float:
    """Without its children, to the nanosecond: of the clock that the kernel keeps for each process."""
    scheduling_clock = 2
    return time.clock_gettime(~process.pid << 3 | scheduling_clock)


def main() -> None:
    tool, seconds, pairs = [sys.argv[1]], float(sys.argv[2]), int(sys.argv[3])
    started = []
    for _ in range(pairs):
        for subject, command in (("tool", tool), ("loop", LOOP)):
            process = subprocess.Popen(
                command, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True
            )
            started.append((subject, process))
    time.sleep(BEFORE_THE_FIRST_LOOK)
    at_start = [own_processor_seconds(process) for _, process in started]
    time.sleep(seconds + HALF_AN_INTERVAL - BEFORE_THE_FIRST_LOOK)
    for (subject, process), before in zip(started, at_start):
        os.killpg(process.pid, signal.SIGKILL)
        # What the process has used, and those of its children that it has waited for.
        _, _, used = os.wait4(process.pid, 0)
        print("idle", "processor", subject, 1000 * (used.ru_utime + used.ru_stime - before), sep="\t")


main()
