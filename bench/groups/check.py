#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
"""Measures zul_catalogue: check of catalogues of 10 and of 10,000 operations, fix of 10,000 with five faults each.

Usage: bench/groups/check.py PROGRAM REPETITIONS [BEFORE]

BEFORE is the program of an earlier state, which checks the same catalogues. Prints lines
"check<TAB>OPERATIONS<TAB>tool<TAB>milliseconds of processor time"; those of "fix" have the check of the same
catalogue beside them.
"""

import resource
import subprocess
import sys
import tempfile
from pathlib import Path


SOUND = "Copy file number {0}@cp -f /var/log/app/{0} /opt/app/{0}"
# Letters beyond ASCII, a blank that is none, a variable, a pipe and a redirection.
FAULTY = "Gr\u00f6\u00dfe {0}@cp /var/log/{0}\u00a0/opt/$A/{0} | tee >/tmp/{0}"


def make_medium(directory: Path, operations: int, line: str) -> None:
    numbers = range(1, operations + 1)
    names = ",".join(f"op{number}" for number in numbers)
    commands = "".join(f'op{number}="{line.format(number)}"\n' for number in numbers)
    (directory / "zul_install").mkdir(parents=True)
    catalogue = f'[system]\nCMD_List="{names}"\n\n[CMD]\n{commands}'
    (directory / "zul_install/system.ini").write_text(catalogue, encoding="utf-8")


def processor_seconds() -> float:
    """Of the children that have ended: what else the computer does is left out."""
    used = resource.getrusage(resource.RUSAGE_CHILDREN)
    return used.ru_utime + used.ru_stime


def milliseconds(program: str, command: str, medium: Path) -> float:
    before = processor_seconds()
    # It finds something, so its exit code need not be 0.
    done = subprocess.run([program, command, medium], capture_output=True)
    if done.returncode < 0 or not done.stdout:
        raise SystemExit(f"check: {program} {command} says nothing of {medium}")
    return 1000 * (processor_seconds() - before)


def main() -> None:
    program, repetitions = sys.argv[1], int(sys.argv[2])
    programs = {"tool": program, **({"before": sys.argv[3]} if sys.argv[3:] else {})}
    with tempfile.TemporaryDirectory() as scratch:
        for operations in (10, 10000):
            medium = Path(scratch) / str(operations)
            make_medium(medium, operations, SOUND)
            for _ in range(repetitions):
                for subject, one in programs.items():
                    print("check", operations, subject, milliseconds(one, "check", medium), sep="\t")
        medium = Path(scratch) / "faulty"
        make_medium(medium, 10000, FAULTY)
        for _ in range(repetitions):
            print("fix", 10000, "tool", milliseconds(program, "fix", medium), sep="\t")
            print("fix", 10000, "check", milliseconds(program, "check", medium), sep="\t")


main()
