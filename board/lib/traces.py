# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What is kept of a scenario that has failed, for who has to find out."""

import os
import shutil
import tempfile
from collections.abc import Callable

from controller import Controller
from machine import Machine
from waiting import Timeout

LINES = 500
# Of a board that may be in any state, or not be there any more.
PROBLEMS = (OSError, RuntimeError, ValueError, AttributeError, Timeout)


def keep(controller: Controller, name: str) -> str:
    """The last screen, the journal and everything that came over the serial line. Returns their folder."""
    folder = tempfile.mkdtemp(prefix=f"zul-board-{name}-")
    board = controller.board
    attempt(controller, lambda: board.photograph(os.path.join(folder, "screen.png")))
    journal = os.path.join(folder, "journal.txt")
    if not attempt(controller, lambda: keep_journal(board, journal)):
        controller.say("starting again for the journal on the disk")
        attempt(controller, lambda: keep_journal_of_the_disk(board, journal))
    for file in ("console.log", "qemu.log"):
        attempt(controller, lambda: shutil.copy(os.path.join(controller.folder, file), folder))
    wanted = os.path.join(controller.folder, "wanted.png")
    if os.path.exists(wanted):
        shutil.move(wanted, folder)
    return folder


def attempt(controller: Controller, keep_something: Callable[[], object]) -> bool:
    try:
        keep_something()
        return True
    except PROBLEMS as problem:
        controller.say("not everything could be kept:", problem)
        return False


def keep_journal(board: Machine, file: str) -> None:
    """Of this start and of the one before, as the failure may have been a reboot."""
    if board.is_restarting():
        board.wait_for_system()
    with open(file, "w", encoding="utf-8") as target:
        for start in (-1, 0):
            code, lines = board.console.run(f"journalctl -b {start} -n {LINES} --no-pager -o short-precise")
            if code == 0:
                target.write(lines)
            elif start == 0:
                raise RuntimeError(f"no journal: {lines}")


def keep_journal_of_the_disk(board: Machine, file: str) -> None:
    """Without what the system had not written yet."""
    board.cut_power()
    board.boot()
    keep_journal(board, file)
