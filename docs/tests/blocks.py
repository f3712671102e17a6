# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The blocks of a document: what stands between two lines of "```"."""

import re
from dataclasses import dataclass
from pathlib import Path

FENCE = re.compile(r"^```(?P<language>\w*)(?: .*)?$")
HEADING = re.compile(r"^#+ (?P<text>.*)$")


@dataclass(frozen=True)
class Block:
    """One block. A heading and a number find it again when lines before it come and go."""

    document: str  # path in the repository
    heading: str  # the nearest one before it
    number: int  # which block below this heading, from 1
    language: str  # as the document names it, may be empty
    line: int  # of its first line in the document, from 1
    text: str

    @property
    def key(self) -> tuple[str, str, int]:
        return self.document, self.heading, self.number

    @property
    def lines(self) -> list[tuple[int, str]]:
        """Those that say something, each with its number in the document."""
        numbered = enumerate(self.text.splitlines(), self.line)
        return [(number, line) for number, line in numbered if line and not line.startswith("#")]

    def __str__(self) -> str:
        return f"{self.document}:{self.line} ({self.heading})"


def blocks_of(repository: Path, document: str) -> list[Block]:
    blocks: list[Block] = []
    heading = ""
    inside: tuple[str, int] | None = None
    text: list[str] = []
    for number, line in enumerate((repository / document).read_text(encoding="utf-8").splitlines(), 1):
        fence = FENCE.match(line)
        if inside and line == "```":
            before = sum(block.heading == heading for block in blocks)
            language, first = inside
            blocks.append(Block(document, heading, before + 1, language, first, "".join(text)))
            inside = None
        elif inside:
            text.append(line + "\n")
        elif fence:
            inside = fence["language"], number + 1
            text = []
        elif title := HEADING.match(line):
            heading = title["text"]
    if inside:
        raise ValueError(f"{document}:{inside[1] - 1}: this block never ends")
    return blocks
