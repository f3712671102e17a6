#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
"""Measures the start of the tool and of its baselines, from launch to event loop.

Usage: simulator/sandbox bench/groups/start.py instructions|clock BUILD REPETITIONS [BEFORE]

Each in three surroundings: without a screen and in the environment that ships, which can be counted again to the
last thousand; on an X server with the icon themes of this computer, because Qt then looks for them as on a
controller's frame buffer, in the environment that ships; and there in the system's own. BEFORE is the checkout of an
earlier state with its release build. Prints lines "group<TAB>row<TAB>subject<TAB>value".
"""

import contextlib
import os
import re
import subprocess
import sys
import tempfile
import time
from collections.abc import Iterator
from pathlib import Path

Environment = dict[str, str]

ROOT = Path(__file__).resolve().parents[2]
PLAIN = {"PATH": os.environ["PATH"], "HOME": "/nonexistent", "LC_ALL": "C.UTF-8"}


def shipped_environment(root: Path, build: Path) -> Environment:
    """What the installed tool gets, but for its screen, with the fonts that the build has made."""
    share, built = "/usr/share/zul-upgrade", str(build / "share/zul-upgrade")
    lines = (root / "packaging/zul_upgrade.default").read_text().replace(share, built).splitlines()
    environment = dict(line.split("=", 1) for line in lines if re.match(r"(?!QT_QPA_)[A-Z]\w*=", line))
    if not Path(environment["FONTCONFIG_FILE"]).exists():  # earlier states had no fonts of their own in the build
        environment["FONTCONFIG_FILE"] = str(root / "packaging/fonts/fonts.conf")
    return environment


@contextlib.contextmanager
def x_server() -> Iterator[str]:
    reading, writing = os.pipe()
    server = subprocess.Popen(
        ["Xvfb", "-displayfd", str(writing), "-noreset", "-screen", "0", "800x480x24", "-nolisten", "tcp"],
        pass_fds=[writing],
        stderr=subprocess.DEVNULL,
    )
    os.close(writing)
    try:
        with os.fdopen(reading) as display:
            yield ":" + display.readline().strip()
    finally:
        server.terminate()
        server.wait()


def instructions(command: list[str], environment: Environment, preload: str, scratch: Path) -> dict[str, float]:
    """Million instructions of the process itself; what it forks is counted apart and left out."""
    for old in scratch.glob("callgrind.*"):
        old.unlink()
    counting = ["valgrind", "--tool=callgrind", f"--callgrind-out-file={scratch}/callgrind.%p"]
    process = subprocess.Popen(
        counting + command,
        env={**environment, "LD_PRELOAD": preload},
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )
    if process.wait() != 0:
        raise SystemExit(f"start: {command} does not get to its event loop under valgrind")
    counted = (scratch / f"callgrind.{process.pid}").read_text()
    total = re.search(r"^(?:summary|totals): (\d+)", counted, re.M)
    assert total, "valgrind has counted nothing"
    return {"instructions": int(total.group(1)) / 1e6}


def clock_and_memory(command: list[str], environment: Environment, preload: str, scratch: Path) -> dict[str, float]:
    """Milliseconds, those of processor time, and MB of resident memory and of its peak, when the event loop begins."""
    figures = scratch / "figures"
    figures.unlink(missing_ok=True)
    begin = time.monotonic_ns()
    subprocess.run(
        command,
        env={**environment, "LD_PRELOAD": preload, "ZUL_AT_EVENT_LOOP": str(figures)},
        check=True,
        stdout=subprocess.DEVNULL,
        stderr=subprocess.DEVNULL,
    )
    end, used, resident, peak = map(int, figures.read_text().split())
    return {
        "wall": (end - begin) / 1e6,
        "processor": used / 1e6,
        "resident": resident * 1024 / 1e6,
        "peak": peak * 1024 / 1e6,
    }


def main() -> None:
    kind, build, repetitions = sys.argv[1], Path(sys.argv[2]), int(sys.argv[3])
    preload = str(build / "bench/libat_event_loop.so")
    shipped = shipped_environment(ROOT, build)
    subjects: list[tuple[str, list[str], Environment]] = [
        ("tool", [f"{build}/zul_upgrade"], shipped),
        ("form only", [f"{build}/bench/form_only"], shipped),
        ("form and bars", [f"{build}/bench/form_only", "bars"], shipped),
        ("do nothing", [f"{build}/bench/do_nothing"], shipped),
    ]
    if len(sys.argv) > 4:
        before = Path(sys.argv[4])
        earlier = before / "build/release"
        subjects.append(("before", [f"{earlier}/zul_upgrade"], shipped_environment(before, earlier)))
    measure = instructions if kind == "instructions" else clock_and_memory
    with tempfile.TemporaryDirectory() as directory, x_server() as display:
        scratch = Path(directory)
        on_screen = {**PLAIN, "XDG_RUNTIME_DIR": directory, "QT_QPA_PLATFORM": "xcb", "DISPLAY": display}
        off_screen = {**PLAIN, "XDG_RUNTIME_DIR": directory, "QT_QPA_PLATFORM": "offscreen"}
        # In turns, so that what else the computer does falls on all of them.
        for _ in range(repetitions):
            for subject, command, environment in subjects:
                for row, surroundings in {
                    "shipped": {**off_screen, **environment},
                    "shipped, icons": {**on_screen, **environment},
                    "system": on_screen,
                }.items():
                    for what, value in measure(command, surroundings, preload, scratch).items():
                        print("start", f"{what}, {row}", subject, value, sep="\t")


main()
