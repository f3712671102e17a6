#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
"""Measures zul_catalogue check on catalogues of 10 and of 10,000 operations.

Usage: bench/groups/check.py PROGRAM REPETITIONS

Prints lines "check<TAB>OPERATIONS<TAB>tool<TAB>milliseconds of processor time".
"""

import resource
import subprocess
import sys
import tempfile
from pathlib import Path


def make_medium(directory: Path, operations: int) -> None:
    numbers = range(1, operations + 1)
    names = ",".join(f"op{number}" for number in numbers)
    commands = "".join(
        f'op{number}="Copy file number {number}@cp -f /var/log/app/{number} /opt/app/{number}"\n' for number in numbers
    )
    (directory / "zul_install").mkdir(parents=True)
    (directory / "zul_install/system.ini").write_text(f'[system]\nCMD_List="{names}"\n\n[CMD]\n{commands}')


def processor_seconds() -> float:
    """Of the children that have ended: what else the computer does is left out."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def main() -> None:
    program, repetitions = sys.argv[1], int(sys.argv[2])
    with tempfile.TemporaryDirectory() as scratch:
        for operations in (10, 10000):
            medium = Path(scratch) / str(operations)
            make_medium(medium, operations)
            for _ in range(repetitions):
                before = processor_seconds()
                # It finds something, that the files are missing, so its exit code is not 0.
                checked = subprocess.run([program, "check", medium], capture_output=True)
                milliseconds = 1000 * (processor_seconds() - before)
                if checked.returncode < 0 or not checked.stdout:
                    raise SystemExit(f"check: {program} says nothing of {operations} operations")
                print("check", operations, "tool", milliseconds, sep="\t")


main()
