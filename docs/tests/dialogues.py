# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The dialogues of a manual, blocks of "console": what is typed behind "$ ", and what that prints."""

import re
from collections.abc import Callable

from blocks import Block

PROMPT = "$ "
# What no two runs have in common: how long a command took, when it began, and whose folder it was.
VARYING = re.compile(r"(?<= after )\d+\.\d(?= s\b)|(?<= begun at )\d+(?= s of )|^ *\d+(?= s  )|(?<=/home/)\w+")


def commands_of(block: Block) -> list[str]:
    return [line.removeprefix(PROMPT) for line in block.text.splitlines() if line.startswith(PROMPT)]


def replayed(block: Block, answer: Callable[[str], str]) -> str:
    """The block as it has to read: every command with what `answer` says that it prints."""
    return "".join(f"{PROMPT}{command}\n{answer(command)}" for command in commands_of(block))


def difference(block: Block, printed: str) -> tuple[int, str, str] | None:
    """The first line of the document that is not so, what it shows, and what was printed in its place."""
    shown = block.text.splitlines() + ["the end"]
    for number, (one, other) in enumerate(zip(shown, printed.splitlines() + ["the end"]), block.line):
        if VARYING.sub("?", one) != VARYING.sub("?", other):
            return number, one, other
    return None
