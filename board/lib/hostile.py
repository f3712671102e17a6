# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Media that the gate has to accept or to refuse: those of gate/tests/mediacases.py.

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

from controller import BATCH, LIMIT, Controller, shows_application
from registry import EVERYDAY, scenario
from waiting import Timeout, wait_until

sys.path.insert(0, os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../gate/tests"))

import mediacases  # noqa: E402  it is the gate's
from mediacases import Case, Keys, Medium  # noqa: E402

MEGABYTE = 1 << 20
FAT, EXT4 = "fat", "ext4"
PLACES = {"settings": "/etc/zul/media.conf", "keys": "/etc/zul/keys.d", "serial": "/var/lib/zul_media/serial"}


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
