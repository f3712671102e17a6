# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Media that the gate has to accept or to refuse, those of gate/tests/mediacases.py and some that only a machine can
have: that answer otherwise when they are read again, are swapped, or pulled at any read.

What is refused may be mounted nowhere, and nothing of the tool may follow from it.
"""

import base64
import io
import os
import stat
import subprocess
import sys
import tarfile
import tempfile
import threading
from collections.abc import Iterable

from blockserver import BlockServer, other_from
from controller import BATCH, LIMIT, Controller, shows_application, shows_unplug_message
from media import MEGABYTE
from registry import EVERYDAY, FULL, scenario
from waiting import Timeout, wait_until

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../gate/tests"))

import mediacases  # noqa: E402  it is the gate's
from mediacases import ACCEPTED, BASE, REFUSED, Case, Keys, Medium  # noqa: E402

PARTITIONS_OF_A_DRIVE = 60  # each is a service, and all begin at once
FAT, EXT4 = "fat", "ext4"
PLACES = {"settings": "/etc/zul/media.conf", "keys": "/etc/zul/keys.d", "serial": "/var/lib/zul_media/serial"}
SIGNED = "accepted: signed by owner.pem"


# --- Media ------------------------------------------------------------------------------------------------


class Part:
    """A case as a partition of a drive."""

    def __init__(self, case: Case, kind: str, folder: str, keys: Keys) -> None:
        self.case = case
        self.kind = kind
        self.medium = Medium(os.path.join(folder, "medium"), keys)
        case.make(self.medium)
        self.image = os.path.join(folder, "image")
        self.name = ""  # the device's, once it is plugged in
        make_fat(self) if kind == FAT else make_ext4(self)

    def said(self) -> str:
        return self.case.said(self.name, **PLACES).splitlines()[-1]

    def settings(self) -> tuple[object, ...]:
        return (self.medium.settings, tuple(sorted(self.medium.installed.items())), self.medium.serial)


def bytes_in(folder: str) -> int:
    """With a block for each entry; holes take none."""
    paths = [
        os.path.join(path, name) for path, folders, files in os.walk(os.fsencode(folder)) for name in folders + files
    ]
    return sum(os.lstat(path).st_blocks * 512 + 4096 for path in paths)


def megabytes_for(part: Part, least: int) -> int:
    return least + bytes_in(part.medium.folder) * 5 // 4 // MEGABYTE


def make_fat(part: Part) -> None:
    with open(part.image, "wb") as file:
        file.truncate(megabytes_for(part, 1) * MEGABYTE)
    run("mkfs.vfat", "--mbr=n", part.image)
    entries = [os.path.join(part.medium.folder, name) for name in sorted(os.listdir(part.medium.folder))]
    if entries:
        run("mcopy", "-s", "-m", "-i", part.image, *entries, "::/")


def make_ext4(part: Part) -> None:
    entries = sum(len(folders) + len(files) for _, folders, files in os.walk(os.fsencode(part.medium.folder)))
    size = f"{megabytes_for(part, 2)}M"
    run("mke2fs", "-q", "-t", "ext4", "-b", "4096", "-O", "^has_journal", "-N", str(entries + 64), "-d",
        part.medium.folder, part.image, size)  # fmt: skip
    for name, (kind, major, minor) in part.medium.nodes.items():
        letter = "c" if stat.S_ISCHR(kind) else "b"
        commands = f"cd /{os.path.dirname(name)}\nmknod {os.path.basename(name)} {letter} {major} {minor}\n"
        run("debugfs", "-w", "-f", "-", part.image, text=commands)


def run(*words: str, text: str = "") -> None:
    environment = {**os.environ, "LC_ALL": "C.UTF-8"}
    subprocess.run(
        words, check=True, input=text.encode(), env=environment, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL
    )


def make_drive(parts: list[Part], image: str) -> None:
    """One with a partition for each. Their numbers are those in the list, from 1 on."""
    table, place = "label: gpt\n", 1
    with open(image, "wb") as drive:
        for part in parts:
            megabytes = os.path.getsize(part.image) // MEGABYTE
            table += f"start={place}MiB, size={megabytes}MiB\n"
            drive.seek(place * MEGABYTE)
            with open(part.image, "rb") as source:
                while block := source.read(MEGABYTE):
                    drive.seek(len(block), os.SEEK_CUR) if not any(block) else drive.write(block)
            place += megabytes
        drive.truncate((place + 1) * MEGABYTE)
    run("sfdisk", "-q", image, text=table)


# --- The controller as its owner has set it -------------------------------------------------------------------


class Gate:
    """The controller's settings, and what zul_media says."""

    def __init__(self, c: Controller) -> None:
        self.c = c
        self.keys = Keys(tempfile.mkdtemp(dir=c.folder))
        self.mark = ""
        self.programs: list[str] = []
        c.clean_up = "rm -rf /etc/zul /var/lib/zul_media/serial && mv /run/zul-before /etc/zul"
        c.board.shell("test -d /run/zul-before || cp -a /etc/zul /run/zul-before")

    def medium(self, *names: str, kind: str = FAT) -> list[Part]:
        return [self.part(mediacases.case_of(name), kind) for name in names]

    def part(self, case: Case, kind: str) -> Part:
        return Part(case, kind, tempfile.mkdtemp(dir=self.c.folder), self.keys)

    def image(self, parts: list[Part]) -> str:
        image = os.path.join(tempfile.mkdtemp(dir=self.c.folder), "drive")
        make_drive(parts, image)
        for part in parts:
            os.remove(part.image)
        return image

    def set_up(self, medium: Medium) -> None:
        """What the owner has there for this medium, and nothing else."""
        packed = io.BytesIO()
        with tarfile.open(fileobj=packed, mode="w:gz") as archive, tempfile.TemporaryDirectory() as folder:
            medium.install(f"{folder}/media.conf", f"{folder}/keys.d", f"{folder}/serial")
            archive.add(folder, ".")
        text = base64.b64encode(packed.getvalue()).decode()
        lines = [text[place : place + 1000] for place in range(0, len(text), 1000)]
        # A line of the console has room for some 4000 characters.
        self.c.board.shell("rm -rf /etc/zul/media.conf /etc/zul/keys.d /run/packed /var/lib/zul_media/serial")
        for line in lines:
            self.c.board.shell(f"printf %s {line} >>/run/packed")
        self.c.board.shell(
            "base64 -d /run/packed | tar -xzC /etc/zul --no-same-owner && mkdir -p /var/lib/zul_media && "
            "if test -e /etc/zul/serial; then mv /etc/zul/serial /var/lib/zul_media/; fi"
        )

    def begin(self) -> None:
        """From here on is told what happens."""
        self.mark = self.c.mark()
        self.programs = self.c.running_programs()

    def lines(self) -> list[str]:
        fields = "SYSLOG_IDENTIFIER=zul_media SYSLOG_IDENTIFIER=board-mark"
        lines = self.c.board.console.run(f"journalctl -b {fields} -o cat --no-pager")[1].splitlines()
        return lines[lines.index(self.mark) + 1 :]

    def expect(self, *lines: str, limit: float = BATCH) -> None:
        missing = list(lines)

        def all_said() -> bool:
            said = self.lines()
            missing[:] = [line for line in lines if not any(mediacases.is_said(line, there) for there in said)]
            return not missing

        try:
            wait_until(all_said, limit, "the lines of zul_media")
        except Timeout:
            raise AssertionError(f"not said: {missing}; but: {self.lines()}") from None

    def expect_nothing_mounted(self) -> None:
        assert self.mounts() == [], f"mounted: {self.mounts()}"

    def mounts(self) -> list[str]:
        """Of media, whoever has mounted them, and in whose namespace."""
        text = self.c.board.console.run(
            "cat /proc/[0-9]*/mountinfo 2>/dev/null | grep -E ' (/media/|/run/zul_media/)|/dev/(sd|mmc)' | sort -u"
        )[1]
        return text.splitlines()

    def expect_gone(self) -> None:
        """Nothing of a medium is there any more, and nobody works on one."""
        self.c.board.wait_for(
            "test -z \"$(systemctl list-units --no-legend --plain 'zul-media@*')\" && ! pidof zul_media"
        )
        wait_until(lambda: not self.mounts(), LIMIT, "nothing is mounted any more")

    def expect_untouched(self) -> None:
        """The tool has looked, more than once, and has done nothing: the same programs run as before."""
        self.c.let_polls_pass(2)
        assert shows_application(self.c.board.screen()), "the application is not on the screen"
        assert self.c.running_programs() == self.programs, "programs were stopped"
        assert not self.c.board.holds("test -L /mnt/upgrade"), "there is a link"

    def expect_copy(self, part: Part) -> None:
        """What is there for the tool is what was signed: each file, its size, permissions and sum."""
        where = f"/media/{part.name}"
        look = (
            f"cd {where} && find . -path ./zul_results -prune -o -type f -print0 | sort -z | "
            'xargs -0 sh -c \'for f; do echo "$(stat -c "%s %a" "$f") $(sha256sum <"$f" | cut -c 1-64) $f"; done\' sh'
        )
        there = sorted(self.c.board.shell(look, BATCH).splitlines())
        files = {os.fsdecode(file.path): f"{file.size} {file.mode:o} {file.digest} ./" for file in part.medium.listed}
        wanted = sorted(line + name for name, line in files.items())
        assert there == wanted, f"{part.case.name}: {there}"
        options = self.c.board.shell(f"findmnt -no OPTIONS,SOURCE --mountpoint {where}")
        assert options.startswith("ro,nosuid,nodev") and options.endswith(f" /dev/{part.name}"), options


