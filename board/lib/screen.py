# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What the screen shows, pixel by pixel."""

import facts

WIDTH, HEIGHT = facts.number("screen_width"), facts.number("screen_height")

Colour = tuple[int, int, int]


class Screen:
    """One picture of the screen."""

    def __init__(self, file: str) -> None:
        with open(file, "rb") as picture:
            header = picture.readline() + picture.readline() + picture.readline()
            self.width, self.height = map(int, header.split()[1:3])
            self.pixels = picture.read()

    def at(self, x: int, y: int) -> Colour:
        offset = 3 * (y * self.width + x)
        return self.pixels[offset], self.pixels[offset + 1], self.pixels[offset + 2]

    def is_near(self, x: int, y: int, colour: Colour, tolerance: int = 8) -> bool:
        return all(abs(a - b) <= tolerance for a, b in zip(self.at(x, y), colour))

    def share_of(self, colour: Colour, x: int, y: int, width: int, height: int) -> float:
        """How much of a rectangle has the colour, 0 to 1."""
        hits = sum(
            self.is_near(column, line, colour) for line in range(y, y + height, 2) for column in range(x, x + width, 2)
        )
        return hits / (((height + 1) // 2) * ((width + 1) // 2))
