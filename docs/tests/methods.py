# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The ways in which a block is tried. Each can also look, without running anything, whether it fits the block."""

from __future__ import annotations

import re
from dataclasses import dataclass, field, replace
from pathlib import Path

from blocks import Block
from dialogues import PROMPT, difference, replayed
from rooms import CLONE, HOME, READER, REPOSITORY, House, Room, Wrong, medium


def demand(condition: object, block: Block, reason: str, output: str = "", line: int = 0) -> None:
    if not condition:
        raise Wrong(block, line or block.line, reason, output)


def content(file: str) -> str:
    return (REPOSITORY / file).read_text(encoding="utf-8")


class Method:
    """Says in `told` what happens to the block."""

    told = ""

    def check(self, block: Block) -> None:
        """Raises Wrong when the table cannot be right about the block. Runs nothing."""

    def run(self, block: Block, house: House) -> None:
        """Raises Wrong when the block does not do what its document promises."""
        raise NotImplementedError


class NoCommand(Method):
    """A drawing, or something that is printed."""

    def __init__(self, what: str) -> None:
        self.told = f"not run: {what}"

    def check(self, block: Block) -> None:
        demand(not block.language, block, f"a block of {block.language} is more than a drawing")

    def run(self, block: Block, house: House) -> None:
        pass


@dataclass(frozen=True)
class By:
    """A file that runs something, and the text in it that does."""

    file: str
    text: str


class UsedBy(Method):
    """Another test uses these very words: all that `part` matches in the block's lines."""

    def __init__(self, file: str, part: str = r".+") -> None:
        self.told = f"used by {file}"
        self.file = file
        self.part = re.compile(part)

    def check(self, block: Block) -> None:
        there = content(self.file)
        words = [(number, word) for number, line in block.lines for word in self.part.findall(line)]
        demand(words, block, f'nothing in it is "{self.part.pattern}"')
        for number, word in words:
            demand(word in there, block, f'{self.file} does not have "{word}"', line=number)

    def run(self, block: Block, house: House) -> None:
        pass


@dataclass
class Commands(Method):
    """Commands for a terminal, run as they stand.

    room       a reader's name: an ordinary user with sudo in a clean clone on a fresh Debian 12. Blocks with the same
               room are run one after the other on the same computer. Or none: the controller, as root
    elsewhere  commands that another test runs for every change; here they are run with --full only, and never on the
               controller, which nothing has started
    before     what root does first
    """

    room: str | None = None
    elsewhere: dict[str, By] = field(default_factory=dict)
    controller_at_hand: bool = False
    before: str = "true"

    def __post_init__(self) -> None:
        self.told = f"run by the reader {self.room}" if self.room else "run on the controller"
        for command, by in self.elsewhere.items():
            self.told += f'; "{command}" by {by.file}'

    def lines_elsewhere(self, block: Block) -> set[int]:
        numbers = set()
        for command, by in self.elsewhere.items():
            lines = [number for number, line in block.lines if line.partition("#")[0].strip() == command]
            demand(lines, block, f'the table knows of a command that is not there: "{command}"')
            demand(by.text in content(by.file), block, f'{by.file} does not have "{by.text}"', line=lines[0])
            numbers.update(lines)
        return numbers

    def check(self, block: Block) -> None:
        demand(block.language == "sh", block, "commands are in blocks of sh")
        self.lines_elsewhere(block)

    def run(self, block: Block, house: House) -> None:
        left_out = self.lines_elsewhere(block)
        if not self.room:
            house.controller().try_for(block, self.before)
            house.controller().run_block(block, left_out, user="root")
            return
        if house.full:
            left_out = set()
        if left_out == {number for number, _ in block.lines}:
            return
        room = house.reader(self.room)
        if self.controller_at_hand:
            house.connect(room)
        room.run_block(block, left_out, directory=CLONE)


@dataclass
class Catalogue(Method):
    """A catalogue: the zul_catalogue that a reader has built finds nothing wrong with it."""

    room: str
    build: str  # the folder of its build
    files: tuple[str, ...]  # what the medium carries besides

    def __post_init__(self) -> None:
        self.told = "checked by zul_catalogue"

    def run(self, block: Block, house: House) -> None:
        room = house.reader(self.room)
        room.write("/card/zul_install/system.ini", block.text)
        for file in self.files:
            room.write(f"/card/{file}", "true\n")
        fonts = ("fonts-liberation", "fonts-liberation2", "fonts-wqy-microhei")  # it measures with them
        room.do("apt-get", "-q", "install", *fonts)
        room.do("cmake", "--install", f"{CLONE}/{self.build}", "--component", "catalogue")
        room.try_for(block, "zul_catalogue check --strict /card")


