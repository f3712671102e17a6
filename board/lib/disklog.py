# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The log that the machine keeps of what is written to a disk, and the disk as it stood at any place of it.

A position is a number of entries: at position p, the first p entries have happened.
"""

import mmap
import os
import re
import struct
from collections.abc import Iterator, Sequence
from dataclasses import dataclass

SECTOR = 512
MAGIC = 0x6A736677736872
HEADER = struct.Struct("<QQQL")  # magic, version, entries when it was last updated, bytes a sector
HEAD = struct.Struct("<QQQQ")  # first sector, sectors, flags, bytes of a mark; in a sector of its own
FLUSH, FORCED, DISCARD = 1, 2, 4

MARK = re.compile(rb"zul-mark (\d+) *\n")


@dataclass(frozen=True)
class Entry:
    """One write or flush; a forced write is both, and on the disk for good when it is complete."""

    sector: int
    sectors: int
    flags: int
    start: int  # of the data, in the log's file

    @property
    def is_flush(self) -> bool:
        return bool(self.flags & FLUSH)

    @property
    def is_forced(self) -> bool:
        return bool(self.flags & FORCED)

    @property
    def is_write(self) -> bool:
        return self.sectors > 0


class Log:
    """The entries of a log's file, and their data. What has no cache is never asked to flush it: each write is then as
    good as flushed when it is complete."""

    def __init__(self, file: str, has_cache: bool = True) -> None:
        self._has_cache = has_cache
        with open(file, "rb") as source:
            self._bytes = mmap.mmap(source.fileno(), 0, access=mmap.ACCESS_READ)
        header = HEADER.unpack_from(self._bytes)
        # The machine writes it with the first flush.
        if any(header) and (header[0], header[1], header[3]) != (MAGIC, 1, SECTOR):
            raise ValueError(f"not a log of writes: {file}")
        self.entries = list(self._read())

    def _read(self) -> Iterator[Entry]:
        """Up to where the file ends: the header's count is behind. An entry that is not whole never happened."""
        place = SECTOR
        while place + SECTOR <= len(self._bytes):
            sector, sectors, flags, _ = HEAD.unpack_from(self._bytes, place)
            place += SECTOR
            end = place + (0 if flags & DISCARD else sectors * SECTOR)
            if end > len(self._bytes):
                return
            yield Entry(sector, sectors, flags if self._has_cache else flags | FLUSH, place)
            place = end

    def data(self, entry: Entry) -> bytes:
        """What was written. What was given up reads as zeros."""
        if entry.flags & DISCARD:
            return bytes(entry.sectors * SECTOR)
        return self._bytes[entry.start : entry.start + entry.sectors * SECTOR]

    def last_flush(self, position: int) -> int:
        """The position up to which everything has reached the disk for good, whatever happens at `position`."""
        while position > 0 and not self.entries[position - 1].is_flush:
            position -= 1
        return position

    def marks(self, sector: int) -> list[tuple[int, int]]:
        """Number and position of every mark. It stands before the mark: what is promised was complete then."""
        found = []
        for position, entry in enumerate(self.entries):
            is_there = entry.sector == sector and entry.sectors == 1
            if is_there and (mark := MARK.fullmatch(self.data(entry))):
                found.append((int(mark.group(1)), position))
        return found


class Disk:
    """A working copy that stands at any position within a range of a log. What lies outside of the copy is left out."""

    def __init__(self, file: str, log: Log, first_sector: int = 0) -> None:
        self.file = file
        self.log = log
        self.position = 0
        self._descriptor = os.open(file, os.O_RDWR)
        self._start = first_sector * SECTOR
        self._size = os.fstat(self._descriptor).st_size
        self._undo: list[list[tuple[int, bytes]]] = []  # for each entry, what stood there before it
        self._extra: list[tuple[int, bytes]] = []

    def close(self) -> None:
        os.close(self._descriptor)

    def begin(self, position: int) -> None:
        """Goes there, for good: the way back ends here."""
        for entry in self.log.entries[self.position : position]:
            self._write(entry.sector * SECTOR, self.log.data(entry))
        self.position = position
        self._undo = []

    def seek(self, position: int) -> None:
        while self.position < position:
            entry = self.log.entries[self.position]
            self._undo.append(self._write(entry.sector * SECTOR, self.log.data(entry)))
            self.position += 1
        while self.position > position:
            self._put_back(self._undo.pop())
            self.position -= 1

    def add(self, entry: Entry, sectors: Sequence[int] | None = None) -> None:
        """On top of the position, until take_back(): an entry, or only these of its sectors."""
        data = self.log.data(entry)
        if sectors is None:
            self._extra += self._write(entry.sector * SECTOR, data)
            return
        for index in sectors:
            part = data[index * SECTOR : (index + 1) * SECTOR]
            self._extra += self._write((entry.sector + index) * SECTOR, part)

    def take_back(self) -> None:
        self._put_back(self._extra)
        self._extra = []

    def _write(self, place: int, data: bytes) -> list[tuple[int, bytes]]:
        """Returns what stood there before."""
        first = max(place - self._start, 0)
        data = data[first + self._start - place :][: max(self._size - first, 0)]
        if not data:
            return []
        before = os.pread(self._descriptor, len(data), first)
        os.pwrite(self._descriptor, data, first)
        return [(first, before)]

    def _put_back(self, before: list[tuple[int, bytes]]) -> None:
        for place, data in reversed(before):
            os.pwrite(self._descriptor, data, place)
