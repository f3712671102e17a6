# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""A recording replayed: every state in which a power cut may leave the disk, repaired, read and held to the reports."""

import multiprocessing
import os
import random
import shutil
import signal
import subprocess
import tempfile
import time

from dataclasses import dataclass, field

import cuts
from cuts import Cut
from disklog import Disk, Log
from filesystems import Ext4, Fat, Found
from promises import Report, broken_on_the_controller, broken_on_the_medium

# As many states are handed to a process at once. Neighbours, so that it is not far from one to the next.
PORTION = 25
ROOM_IN_MEMORY = 4 << 30
# An ext4's first superblock, of two sectors with one checksum. Torn between them, no system mounts it, and none repairs
# it unasked; a disk that writes 4 KiB at once does not tear it. Such states are counted, and nothing is asked of them.
SUPERBLOCK = (2, 3)


@dataclass(frozen=True)
class Recording:
    """What was written to one disk during one batch."""

    name: str
    base: str  # the disk before the log's first entry
    log: str
    kind: str  # "ext4" or "fat"
    first_sector: int  # of the file system, on the disk that the log is of
    directories: list[str]
    first: int  # position where the batch begins
    last: int  # and where nothing of it is written any more
    reports: list[Report]
    has_cache: bool = True

    def open_log(self) -> Log:
        return Log(self.log, self.has_cache)


@dataclass
class Result:
    states: int = 0
    superblocks: int = 0  # that are torn
    bad: list[str] = field(default_factory=list)
    seconds: float = 0


def choose(recording: Recording, seed: int) -> list[Cut]:
    """Every state, the most telling first."""
    log = recording.open_log()
    marks = [report.position for report in recording.reports]
    first = cuts.important(log, recording.first, recording.last, marks)
    rest = cuts.others(log, recording.first, recording.last, seed)
    random.Random(seed).shuffle(rest)
    return first + rest


def replay(recording: Recording, seed: int, seconds: float | None = None, until_bad: bool = False) -> Result:
    """All states, or as many as there is time for. With `until_bad` one that is bad is enough."""
    start = time.monotonic()
    result = Result()
    chosen = choose(recording, seed)
    portions = [sorted(chosen[n : n + PORTION], key=lambda cut: cut.position) for n in range(0, len(chosen), PORTION)]
    with tempfile.TemporaryDirectory(prefix="zul-replay-", dir=place_for_copies()) as folder:
        with multiprocessing.Pool(len(os.sched_getaffinity(0)), begin, (recording, folder)) as pool:
            for states, superblocks, bad in pool.imap_unordered(try_portion, portions):
                result.states += states
                result.superblocks += superblocks
                result.bad += bad
                over = seconds is not None and time.monotonic() - start > seconds
                if over or (until_bad and result.bad):
                    break
            pool.terminate()
    result.seconds = time.monotonic() - start
    return result


def place_for_copies() -> str | None:
    """Memory, where there is enough of it: a check writes, and waits for what it has written."""
    shared = "/dev/shm"
    if os.path.isdir(shared) and shutil.disk_usage(shared).free > ROOM_IN_MEMORY:
        return shared
    return None


# --- In a process of its own ---------------------------------------------------------------------------------

BENCH: list["Bench"] = []


class Bench:
    """A working copy of the disk, and how it is looked at."""

    def __init__(self, recording: Recording, folder: str) -> None:
        self.recording = recording
        own = os.path.join(folder, str(os.getpid()))
        os.mkdir(own)
        image = os.path.join(own, "disk")
        copy(recording, image)
        log = recording.open_log()
        self.disk = Disk(image, log, recording.first_sector)
        self.disk.begin(log.last_flush(recording.first))
        self.system: Ext4 | Fat = Ext4(own, recording.directories) if recording.kind == "ext4" else Fat(own)

    def tears_superblock(self, cut: Cut) -> bool:
        return self.recording.kind == "ext4" and cuts.tears(self.disk.log, cut, SUPERBLOCK)

    def problems(self, cut: Cut) -> list[str]:
        cuts.set_up(self.disk, cut)
        try:
            return self.system.look(self.disk.file, lambda found: self.judge(cut, found))
        finally:
            self.disk.take_back()

    def judge(self, cut: Cut, found: Found) -> list[str]:
        reports = self.recording.reports
        if self.recording.kind == "fat":
            return broken_on_the_medium(reports, cut.position, found)
        return broken_on_the_controller(reports, cut.position, found)


def copy(recording: Recording, image: str) -> None:
    """The file system alone, and its empty parts as such."""
    skip = recording.first_sector * 512
    if skip == 0:
        subprocess.run(["cp", "--sparse=always", recording.base, image], check=True)
        return
    with open(recording.base, "rb") as source, open(image, "wb") as target:
        source.seek(skip)
        shutil.copyfileobj(source, target)


def begin(recording: Recording, folder: str) -> None:
    # Ended at once, wherever it is: in what the script itself does at its end, a process of the pool can wait for ever.
    signal.signal(signal.SIGTERM, signal.SIG_DFL)
    BENCH.append(Bench(recording, folder))


def try_portion(portion: list[Cut]) -> tuple[int, int, list[str]]:
    [bench] = BENCH
    asked = [cut for cut in portion if not bench.tears_superblock(cut)]
    bad = [f"{cut}: {problem}" for cut in asked for problem in bench.problems(cut)[:1]]
    return len(portion), len(portion) - len(asked), bad


# --- A state to boot -----------------------------------------------------------------------------------------


def make_image(recording: Recording, cut: Cut, image: str) -> None:
    """The disk as a cut leaves it, not repaired."""
    copy(recording, image)
    log = recording.open_log()
    disk = Disk(image, log, recording.first_sector)
    disk.begin(log.last_flush(recording.first))
    cuts.set_up(disk, cut)
    disk.close()