@dataclass
class NewLanguage(Method):
    """The commands for a new language, run as they stand by a reader who does not know it: where he would open a window
    and translate, he takes the words of another language. It is thrown away with the room. With --full only, because
    everything is built for it once more; what each command does is tested for every change."""

    room: str
    language: str
    words_of: str
    night: By

    TRANSLATOR = """#!/bin/sh
# linguist FILE: has every text of FILE translated, in the words of another language.
set -e
cd "$(dirname "$1")"
sed 's/ language="WORDS_OF"/ language="'"$(basename "$1" .ts)"'"/' WORDS_OF.ts >words
[ "$(grep '<source>' "$(basename "$1")")" = "$(grep '<source>' words)" ]
mv words "$(basename "$1")"
"""

    def __post_init__(self) -> None:
        self.told = f"run by the reader {self.room}, in the words of {self.words_of}, in {self.night.file}"

    def check(self, block: Block) -> None:
        demand(block.language == "sh", block, "commands are in blocks of sh")
        demand(len(block.lines) == 5, block, "they are said to be five")
        begun = f"translations/update {self.language} "
        demand(begun in block.text, block, f'does not have "{begun}"')
        demand(self.night.text in content(self.night.file), block, f'{self.night.file} has no "{self.night.text}"')

    def run(self, block: Block, house: House) -> None:
        if not house.full:
            return
        room = house.reader(self.room)
        room.do(f"{CLONE}/scripts/install-packages", "build", "simulator")
        room.write("/usr/local/bin/linguist", self.TRANSLATOR.replace("WORDS_OF", self.words_of), 0o755)
        room.run_block(block, set(), directory=CLONE)
        made = room.do("find", f"{CLONE}/build").split()
        translation = f"/share/zul-upgrade/translations/{self.language}.qm"
        demand(any(file.endswith(translation) for file in made), block, "the build does not take the language up")
        pictures = f"{CLONE}/build/{self.language}/"
        demand(any(file.startswith(pictures) for file in made), block, "there is no picture to look at")


class ByAnAuthor(Method):
    """Done by who has nothing but the packages, in one folder from the first block of a document to the last."""

    def run(self, block: Block, house: House) -> None:
        if house.packages:
            self.do(block, house.author())

    def do(self, block: Block, room: Room) -> None:
        raise NotImplementedError


class Dialogue(ByAnAuthor):
    """What is typed at a terminal, and what that prints, to the letter. `again` is for what prints the same twice: a
    wrong answer is planted in it then, and has to be found."""

    def __init__(self, again: bool = False) -> None:
        self.told = "typed by an author, and what is printed compared"
        self.again = again
        if again:
            self.told += "; once more with a wrong answer, which has to be found"

    def check(self, block: Block) -> None:
        demand(block.text.startswith(PROMPT), block, f'a dialogue begins with "{PROMPT}"')

    def do(self, block: Block, room: Room) -> None:
        printed = replayed(block, room.answer)
        if found := difference(block, printed):
            number, shown, instead = found
            raise Wrong(block, number, f'shown:   "{shown}"\n    printed: "{instead}"', printed)
        if self.again:
            self.finds_a_wrong_answer(block, room)

    def finds_a_wrong_answer(self, block: Block, room: Room) -> None:
        lines = block.text.splitlines(keepends=True)
        wrong = replace(block, text="".join([*lines[:-1], f"not {lines[-1]}"]))
        try:
            Dialogue().do(wrong, room)
        except Wrong as found:
            last = f"{block.document}:{block.line + len(lines) - 1}:"
            demand(str(found).startswith(last), block, f"a wrong answer is found elsewhere: {found}")
        else:
            demand(False, block, "a wrong answer is not found")


class Saved(ByAnAuthor):
    """The content of a file, which an author saves."""

    told = "saved by an author"

    def check(self, block: Block) -> None:
        demand(block.file, block, "it has no name to be saved by")

    def do(self, block: Block, room: Room) -> None:
        room.write(HOME / block.file, block.text)
        room.do("chown", "-R", f"{READER}:", str(HOME))


class LineOfACatalogue(ByAnAuthor):
    """A line below [CMD]: with the files that it names on the medium, zul_catalogue finds nothing wrong with it."""

    told = "checked by an author's zul_catalogue"

    def __init__(self, *files: str) -> None:
        self.files = files

    def do(self, block: Block, room: Room) -> None:
        key = next(line for _, line in block.lines if not line.startswith(";")).partition("=")[0]
        room.write("/line/zul_install/system.ini", f'[system]\nCMD_List="{key}"\n\n[CMD]\n{block.text}')
        for file in self.files:
            room.write(f"/line/{file}", "true\n")
        room.try_for(block, "zul_catalogue check --strict /line")
        room.do("rm", "-r", "/line")