def plug(gate: Gate, parts: list[Part]) -> None:
    gate.c.plug_usb_image(gate.image(parts))
    name_parts(gate, parts)


def name_parts(gate: Gate, parts: list[Part]) -> None:
    disk = wait_until(lambda: newest_disk(gate.c, len(parts)), LIMIT, "the drive's partitions")
    for number, part in enumerate(parts, 1):
        part.name = f"{disk}{number}"


def newest_disk(c: Controller, partitions: int) -> str | None:
    for disk in c.board.console.run("ls /sys/block")[1].split():
        found = c.board.console.run(f"ls -d /sys/block/{disk}/{disk}* 2>/dev/null")[1].split()
        if disk.startswith("sd") and len(found) == partitions:
            return disk
    return None


def judged(gate: Gate, part: Part) -> None:
    """Once more, as it is set up now."""
    gate.begin()
    gate.set_up(part.medium)
    gate.c.board.console.run(f"systemctl restart zul-media@{part.name}", BATCH)
    gate.expect(*(line for line in part.case.said(part.name, **PLACES).splitlines()))


def go_through(c: Controller, cases: Iterable[Case], kind: str) -> None:
    """Plugs in every one of them, on as few drives as there can be."""
    chosen = list(cases)
    for place in range(0, len(chosen), PARTITIONS_OF_A_DRIVE):
        gate = Gate(c)
        parts = [gate.part(case, kind) for case in chosen[place : place + PARTITIONS_OF_A_DRIVE]]
        usual = gate.part(mediacases.case_of("signed"), kind)
        gate.set_up(usual.medium)
        accepted = any(part.case.verdict != REFUSED for part in parts)
        if accepted:
            c.board.shell("systemctl stop zul_upgrade")  # its countdown would be over before all are looked at
        gate.begin()
        programs = gate.programs
        plug(gate, parts)
        gate.expect(*(part.said() for part in parts if part.settings() == usual.settings()))
        # Every one has its verdict, before it gets another.
        waiting = "systemctl list-units --no-legend --plain --state=activating 'zul-media@*'"
        wait_until(lambda: not c.board.shell(waiting), BATCH, "all of them are judged")
        for part in parts:
            if part.settings() != usual.settings():
                judged(gate, part)
                check_part(gate, part)
                gate.c.board.console.run(f"systemctl stop zul-media@{part.name}", BATCH)
        for part in parts:
            if part.settings() == usual.settings():
                check_part(gate, part)
        if not accepted:
            gate.programs = programs
            gate.expect_nothing_mounted()
            gate.expect_untouched()
        c.pull()
        wait_until(lambda: not gate.mounts(), BATCH, "nothing is mounted any more")
        c.say(f"{len(parts)} media on {kind}")


