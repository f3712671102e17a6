#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
"""Measures zul_catalogue results on a fleet of 10,000 controllers, beside a program that only reads the same lines.

Usage: bench/groups/results.py PROGRAM REPETITIONS

Prints lines "results<TAB>CONTROLLERS<TAB>tool or reader<TAB>milliseconds of processor time".
"""

import resource
import subprocess
import sys
import tempfile
from pathlib import Path

CONTROLLERS = 10000
CONTROLLERS_OF_A_CARD = 50
STEPS = 5
LINE = (
    '{"zul_step":1,"history":"0a1b2c3d","number":%d,"batch":"7f3c1d20-12-1795303200","time":"2026-11-22T19:30:00Z",'
    '"seconds":3,"controller":"SN-%05d","medium":"card","name":"step-%d","outcome":"done","exit":0,'
    '"output":"installed"}'
)
READER = """
import json, pathlib, sys
for file in pathlib.Path(sys.argv[1]).rglob("*.jsonl"):
    for line in file.open("rb"):
        if line.strip():
            json.loads(line)
"""


def make_reports(directory: Path) -> None:
    for first in range(0, CONTROLLERS, CONTROLLERS_OF_A_CARD):
        folder = directory / str(first) / "zul_results"
        folder.mkdir(parents=True)
        with open(folder / "steps-1.jsonl", "w") as file:
            for controller in range(first, first + CONTROLLERS_OF_A_CARD):
                for step in range(STEPS):
                    file.write((LINE % (step + 1, controller, step)).ljust(511) + "\n")


def milliseconds(*command: str) -> float:
    """Of processor time: what else the computer does is left out."""
    before = resource.getrusage(resource.RUSAGE_CHILDREN)
    subprocess.run(command, stdout=subprocess.DEVNULL, check=True)
    after = resource.getrusage(resource.RUSAGE_CHILDREN)
    return 1000 * (after.ru_utime + after.ru_stime - before.ru_utime - before.ru_stime)


def main() -> None:
    program, repetitions = sys.argv[1], int(sys.argv[2])
    with tempfile.TemporaryDirectory() as scratch:
        make_reports(Path(scratch))
        for _ in range(repetitions):
            print("results", CONTROLLERS, "tool", milliseconds(program, "results", scratch), sep="\t")
            print("results", CONTROLLERS, "reader", milliseconds(sys.executable, "-c", READER, scratch), sep="\t")


main()