class AuthorsCommands(ByAnAuthor):
    """Commands of an author, run as they stand; then `shows` shows that they have done what is promised. Root has done
    what is `before`. One that `goes_on` until it is interrupted has something to say before that."""

    told = "run by an author"

    def __init__(self, shows: str = "true", before: str = "true", goes_on: str = "") -> None:
        self.before = before
        self.shows = shows
        self.goes_on = goes_on

    def check(self, block: Block) -> None:
        demand(block.language in ("sh", "man"), block, "commands are in blocks of sh")
        lines = [line for _, line in block.lines]
        demand(
            not self.goes_on or self.goes_on in lines,
            block,
            f'the table knows of a command that is not there: "{self.goes_on}"',
        )

    def do(self, block: Block, room: Room) -> None:
        room.try_for(block, f"cd {HOME}; {self.before}")
        room.run_block(block, {number for number, line in block.lines if line == self.goes_on})
        if self.goes_on:
            told = room.answer(f'timeout --signal INT 10 {self.goes_on}; echo "ended with $?"')
            demand(
                "ended with 124" in told and len(told.splitlines()) > 1, block, f"{self.goes_on}: does not go on", told
            )
        room.try_for(block, f"cd {HOME}; {self.shows}")


@dataclass
class AtTheDesk(Method):
    """Commands of who signs media, run as they stand by a reader who has built zul_catalogue, or by another user, in a
    folder with a medium to sign. The passphrase of the key is typed so many times. Then `shows` shows that it was done.
    """

    room: str
    build: str  # the folder of its build
    shows: str
    passphrases: int = 0
    before: str = "true"  # what root does first
    user: str = READER

    DESK = Path("/desk")

    def __post_init__(self) -> None:
        self.told = f"run by the reader {self.room}, who signs a medium"

    def check(self, block: Block) -> None:
        demand(block.language == "sh", block, "commands are in blocks of sh")

    def run(self, block: Block, house: House) -> None:
        room = house.reader(self.room)
        if not (room.root / str(self.DESK).lstrip("/")).exists():
            room.do("apt-get", "-q", "install", "openssl")
            room.do("cmake", "--install", f"{CLONE}/{self.build}", "--component", "catalogue")
            room.do("install", "--directory", "--owner", READER, str(self.DESK))
            room.do("runuser", "-l", READER, "-c", f"cd {self.DESK} && zul_catalogue new card")
        room.try_for(block, f"cd {self.DESK}; {self.before}")
        room.run_block(block, set(), self.user, self.DESK, typed=("of the owner",) * self.passphrases)
        room.try_for(block, f"cd {self.DESK}; {self.shows}")


class FrameBufferNotAwaited(Method):
    """With it, the service starts at once where there is no frame buffer; without it, systemd would wait for one."""

    told = "run on the controller; what systemd would start is compared"

    def waits(self, block: Block, house: House) -> bool:
        plan = house.controller().try_for(
            block, "SYSTEMD_LOG_LEVEL=debug systemd-analyze --man=no verify zul_upgrade.service"
        )
        demand("zul_upgrade.service: Installed new job" in plan, block, "systemd would not start the tool", plan)
        return "dev-fb0.device: Installed new job" in plan

    def run(self, block: Block, house: House) -> None:
        demand(self.waits(block, house), block, "the service does not wait for a frame buffer anyway")
        house.controller().run_block(block, set(), user="root")
        demand(not self.waits(block, house), block, "the service waits for a frame buffer all the same")


class UdevRules(Method):
    """Rules that udev reads without a complaint."""

    def __init__(self, file: str) -> None:
        self.told = "read by udev"
        self.file = file

    def run(self, block: Block, house: House) -> None:
        room = house.controller()
        room.write(self.file, block.text)
        told = room.try_for(block, "udevadm test --action=add /sys/class/mem/null")
        demand(f"Reading rules file: {self.file}" in told, block, "udev does not read it", told)
        complaints = re.findall(rf"^{re.escape(self.file)}:(\d+) (.*)$", told, re.MULTILINE)
        for number, complaint in complaints:
            raise Wrong(block, block.line + int(number) - 1, complaint)


LOGGER = """#!/bin/sh
sed "s/^/$2: /" >>/log
"""


