# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What the screen shows, pixel by pixel."""

import struct
import zlib

import facts

WIDTH, HEIGHT = facts.number("screen_width"), facts.number("screen_height")

Colour = tuple[int, int, int]


PNG_BEGINS = b"\x89PNG\r\n\x1a\n"
CHANNELS = 3  # bytes a pixel, everywhere here


class Screen:
    """One picture of the screen, from a file: PPM, as the machine writes it, or PNG."""

    def __init__(self, file: str) -> None:
        with open(file, "rb") as picture:
            data = picture.read()
        if data.startswith(PNG_BEGINS):
            self.width, self.height, self.pixels = read_png(data)
        else:
            kind, size, depth, self.pixels = data.split(b"\n", 3)
            if (kind, depth) != (b"P6", b"255"):
                raise ValueError(f"neither PNG nor PPM: {file}")
            self.width, self.height = map(int, size.split())

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

    def line(self, y: int) -> bytes:
        return self.pixels[CHANNELS * y * self.width : CHANNELS * (y + 1) * self.width]


# --- PNG ----------------------------------------------------------------------------------------------------


def read_png(data: bytes) -> tuple[int, int, bytes]:
    """Width, height and pixels of a picture without transparency, eight bits a channel, as Qt writes one."""
    chunks = dict.fromkeys((b"IHDR", b"IDAT"), b"")
    place = len(PNG_BEGINS)
    while place < len(data):
        length, kind = struct.unpack_from(">I4s", data, place)
        if kind in chunks:
            chunks[kind] += data[place + 8 : place + 8 + length]
        place += length + 12
    width, height, *how = struct.unpack(">IIBBBBB", chunks[b"IHDR"])
    if how != [8, 2, 0, 0, 0]:
        raise ValueError(f"a PNG of another kind: {how}")
    return width, height, without_filters(zlib.decompress(chunks[b"IDAT"]), CHANNELS * width, height)


def without_filters(data: bytes, length: int, lines: int) -> bytes:
    """Each line is told by what it differs in from the pixel to the left, the line above, or both."""
    pixels = bytearray()
    above = bytes(length)
    for start in range(0, lines * (length + 1), length + 1):
        above = without_filter(data[start], bytearray(data[start + 1 : start + 1 + length]), above)
        pixels += above
    return bytes(pixels)


def without_filter(kind: int, line: bytearray, above: bytes) -> bytes:
    if kind == 2:
        return bytes((one + other) & 0xFF for one, other in zip(line, above))
    for place in range(len(line)) if kind else ():
        left = line[place - CHANNELS] if place >= CHANNELS else 0
        corner = above[place - CHANNELS] if place >= CHANNELS else 0
        line[place] = (line[place] + expected(kind, left, above[place], corner)) & 0xFF
    return bytes(line)


def expected(kind: int, left: int, above: int, corner: int) -> int:
    if kind == 1:
        return left
    if kind == 3:
        return (left + above) // 2
    if kind != 4:
        raise ValueError(f"no such filter of a PNG: {kind}")
    # The neighbour that is nearest to the plane through all three.
    guess = left + above - corner
    return min((left, above, corner), key=lambda neighbour: abs(guess - neighbour))