def check_part(gate: Gate, part: Part) -> None:
    where = f"/media/{part.name}"
    is_mounted = gate.c.board.holds(f"findmnt --mountpoint {where}")
    assert is_mounted == (part.case.verdict != REFUSED), f"{part.case.name} on {part.name}: mounted: {is_mounted}"
    if part.case.verdict == ACCEPTED:
        gate.expect_copy(part)
        has_results = gate.c.board.holds(f"findmnt -no OPTIONS --mountpoint {where}/zul_results | grep -q noexec")
        assert has_results == part.case.results, f"{part.case.name}: results: {has_results}"
    wanted = part.case.serial_after or part.medium.serial
    if wanted is not None and part.case.verdict == ACCEPTED:
        assert gate.c.board.shell(f"cat {PLACES['serial']}") == wanted.decode().strip(), "the serial"


# --- The list -----------------------------------------------------------------------------------------------

SOME_ON_FAT = [
    "unsigned", "signed-by-another", "bit-of-update.sh-last", "bit-of-MANIFEST-middle", "bit-of-MANIFEST.sig-first",
    "path-up", "manifest-of-a-million-lines", "folder-instead-of-a-file",
]  # fmt: skip
SOME_ON_EXT4 = [
    "link-to-the-same-content", "folder-replaced-by-a-link", "character-device", "block-device", "pipe",
    "MANIFEST-as-a-device", "larger-than-memory",
]  # fmt: skip


