# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Records what an upgrade writes: a medium is plugged into the board, the tool runs all of it, and the machine keeps a
log of the controller's disk and one of the medium."""

import os
import re
import shutil
from collections.abc import Callable

from controller import BATCH, Controller, shows_list
from disklog import SECTOR, Log
from filesystems import Version
from machine import ROOM_FOR_MARKS
from media import make_medium
from promises import Report, parse_listing
from replay import Recording

PARTITION = 2048  # first sector of a medium's file system, as lib/media.py makes it
MARKS_ON_A_MEDIUM = 1024  # in the gap before that
WATCHED = ["/opt/zul", "/etc/default", "/var/lib/zul_step"]

# What lib/observer.sh prints of the files in the directories "$@".
LIST_FILES = """find "$@" -type f -printf '%s %m %p\\n'; echo; find "$@" -type f -exec sha256sum {} +"""

OBSERVER = os.path.join(os.path.dirname(os.path.realpath(__file__)), "observer.sh")

# Another program that saves what it has, again and again. Each time the disk's journal takes in whatever has been
# renamed, created and cut off until then, so that hardly a moment remains at which a cut could not show it.
BUSY = "sh -c 'while :; do date >/var/tmp/busy; sync /var/tmp/busy; done'"


# How often a recording is begun again because the next operation had begun before the tool was stopped.
ATTEMPTS = 3


class Late(Exception):
    """What was seen may hold something of the next operation: this computer is too busy."""


class Catalogue:
    """What a recording has to know of a medium's catalogue."""

    def __init__(self, folder: str, at_most: int | None = None) -> None:
        """at_most: so many operations are run, from the first on."""
        with open(os.path.join(folder, "zul_install", "system.ini"), encoding="utf-8") as file:
            text = file.read()
        [(mode, items)] = re.findall(r'^CMD_(List|Type)="?([^"\n]*)"?$', text, re.MULTILINE)
        self.offers_a_choice = mode == "List"
        self.keys = items.split(",")
        self.operations = len(self.keys[:at_most])
        self.reboots = self.offers_a_choice and not re.search(r"^ENDGAME=(false|0)$", text, re.MULTILINE)
        # "Save data" is reported too; "reboot" is not.
        self.reports = self.operations + (1 if self.reboots else 0)


