# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Whether two pictures of the screen are the same, and if not, in what they differ."""

from collections.abc import Sequence
from typing import NamedTuple

from screen import CHANNELS, Screen

Area = tuple[int, int, int, int]  # left, top, width, height


class Difference(NamedTuple):
    """How many pixels differ, by how much at most in one of their colours (0 to 255), and where they all are."""

    pixels: int
    largest: int
    area: Area

    def __str__(self) -> str:
        left, top, width, height = self.area
        return f"{self.pixels} pixels differ by up to {self.largest}, within {width}x{height}+{left}+{top}"


SAME = Difference(0, 0, (0, 0, 0, 0))

# How much of a pixel the curve of a letter covers is rounded otherwise on a processor of 32 bits than on one of 64.
# docs/testing.md has what was seen.
EDGE_PIXELS = 30
EDGE_LEVELS = 1


def is_same(found: Difference) -> bool:
    """To every eye."""
    return found.pixels <= EDGE_PIXELS and found.largest <= EDGE_LEVELS


def difference(one: Screen, other: Screen, left_out: Sequence[Area] = ()) -> Difference:
    """Of two pictures of one size, outside of some areas."""
    if (one.width, one.height) != (other.width, other.height):
        raise ValueError(f"{one.width}x{one.height} is not {other.width}x{other.height}")
    found: list[tuple[int, int, int]] = []  # x, y, by how much
    for y in range(one.height):
        first, second = one.line(y), other.line(y)
        if first != second:
            ignored = [(x, x + width) for x, top, width, height in left_out if top <= y < top + height]
            found += [(x, y, much) for x, much in differing(first, second, ignored)]
    if not found:
        return SAME
    columns, lines = [x for x, _, _ in found], [y for _, y, _ in found]
    area = min(columns), min(lines), max(columns) - min(columns) + 1, max(lines) - min(lines) + 1
    return Difference(len(found), max(much for _, _, much in found), area)


def differing(first: bytes, second: bytes, ignored: Sequence[tuple[int, int]]) -> list[tuple[int, int]]:
    """The pixels of two lines that differ: where, and by how much."""
    found: list[tuple[int, int]] = []
    for x in range(len(first) // CHANNELS):
        place = slice(CHANNELS * x, CHANNELS * (x + 1))
        if first[place] != second[place] and not any(start <= x < end for start, end in ignored):
            found.append((x, max(abs(a - b) for a, b in zip(first[place], second[place]))))
    return found
