# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What a disk may hold after a power cut: every state that a log allows, or a seeded choice of them."""

import random
from collections.abc import Iterator
from dataclasses import dataclass

from disklog import Disk, Log

# How many choices of lost writes there are between two flushes, beside "all of them" and "none of them".
CHOICES = 3


@dataclass(frozen=True)
class Cut:
    """The power fails at a position, and of the entries before it the disk has all, or only some."""

    position: int
    kind: str  # "kept", "torn", "lost", "empty"
    seed: int = 0

    def __str__(self) -> str:
        return {
            "kept": f"after entry {self.position}",
            "torn": f"in the middle of entry {self.position + 1} (seed {self.seed})",
            "lost": f"after entry {self.position}, some of what was not flushed lost (seed {self.seed})",
            "empty": f"after entry {self.position}, all that was not flushed lost",
        }[self.kind]


def important(log: Log, first: int, last: int, marks: list[int]) -> list[Cut]:
    """At every report, with and without what was not flushed then; after every flush."""
    cuts = [Cut(mark, kind) for mark in marks for kind in ("empty", "kept")]
    return cuts + [Cut(p, "kept") for p in range(first, last + 1) if p > 0 and log.entries[p - 1].is_flush]


def others(log: Log, first: int, last: int, seed: int) -> list[Cut]:
    """After every write, in the middle of every write of several sectors, and with some choices of the writes since a
    flush lost, the rest in any order."""
    chance = random.Random(seed)
    cuts: list[Cut] = []
    for position in range(first, last):
        entry = log.entries[position]
        if not entry.is_flush:
            cuts.append(Cut(position + 1, "kept"))
        if entry.sectors > 1:
            cuts.append(Cut(position, "torn", chance.getrandbits(32)))
        if entry.is_flush:
            start = max(log.last_flush(position), first)
            for _ in range(min(CHOICES, position - start)):
                cuts.append(Cut(chance.randint(start + 1, position), "lost", chance.getrandbits(32)))
    return cuts


def set_up(disk: Disk, cut: Cut) -> None:
    """Makes the disk what the cut leaves. Disk.take_back() has to come before the next."""
    log = disk.log
    if cut.kind in ("kept", "torn"):
        disk.seek(cut.position)
        if cut.kind == "torn":
            disk.add(log.entries[cut.position], list(torn_sectors(log.entries[cut.position].sectors, cut.seed)))
        return
    flushed = log.last_flush(cut.position)
    disk.seek(flushed)
    unsafe = [log.entries[p] for p in range(flushed, cut.position)]
    for index in surviving([entry.is_forced for entry in unsafe], None if cut.kind == "empty" else cut.seed):
        disk.add(unsafe[index])


def tears(log: Log, cut: Cut, pair: tuple[int, int]) -> bool:
    """Whether of these two sectors of the disk one is new and the other old."""
    if cut.kind != "torn":
        return False
    entry = log.entries[cut.position]
    new = {entry.sector + number for number in torn_sectors(entry.sectors, cut.seed)}
    both_are_written = all(entry.sector <= sector < entry.sector + entry.sectors for sector in pair)
    return both_are_written and (pair[0] in new) != (pair[1] in new)


def torn_sectors(sectors: int, seed: int) -> Iterator[int]:
    """Those that are written of the last write: its beginning, its end, or any of them, but never all or none."""
    chance = random.Random(seed)
    count = chance.randint(1, sectors - 1)
    order = chance.choice(("beginning", "end", "any"))
    if order == "beginning":
        yield from range(count)
    elif order == "end":
        yield from range(sectors - count, sectors)
    else:
        yield from sorted(chance.sample(range(sectors), count))


def surviving(forced: list[bool], seed: int | None) -> list[int]:
    """Which of the writes since the last flush have reached the disk, in which order: some in any, but all that were
    forced. Without a seed only those."""
    if seed is None:
        return [index for index, is_forced in enumerate(forced) if is_forced]
    chance = random.Random(seed)
    share = chance.choice((0.1, 0.5, 0.9))
    kept = [index for index, is_forced in enumerate(forced) if is_forced or chance.random() < share]
    chance.shuffle(kept)
    return kept
