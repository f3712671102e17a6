# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The computer that the board runs on: what has to be installed, and what is left behind on it."""

import os
import shutil
import signal
import subprocess
import sys
import tempfile

SCRIPTS = os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "scripts")
CANNOT_RUN_HERE = 77


def install_packages(purpose: str) -> bool:
    """Whether what scripts/install-packages knows for a purpose is there, or could be installed."""
    done = subprocess.run([os.path.join(SCRIPTS, "install-packages"), purpose], check=False)
    return done.returncode == 0


def install_programs(*more: str) -> None:
    """Installs what is missing of the programs that drive the board, and for more purposes; ends with 77 where that
    does not work."""
    if not all(install_packages(purpose) for purpose in ("board", *more)):
        raise SystemExit(CANNOT_RUN_HERE)
    os.environ["PATH"] += ":/usr/sbin:/sbin"


def can_show_a_window() -> bool:
    """Whether the machine's screen can be a window; what it takes is installed if need be."""

    def has_windows() -> bool:
        done = subprocess.run(["qemu-system-arm", "-display", "help"], capture_output=True, text=True, check=True)
        return "gtk" in done.stdout.split()

    return has_windows() or (install_packages("board-window") and has_windows())


def temporary_folder() -> str:
    """For sockets too, whose paths have to be short."""
    return tempfile.mkdtemp(prefix="zul-board-", dir="/tmp" if os.path.isdir("/tmp") else None)


def remove_folder(folder: str) -> None:
    shutil.rmtree(folder, ignore_errors=True)


def end_in_order() -> None:
    """Lets a signal that ends the script run what cleans up behind it."""
    for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(number, lambda received, _: sys.exit(128 + received))