@scenario(EVERYDAY)
def what_is_not_signed_is_not_there(c: Controller) -> None:
    """Some of the list, on one drive; what is signed comes beside it, and is all that the tool sees."""
    gate = Gate(c)
    parts = gate.medium(*SOME_ON_FAT) + gate.medium(*SOME_ON_EXT4, kind=EXT4)
    gate.set_up(mediacase_settings(gate))
    gate.begin()
    plug(gate, parts)
    gate.expect(*(part.said() for part in parts))
    gate.expect_nothing_mounted()
    gate.expect_untouched()

    signed = gate.medium("file-added")
    c.plug_sd_image(gate.image(signed))
    signed[0].name = "mmcblk0p1"
    gate.expect(signed[0].said())
    c.expect_list()
    assert c.media_listed() == ["/media/mmcblk0p1"], f"mounted: {c.media_listed()}"
    gate.expect_copy(signed[0])


def mediacase_settings(gate: Gate) -> Medium:
    """Those of most media, with room for one that says to be larger than memory."""
    medium = gate.medium("signed")[0].medium
    medium.settings = mediacases.USUAL + "MaximumSize=1024G\n"
    return medium


@scenario(FULL)
def whatever_is_wrong_on_fat_is_refused(c: Controller) -> None:
    go_through(c, (case for case in mediacases.cases_on(FAT) if case.verdict == REFUSED), FAT)


@scenario(FULL)
def whatever_is_wrong_on_ext4_is_refused(c: Controller) -> None:
    go_through(c, (case for case in mediacases.cases_on(EXT4) if case.verdict == REFUSED), EXT4)


@scenario(FULL)
def whatever_is_signed_is_accepted(c: Controller) -> None:
    for kind in (FAT, EXT4):
        go_through(c, (case for case in mediacases.cases_on(kind) if case.verdict != REFUSED), kind)


# --- Media that change ----------------------------------------------------------------------------------------

# In one sector, and as long as one another.
GOOD, EVIL = BASE["update.sh"][0], b"#!/bin/sh\necho HOSTILE\n"
assert len(GOOD) == len(EVIL)
SOCKET = "server"


class Drive:
    """A signed medium in a drive that answers as it likes."""

    def __init__(self, gate: Gate, image: str) -> None:
        self.gate = gate
        self.server = BlockServer(image, os.path.join(gate.c.folder, SOCKET))

    def plug(self) -> None:
        self.gate.c.plug_usb_server(self.server)

    def pull(self) -> None:
        """The machine lets go of a drive when the last request is answered, which for one that is gone is an error."""
        threading.Timer(1, self.server.pull).start()
        self.gate.c.pull()
        self.gate.expect_gone()
        self.server.close()


def verdict(gate: Gate) -> str:
    """What is said of the drive, whatever it is."""
    lines = wait_until(
        lambda: [line for line in gate.lines() if " accepted: " in line or " refused: " in line], BATCH, "a verdict"
    )
    assert len(lines) == 1, lines
    return lines[0].partition(": ")[2]


def entry_of_update(image: str) -> dict[bytes, bytes]:
    """The directory's entry of update.sh on FAT, and the same with another size."""
    with open(image, "rb") as file:
        data = file.read()
    start = data.index(b"UPDATE  SH")
    entry = data[start : start + 32]
    assert int.from_bytes(entry[28:], "little") == len(GOOD), "not the entry of update.sh"
    return {entry: entry[:28] + (len(GOOD) + 1).to_bytes(4, "little")}


@scenario(FULL)
def what_answers_otherwise_the_second_time_gains_nothing(c: Controller) -> None:
    """The file's bytes, from the first read on, or the second, or until then; and its size in the directory, which more
    than the judge have read by then. Nothing is kept in memory meanwhile, or there would be no second read."""
    gate = Gate(c)
    part = gate.medium("signed")[0]
    image = gate.image([part])
    gate.set_up(part.medium)
    c.board.shell("touch /run/dropping")
    c.board.start("while test -e /run/dropping; do echo 3 >/proc/sys/vm/drop_caches; sleep 0.05; done")
    c.clean_up = f"rm -f /run/dropping; {c.clean_up}"
    hostile = {GOOD: EVIL}
    resized = entry_of_update(image)
    answers = [other_from(0, hostile), other_from(1, hostile), other_from(0, hostile, until=1)]
    answers += [other_from(1, resized), other_from(2, resized)]
    verdicts = []
    for answer in answers:
        drive = Drive(gate, image)
        drive.server.answer = answer
        gate.begin()
        drive.plug()
        said = verdict(gate)
        verdicts.append(said)
        if said == SIGNED:
            (part.name,) = [os.path.basename(place) for place in c.media_listed()]
            gate.expect_copy(part)
            c.board.shell("echo 3 >/proc/sys/vm/drop_caches")
            gate.expect_copy(part)
            c.expect_list()
        else:
            assert said.startswith("refused: update.sh: is not what was signed"), said
            gate.expect_nothing_mounted()
            gate.expect_untouched()
        c.say(f"{said}; read {drive.server.times_read(GOOD)} times")
        drive.pull()
        c.put_to_rest()
    assert len({said == SIGNED for said in verdicts}) == 2, "never accepted, or never refused"