class Recorder:
    """A board with a recorded disk."""

    def __init__(self, controller: Controller) -> None:
        self.c = controller
        self.count = 0
        self.board = controller.board
        self.board.cut_power()
        self.log = self.board.new_recorded_disk()
        self.base = os.path.join(self.board.image, "disk.img")
        self.mark_sector = (os.path.getsize(self.base) + ROOM_FOR_MARKS // 2) // SECTOR
        self.board.boot()
        self.c.put_to_rest()

    def record(
        self,
        medium: str,
        prepare: str = "true",
        busy: bool = False,
        card: bool = False,
        meanwhile: Callable[[Controller], None] = lambda c: None,
        at_most: int | None = None,
    ) -> list[Recording]:
        """One batch of what a folder offers as a medium: everything, or at most so many operations. Returns what was
        written to the disk and to it."""
        for _ in range(ATTEMPTS - 1):
            try:
                return self._record(medium, prepare, busy, card, meanwhile, at_most)
            except Late as late:
                self.c.say(f"once more: {late}")
                self._stop_observing()
                self.c.put_to_rest()
        return self._record(medium, prepare, busy, card, meanwhile, at_most)

    def _record(
        self,
        medium: str,
        prepare: str,
        busy: bool,
        card: bool,
        meanwhile: Callable[[Controller], None],
        at_most: int | None,
    ) -> list[Recording]:
        name = os.path.basename(medium) + (" on a busy controller" if busy else "")
        catalogue = Catalogue(medium, at_most)
        self.count += 1
        image = os.path.join(self.c.folder, f"recorded-{self.count}.img")
        make_medium(medium, image)
        shutil.copyfile(image, base := image + ".base")
        self.board.shell(f"mkdir -p {' '.join(WATCHED)}; {prepare}; sync")
        self.begin = len(Log(self.log).entries)
        self._observe(busy, card)
        medium_log = self.c.plug_recorded(image, card)
        texts = self._run(catalogue, meanwhile)
        self._end(catalogue)
        return [self._of_the_disk(name, texts), self._of_the_medium(name, texts, base, medium_log, card)]

    def _observe(self, busy: bool, card: bool) -> None:
        with open(OBSERVER, encoding="utf-8") as script:
            self.board.shell(f"rm -rf /run/reports; cat >/run/observer.sh <<'END'\n{script.read()}END")
        directories = " ".join([*WATCHED, "/mnt/upgrade/"])
        devices = f"/dev/vda:{self.mark_sector} /dev/{'mmcblk0' if card else 'sda'}:{MARKS_ON_A_MEDIUM}"
        self.board.start(f"sh /run/observer.sh {devices} {directories}")
        self.board.wait_for("test -e /run/reports/listening")
        if busy:
            self.board.start(BUSY)

    def _run(self, catalogue: Catalogue, meanwhile: Callable[[Controller], None]) -> list[str]:
        """Returns what was seen at each report."""
        if catalogue.offers_a_choice:
            self.c.expect_screen(shows_list, "the list of operations")
            self.c.choose(*range(catalogue.operations))
            self.c.ask()
            self.c.answer(True)
        texts = [self._take(0)]
        meanwhile(self.c)
        return texts + [self._take(number) for number in range(1, catalogue.reports + 1)]

    def _take(self, number: int) -> str:
        file = f"/run/reports/{number}"
        self.board.wait_for(f"test -e {file}", BATCH)
        time, text = self.board.shell(f"cat {file}").split("\n", 1)
        if time != "in time":
            raise Late(f"report {number} was taken when the next operation had begun")
        self.start = self.board.monitor.count()
        self.board.shell(f"touch {file}.taken")
        return text

    def _end(self, catalogue: Catalogue) -> None:
        if catalogue.reboots:
            self.board.wait_for_reset(BATCH, self.start)
            self.end = len(Log(self.log).entries)
            self.c.pull()
            self.board.wait_for_system()
            self.c.expect_rest()
            self.c.expect_tool_waiting()
            return
        self.c.let_polls_pass(1)
        self.end = len(Log(self.log).entries)
        self._stop_observing()
        self.c.put_to_rest()

    def _stop_observing(self) -> None:
        """The tool goes on, if it was stopped."""
        self.board.shell("pkill -f /run/observer.sh; pkill -f /var/tmp/busy; pkill -CONT -x zul_upgrade; true")

    def _of_the_disk(self, name: str, texts: list[str]) -> Recording:
        marks = [
            (number, position) for number, position in Log(self.log).marks(self.mark_sector) if position >= self.begin
        ]
        reports = reports_at(marks, [watched(parse_listing(text, True)) for text in texts])
        return Recording(name, self.base, self.log, "ext4", 0, WATCHED, reports[0].position, self.end, reports)

    def _of_the_medium(self, name: str, texts: list[str], base: str, log: str, card: bool) -> Recording:
        prefix = "/mnt/upgrade"
        listings = [parse_listing(text, False) for text in texts]
        files = [
            {path.removeprefix(prefix): version for path, version in listing.items() if path.startswith(prefix)}
            for listing in listings
        ]
        entries = Log(log)
        reports = reports_at(entries.marks(MARKS_ON_A_MEDIUM), files)
        name = f"{name}, the {'card' if card else 'drive'}"
        # A card has no cache that the system knows of.
        return Recording(name, base, log, "fat", PARTITION, ["/"], 0, len(entries.entries), reports, has_cache=not card)


def watched(listing: dict[str, Version]) -> dict[str, Version]:
    """The controller's files of a listing, which has the medium's as well."""
    directories = tuple(f"{directory}/" for directory in WATCHED)
    return {path: version for path, version in listing.items() if path.startswith(directories)}


def reports_at(marks: list[tuple[int, int]], files: list[dict[str, Version]]) -> list[Report]:
    """What the system does while it goes down for a reboot is not reported any more, but may be marked."""
    expected = marks[: len(files)]
    assert [number for number, _ in expected] == list(range(len(files))), f"the marks of the log are {marks}"
    return [Report(position, listing) for (_, position), listing in zip(expected, files)]
