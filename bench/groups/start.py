#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
"""Measures the start of the tool and of its baselines, from launch to event loop.

Usage: simulator/sandbox bench/groups/start.py instructions|clock BUILD REPETITIONS [BEFORE]

Each in three surroundings: without a screen and as the service starts it, which can be counted again to the last
thousand; on an X server with the icon themes of this computer, because Qt then looks for them as on a controller's
frame buffer, as the service starts it; and there in the system's own. Without a screen the tool is started in
Chinese, too. BEFORE is the checkout of an earlier state with its release build. Prints lines
"group<TAB>row<TAB>subject<TAB>value".
"""

import contextlib
import os
import re
import shutil
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


def shipped_arguments(build: Path) -> list[str]:
    """What the service gives to the tool for English, and whatever is compared with it has as well."""
    sheet = build / "share/zul-upgrade/english.qss"
    return ["-stylesheet", str(sheet)] if sheet.exists() else []  # earlier states had none


def in_chinese(build: Path, directory: str) -> list[str]:
    """The tool beside a translation, as on a controller on which one is chosen."""
    shutil.copy(build / "zul_upgrade", directory)
    os.symlink(build / "share/zul-upgrade/translations/zh_CN.qm", f"{directory}/en.qm")
    return [f"{directory}/zul_upgrade", "-stylesheet", str(build / "share/zul-upgrade/translated.qss")]


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
    shipped, arguments = shipped_environment(ROOT, build), shipped_arguments(build)
    subjects: list[tuple[str, list[str], list[str], Environment]] = [
        ("tool", [f"{build}/zul_upgrade"], arguments, shipped),
        ("form only", [f"{build}/bench/form_only"], arguments, shipped),
        ("form and bars", [f"{build}/bench/form_only", "bars"], arguments, shipped),
        ("do nothing", [f"{build}/bench/do_nothing"], [], shipped),
    ]
    if len(sys.argv) > 4:
        before = Path(sys.argv[4])
        earlier = before / "build/release"
        its_arguments = shipped_arguments(earlier)
        subjects.append(("before", [f"{earlier}/zul_upgrade"], its_arguments, shipped_environment(before, earlier)))
    measure = instructions if kind == "instructions" else clock_and_memory
    with tempfile.TemporaryDirectory() as directory, x_server() as display:
        scratch = Path(directory)
        on_screen = {**PLAIN, "XDG_RUNTIME_DIR": directory, "QT_QPA_PLATFORM": "xcb", "DISPLAY": display}
        off_screen = {**PLAIN, "XDG_RUNTIME_DIR": directory, "QT_QPA_PLATFORM": "offscreen"}
        # In turns, so that what else the computer does falls on all of them.
        chinese = in_chinese(build, directory)

        def figures(row: str, subject: str, command: list[str], surroundings: Environment) -> None:
            for what, value in measure(command, surroundings, preload, scratch).items():
                print("start", f"{what}, {row}", subject, value, sep="\t")
                if (row, subject) == ("shipped", "tool"):
                    print("start", f"{what}, Chinese", "English", value, sep="\t")

        for _ in range(repetitions):
            for subject, command, its_own, environment in subjects:
                figures("shipped", subject, command + its_own, {**off_screen, **environment})
                figures("shipped, icons", subject, command + its_own, {**on_screen, **environment})
                figures("system", subject, command, on_screen)
            figures("Chinese", "tool", chinese, {**off_screen, **shipped})


main()