@scenario(FULL)
def what_was_verified_runs_though_the_medium_is_another_one_now(c: Controller) -> None:
    gate = Gate(c)
    part, hostile = gate.medium("signed")[0], gate.medium("unsigned")[0]
    image, other = gate.image([part]), gate.image([hostile])
    gate.set_up(part.medium)
    gate.begin()
    drive = Drive(gate, image)
    drive.plug()
    assert verdict(gate) == SIGNED
    c.expect_list()
    with open(other, "rb") as file:
        data = file.read().replace(GOOD, EVIL)
    drive.server.data[: len(data)] = data[: len(drive.server.data)]
    c.board.shell("echo 3 >/proc/sys/vm/drop_caches")
    c.choose(0)
    start = c.mark()
    c.confirm()
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    said = c.lines(after=start)
    assert "updated" in said and "HOSTILE" not in said, said
    drive.pull()
    c.put_to_rest()

    # Right after it was accepted, under the same name.
    gate.begin()
    c.plug_usb_image(image)
    assert verdict(gate) == SIGNED
    c.pull()
    gate.begin()
    c.plug_usb_image(other)
    assert verdict(gate) == "refused: no manifest"
    gate.expect_nothing_mounted()
    c.expect_rest()
    assert not c.board.holds("test -e /mnt/upgrade/update.sh"), "it is still there"


@scenario(FULL)
def pulled_at_any_read_it_leaves_nothing(c: Controller) -> None:
    gate = Gate(c)
    part = gate.medium("signed")[0]
    image = gate.image([part])
    gate.set_up(part.medium)
    whole = reads_of(gate, image)
    moments = sorted({round(whole * place / MOMENTS) for place in range(MOMENTS)})
    for moment in moments:
        drive = Drive(gate, image)
        drive.server.gone_from = moment
        gate.begin()
        drive.plug()
        assert drive.server.is_gone.wait(LIMIT), f"there is no read {moment}"
        drive.pull()
        assert not any(" accepted: " in line for line in gate.lines()), f"accepted at {moment}: {gate.lines()}"
        assert shows_application(c.board.screen()), f"pulled at {moment}: the window is there"
        assert c.running_programs() == gate.programs, f"pulled at {moment}: programs were stopped"
    gate.expect_untouched()
    c.say(f"pulled at {len(moments)} of {whole} reads")
    gate.begin()
    c.plug_usb_image(image)
    assert verdict(gate) == SIGNED
    c.expect_list()


MOMENTS = 12


def reads_of(gate: Gate, image: str) -> int:
    """How many it takes until the medium is accepted."""
    drive = Drive(gate, image)
    gate.begin()
    drive.plug()
    assert verdict(gate) == SIGNED
    reads = drive.server.reads
    drive.pull()
    gate.c.put_to_rest()
    return reads


# --- Two at once --------------------------------------------------------------------------------------------


@scenario(FULL)
def of_two_media_each_has_its_verdict(c: Controller) -> None:
    gate = Gate(c)
    signed, another, unsigned = gate.medium("signed", "file-added", "unsigned")
    images = [gate.image([part]) for part in (signed, another, unsigned)]
    gate.set_up(signed.medium)
    for card, drive, lines, mounted in [
        (images[2], images[0], ["mmcblk0p1: refused: no manifest", "sda1: " + SIGNED], ["/media/sda1"]),
        (images[0], images[2], ["mmcblk0p1: " + SIGNED, "sda1: refused: no manifest"], ["/media/mmcblk0p1"]),
        (images[0], images[1], ["mmcblk0p1: " + SIGNED, "sda1: " + SIGNED], ["/media/mmcblk0p1", "/media/sda1"]),
    ]:
        gate.begin()
        c.plug_sd_image(card)
        c.plug_usb_image(drive)
        gate.expect(*lines)
        assert sorted(c.media_listed()) == mounted, c.media_listed()
        c.expect_list()
        c.pull()
        gate.expect_gone()
        c.put_to_rest()