class StartedByHand(Method):
    """The lines of an init script. A tool that ends with 1 is started again, one that ends with 0 is not; it has the
    settings, their language and a directory of its own, and what it says is logged."""

    told = "run on the controller, with a tool that ends"
    TOOL = """#!/bin/sh
echo "start $*" >>/starts
readlink -f "${0%/*}/en.qm" >>/starts
echo "said by the tool"
stat -c 'directory %a' "$XDG_RUNTIME_DIR" >>/starts
env | grep '^QT_FONT_DPI=' >>/starts
[ "$(grep -c start /starts)" = 2 ]
"""
    EXPECTED = """start -stylesheet /run/zul_upgrade/screen.qss
/usr/share/zul-upgrade/translations/de.qm
directory 700
"""

    def run(self, block: Block, house: House) -> None:
        room = house.controller()
        room.do("sed", "-i", "s/^ZUL_LANGUAGE=.*/ZUL_LANGUAGE=de/", "/etc/default/zul_upgrade")
        room.do("mv", "/opt/zul/zul_upgrade", "/opt/zul/kept")
        room.write("/opt/zul/zul_upgrade", self.TOOL, 0o755)
        room.write("/usr/local/bin/logger", LOGGER, 0o755)
        room.run_block(block, set(), user="root", shell="sh")
        room.do("mv", "/opt/zul/kept", "/opt/zul/zul_upgrade")
        dpi = room.do("grep", "^QT_FONT_DPI=", "/etc/default/zul_upgrade")
        starts, log = room.do("cat", "/starts"), room.do("cat", "/log")
        demand(starts == f"{self.EXPECTED}{dpi}" * 2, block, "the tool is not started as it should be", starts)
        demand(log == "zul_upgrade: said by the tool\n" * 2, block, "what the tool says is not logged", log)


class Mdev(Method):
    """A file for busybox's mdev, which has media mounted and unmounted once it has all; `last` says that it has."""

    # What the kernel calls for a device that comes or goes; what is done is logged, the device gone from df.
    CALLS = """export SUBSYSTEM=block DEVPATH=/devices/virtual/block/DEVICE
event() { env ACTION="$1" DEVNAME="$2" $3 busybox mdev; }
plug() { event add "${1:-MEDIUM}"; }
pull() { event remove MEDIUM; }
is_mounted() { df | grep '^/dev/MEDIUM .* /media/MEDIUM$'; }
is_gone() { if df | grep /media/MEDIUM; then exit 1; fi; }
logged() { grep -qx "zul_media: MEDIUM: $1" /log || { cat /log; exit 1; }; }
: >/log
plug
"""
    AS_IT_IS = """is_mounted
cat /media/MEDIUM/file
grep ' /media/MEDIUM .*nosuid,nodev' /proc/mounts
logged 'mounted.*'
exec 3</media/MEDIUM/file
pull
is_gone
logged unmounted
"""
    REFUSED = """is_gone
logged 'refused: no manifest'
pull
logged removed
"""
    SIGNED = """is_mounted
cat /media/MEDIUM/file
[ "$(ls /media/MEDIUM)" = file ]
logged 'accepted: signed by owner.pem, serial 7'
grep -qx 7 /var/lib/zul_media/serial
pull
is_gone
logged unmounted
"""

    # The card is another then, which here is the same, and has no partitions.
    IN_A_READER = """plug MEDIUM1
event change MEDIUM
is_mounted
: >/log
event change MEDIUM DISK_MEDIA_CHANGE=1
is_mounted
cat /media/MEDIUM/file
grep -qx 'zul_media: MEDIUM1: unmounted' /log
logged unmounted
logged 'mounted.*'
pull
is_gone
"""

    def __init__(self, file: str, mode: int = 0o644, last: bool = False) -> None:
        self.told = "used by mdev with media, signed ones and others" if last else "written for mdev"
        self.file = file
        self.mode = mode
        self.last = last

    def tried_as(self, name: str, script: str, block: Block, house: House, key: Path | None = None) -> None:
        with medium(house.folder / name, key) as device:
            script = (self.CALLS + script).replace("DEVICE", device).replace("MEDIUM", name)
            told = house.controller().try_for(block, script)
        demand("written by the test" in told or "refused" in script, block, "the medium is not mounted", told)

    def run(self, block: Block, house: House) -> None:
        room = house.controller()
        room.write(self.file, block.text, self.mode)
        if not self.last:
            return
        room.do("apt-get", "-q", "install", "busybox", "psmisc")
        room.write("/usr/local/bin/logger", LOGGER, 0o755)
        self.tried_as("sda1", self.AS_IT_IS, block, house)
        self.tried_as("sdc", self.IN_A_READER, block, house)
        required = "s/^Signature=.*/Signature=required/; s/^#RememberSerial=.*/RememberSerial=yes/"
        room.do("sed", "-i", required, "/etc/zul/media.conf")
        key = room.root / "etc/zul/keys.d/owner.pem"
        self.tried_as("mmcblk0p1", self.SIGNED, block, house, key)
        self.tried_as("sdb", self.REFUSED, block, house)
