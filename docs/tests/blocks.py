# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The blocks of a document: what stands between two lines of "```", or ".nf" and ".fi" of a manual page."""

import re
from dataclasses import dataclass
from pathlib import Path

FENCE = re.compile(r"^```(?P<language>\w*)(?: (?P<file>\S+))?$")
HEADING = re.compile(r"^#+ (?P<text>.*)$")
PAGE_HEADING = re.compile(r"^\.SH (?P<text>.*)$")


@dataclass(frozen=True)
class Block:
    """One block. A heading and a number find it again when lines before it come and go."""

    document: str  # path in the repository
    heading: str  # the nearest one before it
    number: int  # which block below this heading, from 1
    language: str  # as the document names it, may be empty
    line: int  # of its first line in the document, from 1
    text: str
    file: str = ""  # in which the reader saves it

    @property
    def key(self) -> tuple[str, str, int]:
        return self.document, self.heading, self.number

    @property
    def opening(self) -> tuple[str, str]:
        """Finds it again where others come and go below the same heading."""
        return self.document, self.text.partition("\n")[0]

    @property
    def lines(self) -> list[tuple[int, str]]:
        """Those that say something, each with its number in the document."""
        numbered = enumerate(self.text.splitlines(), self.line)
        return [(number, line) for number, line in numbered if line and not line.startswith("#")]

    def __str__(self) -> str:
        return f"{self.document}:{self.line} ({self.heading})"


def blocks_of(repository: Path, document: str) -> list[Block]:
    return (blocks_of_text if document.endswith(".md") else blocks_of_page)(repository, document)


def blocks_of_page(repository: Path, document: str) -> list[Block]:
    """What is printed as it stands."""
    blocks: list[Block] = []
    heading = ""
    begun = 0
    lines = (repository / document).read_text(encoding="utf-8").splitlines()
    for number, line in enumerate(lines, 1):
        if title := PAGE_HEADING.match(line):
            heading = title["text"]
        elif line == ".nf":
            begun = number
        elif line == ".fi":
            before = sum(block.heading == heading for block in blocks)
            text = "".join(re.sub(r"\\(.)", r"\1", shown) + "\n" for shown in lines[begun : number - 1])
            blocks.append(Block(document, heading, before + 1, "man", begun + 1, text))
    return blocks


def blocks_of_text(repository: Path, document: str) -> list[Block]:
    blocks: list[Block] = []
    heading = ""
    inside: tuple[str, int, str] | None = None
    text: list[str] = []
    for number, line in enumerate((repository / document).read_text(encoding="utf-8").splitlines(), 1):
        fence = FENCE.match(line)
        if inside and line == "```":
            before = sum(block.heading == heading for block in blocks)
            language, first, file = inside
            blocks.append(Block(document, heading, before + 1, language, first, "".join(text), file))
            inside = None
        elif inside:
            text.append(line + "\n")
        elif fence:
            inside = fence["language"], number + 1, fence["file"] or ""
            text = []
        elif title := HEADING.match(line):
            heading = title["text"]
    if inside:
        raise ValueError(f"{document}:{inside[1] - 1}: this block never ends")
    return blocks
