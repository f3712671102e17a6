# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The controller as its operator and its technician know it: what is on the screen, where to touch, what has run."""

import os
import re
import shutil
import tempfile
from collections.abc import Callable, Sequence

import facts
from blockserver import BlockServer
from comparison import SAME, difference, is_same
from machine import Machine
from media import make_medium
from preview import BUILT_IN, Preview
from screen import Colour, Screen
from waiting import Timeout, wait_until

APPLICATION_BACKGROUND = (0x00, 0x60, 0x50)
APPLICATION_FRAME = (0xF0, 0xC0, 0x20)
CALIBRATION_BACKGROUND = (0x10, 0x10, 0x30)
BUTTON = (57, 146, 235)
QUESTION_BUTTON = (211, 211, 211)
WHITE = (255, 255, 255)

PROGRAMS = facts.text("application_programs").split()

# Places on the list page and the status page, in pixels.
CONFIRM = facts.place("at_confirm")
CANCEL = facts.place("at_cancel")
DETAILS = facts.place("at_details")
FIRST_ROW = facts.number("first_row_y")
ROW_HEIGHT = facts.number("row_height")
ROWS_SHOWN = 8  # whole ones, of each list
OPERATIONS_COLUMN = facts.number("operation_x")
SELECTION_COLUMN = facts.number("selected_x")
OUTCOME_LEFT, OUTCOME_RIGHT, OUTCOME_TOP = 364, 509, 64  # within the lines of the table
TABLE_ROW_HEIGHT = 25
COUNTDOWN = facts.area("countdown_area")
BESIDE_THE_CAPTION = 51  # pixels from the middle of a button, and still on it

POLL_SECONDS = 3.0

# A whole batch, and the reboot that may follow it.
BATCH = 600

# For a poll, and what follows it, on an emulation that a loaded computer slows down several times.
LIMIT = 240

OWN_RULES = "/run/systemd/system/zul_upgrade.service.d"

# What was measured, the tool's, the baseline's, what the baseline is.
Figure = tuple[str, str, str, str]


# --- What is on the screen ----------------------------------------------------------------------------------


def shows_application(screen: Screen) -> bool:
    return screen.is_near(115, 240, APPLICATION_FRAME) and all(
        screen.is_near(x, y, APPLICATION_BACKGROUND) for x, y in ((5, 5), (790, 5), (5, 470), (790, 470), (400, 100))
    )


def shows_list(screen: Screen) -> bool:
    return shows_button(screen, CONFIRM) and shows_button(screen, CANCEL)


def shows_button(screen: Screen, place: tuple[int, int]) -> bool:
    x, y = place
    return all(screen.is_near(side, y, BUTTON) for side in (x - BESIDE_THE_CAPTION, x + BESIDE_THE_CAPTION))


def shows_time_left(screen: Screen) -> bool:
    """Behind "Remaining:" is nothing until the countdown's first second has passed."""
    return shows_list(screen) and shows_digits(screen)


def shows_digits(screen: Screen) -> bool:
    """The countdown's, on a list in any language."""
    return has_dark_text(screen, 736, 20, 28, 14)


def shows_status(screen: Screen) -> bool:
    return shows_button(screen, DETAILS) and not shows_question(screen)


def shows_calibration(screen: Screen, cross: tuple[int, int]) -> bool:
    return screen.is_near(400, 240, CALIBRATION_BACKGROUND) and screen.is_near(*cross, WHITE)


def question_buttons(screen: Screen) -> list[tuple[int, int]]:
    """The middles of the question's buttons, from left to right."""
    for line in range(screen.height - 1, 0, -4):
        runs = runs_of(screen, line, QUESTION_BUTTON, 40)
        if len(runs) == 2:
            return [((first + last) // 2, line - 10) for first, last in runs]
    return []


def runs_of(screen: Screen, line: int, colour: Colour, least: int) -> list[tuple[int, int]]:
    runs: list[tuple[int, int]] = []
    start: int | None = None
    for x in range(screen.width + 1):
        hit = x < screen.width and screen.is_near(x, line, colour, 2)
        if hit and start is None:
            start = x
        elif not hit and start is not None:
            if x - start >= least:
                runs.append((start, x))
            start = None
    return runs


def shows_question(screen: Screen) -> bool:
    return len(question_buttons(screen)) == 2


def selected_rows(screen: Screen) -> int:
    """How many operations stand in the list of the chosen ones. A row that was touched last is white on blue."""
    count = 0
    while count < ROWS_SHOWN and not is_free(screen, SELECTION_COLUMN, FIRST_ROW + count * ROW_HEIGHT):
        count += 1
    return count


def is_free(screen: Screen, x: int, y: int) -> bool:
    """Whether nothing stands in the row of a list around a place."""
    return screen.share_of(WHITE, x - 160, y - 10, 320, 20) >= 0.99


def has_dark_text(screen: Screen, x: int, y: int, width: int, height: int) -> bool:
    return any(sum(screen.at(column, line)) < 200 for line in range(y, y + height, 2) for column in range(x, x + width))


def shows_unplug_message(screen: Screen) -> bool:
    """The request to unplug is the only text of the line at the top that is wide enough to begin this far left."""
    return shows_status(screen) and has_dark_text(screen, 4, 10, 96, 40)


def shows_details(screen: Screen) -> bool:
    """The fourth column of the table begins where there is nothing without it."""
    return shows_status(screen) and has_dark_text(screen, 520, 64, 240, 16)


def outcome(screen: Screen, row: int) -> list[Colour]:
    """The picture of what the table says of an operation's outcome, to be compared with another row's."""
    top = OUTCOME_TOP + row * TABLE_ROW_HEIGHT
    return [screen.at(x, y) for y in range(top, top + TABLE_ROW_HEIGHT - 4) for x in range(OUTCOME_LEFT, OUTCOME_RIGHT)]


# --- The controller -----------------------------------------------------------------------------------------


class Controller:
    """What scenarios do and look at. Pictures of the screens go into a folder, if there is one."""

    def __init__(self, board: Machine, media: list[str], folder: str, pictures: str | None = None) -> None:
        self.board = board
        self.media = media
        self.folder = folder
        self.pictures = pictures
        self.sd: str | None = None
        self.usb: str | None = None
        self.clean_up: str | None = None  # a command that takes back what a scenario has set
        self.marks = 0
        self.figures: list[Figure] = []

    @staticmethod
    def say(*words: object) -> None:
        print("  ", *words, flush=True)

    def photograph(self, name: str) -> None:
        if self.pictures:
            self.board.photograph(os.path.join(self.pictures, name + ".png"))

    def expect_screen(self, condition: Callable[[Screen], bool], what: str, limit: float = LIMIT) -> Screen:
        return self.board.wait_for_screen(condition, limit, what)

    def preview(self, medium: str, mounted_at: str, language: str = BUILT_IN) -> Preview:
        """What zul_catalogue draws of a medium, by the name of its folder."""
        pictures = os.path.join(self.folder, f"preview-{medium}-{language}")
        return Preview(self.folder_of(medium), mounted_at, language, pictures)

    def expect_same(self, preview: Preview, picture: str) -> None:
        """Every pixel of the screen, but for the countdown's digits. What was wanted is kept if it does not come."""
        wanted, found = preview.screen(picture), SAME

        def shows_it(screen: Screen) -> bool:
            nonlocal found
            found = difference(screen, wanted, [COUNTDOWN])
            return is_same(found)

        try:
            self.expect_screen(shows_it, f"the picture of {picture}")
        except Timeout:
            shutil.copy(preview.files[picture], os.path.join(self.folder, "wanted.png"))
            raise AssertionError(f"not the preview's {picture}: {found}") from None
        self.say(f"{picture}: {found}")

    # --- Media ------------------------------------------------------------------------------------------

    def medium(self, name: str) -> str:
        """The image of a medium, made of the folder of this name."""
        image = os.path.join(self.folder, name + ".img")
        if not os.path.exists(image):
            make_medium(self.folder_of(name), image)
        return image

    def medium_with(self, name: str, files: dict[str, bytes]) -> str:
        """The image of a medium, with more files on it or other ones: contents by name."""
        image = os.path.join(self.folder, name + "-with.img")
        with tempfile.TemporaryDirectory() as folder:
            shutil.copytree(self.folder_of(name), folder, dirs_exist_ok=True)
            for file, contents in files.items():
                with open(os.path.join(folder, file), "wb") as target:
                    target.write(contents)
            make_medium(folder, image)
        return image

    def medium_that_waits(self, name: str, file: str, command: str, operation: str) -> str:
        """The image of a medium on which a command that stands in one of its files waits until it is let go."""
        text = self.contents(name, file)
        assert text.count(command) == 1, f"{file} of {name} has not one {command!r}"
        waiting = f"sh /mnt/upgrade/operation.sh {operation} {command}"
        files = {file: text.replace(command, waiting), "operation.sh": self.contents("waiting", "operation.sh")}
        return self.medium_with(name, {file: text.encode() for file, text in files.items()})

    def contents(self, name: str, file: str) -> str:
        """A text file of a medium."""
        with open(os.path.join(self.folder_of(name), file), encoding="utf-8") as source:
            return source.read()

    def folder_of(self, name: str) -> str:
        return next(path for place in self.media if os.path.isdir(path := os.path.join(place, name)))

    def plug_recorded(self, image: str, card: bool) -> str:
        """A medium of which every write is kept. Returns the file of its log."""
        if card:
            self.sd = image
            return self.board.plug_recorded_sd(image)
        self.usb = image
        return self.board.plug_recorded_usb(image)

    def plug_sd(self, name: str) -> None:
        self.plug_sd_image(self.medium(name))

    def plug_sd_image(self, image: str) -> None:
        self.board.plug_sd(image)
        self.sd = image

    def plug_usb(self, name: str) -> None:
        self.plug_usb_image(self.medium(name))

    def plug_usb_image(self, image: str, unreadable: Sequence[int] = ()) -> None:
        self.board.plug_usb(image, unreadable)
        self.usb = image

    def plug_locked_usb(self, name: str) -> None:
        self.usb = self.medium(name)
        self.board.plug_locked_usb(self.usb)

    def plug_usb_server(self, server: BlockServer) -> None:
        self.board.plug_usb_server(server)
        self.usb = server.path

    def pull(self) -> None:
        """Pulls everything that is plugged in."""
        if self.sd:
            self.board.unplug_sd()
        if self.usb:
            self.board.unplug_usb()
        self.sd = self.usb = None

    def media_listed(self) -> list[str]:
        """Mount directories of media, in the order of df."""
        return re.findall(r"^/dev/(?:sd|mmc).* (\S+)$", self.board.shell("df"), re.MULTILINE)

    # --- Programs and lines -----------------------------------------------------------------------------

    def pid(self, program: str) -> str:
        return self.board.console.run(f"pidof {program}")[1].strip()

    def running_programs(self) -> list[str]:
        """One "name pid" for every application program that runs."""
        lines = self.board.console.run("ps -C " + ",".join(PROGRAMS) + " -o comm= -o pid=")[1].split("\n")
        return sorted(" ".join(line.split()) for line in lines if line.strip())

    def expect_programs_running(self) -> None:
        wait_until(lambda: len(self.running_programs()) == len(PROGRAMS), LIMIT, "the application programs run")

    def expect_programs_stopped(self) -> None:
        wait_until(lambda: not self.running_programs(), LIMIT, "the application programs are stopped")

    def lines(self, unit: str = "zul_upgrade", boot: str = "0", after: str | None = None) -> list[str]:
        """What a unit has written since the start of the system, or after a mark."""
        fields = f"_SYSTEMD_UNIT={unit}.service + UNIT={unit}.service + SYSLOG_IDENTIFIER=board-mark"
        lines = self.board.console.run(f"journalctl -b {boot} {fields} -o cat --no-pager")[1].splitlines()
        return lines[lines.index(after) + 1 :] if after else lines

    def mark(self) -> str:
        """A mark in the journal, for `after`. The journal's own cursors lose a line when they meet a filter."""
        self.marks += 1
        mark = f"mark {self.marks}"
        self.board.shell(f"logger -t board-mark '{mark}'")
        wait_until(lambda: mark in self.lines(), LIMIT, "the mark in the journal")
        return mark

    def expect_line(self, line: str, unit: str = "zul_upgrade", after: str | None = None, limit: float = LIMIT) -> None:
        wait_until(lambda: line in self.lines(unit, after=after), limit, f"{unit} writes: {line}")

    def let_time_pass(self, seconds: float) -> None:
        """Until the controller's clock has gone on by so much, where nothing else can be seen."""
        end = float(self.board.shell("cut -d' ' -f1 /proc/uptime")) + seconds
        self.board.wait_for(f"awk '{{exit !($1 > {end})}}' /proc/uptime")

    def let_polls_pass(self, polls: int) -> None:
        self.let_time_pass(POLL_SECONDS * (polls + 1))

    def with_service_settings(self, *settings: str) -> None:
        """A tool whose service has more settings, until the scenario has ended or the board is started again."""
        lines = "".join(f"{setting}\\n" for setting in settings)
        self.board.shell(f"mkdir -p {OWN_RULES} && printf '[Service]\\n{lines}' >{OWN_RULES}/test.conf")
        self.clean_up = f"rm -r {OWN_RULES} && systemctl daemon-reload"
        self.board.shell("systemctl daemon-reload && systemctl restart zul_upgrade")
        self.expect_tool_waiting()

    # --- Operations that wait ---------------------------------------------------------------------------

    def operations(self) -> list[str]:
        """What has begun and ended of those that run operation.sh, in order."""
        return self.board.console.run("cat /run/operations/log 2>/dev/null")[1].splitlines()

    def expect_operation(self, line: str) -> None:
        wait_until(lambda: line in self.operations(), LIMIT, f"operation {line}")

    def let_go(self, *operations: str) -> None:
        """Those that run and wait, and those that are still to come."""
        files = " ".join(f"/run/operations/{operation}" for operation in operations)
        self.board.shell(f"mkdir -p /run/operations && touch {files}")

    # --- The operator -----------------------------------------------------------------------------------

    def expect_list(self) -> Screen:
        return self.expect_screen(shows_list, "the list of operations")

    def choose(self, *rows: int) -> None:
        """Touches operations, and waits for each to stand on the other side."""
        for row in rows:
            before = selected_rows(self.board.screen())
            self.board.tap(OPERATIONS_COLUMN, FIRST_ROW + row * ROW_HEIGHT)
            self.expect_screen(lambda s: selected_rows(s) == before + 1, f"row {row} is chosen")

    def take_out(self, row: int) -> None:
        before = selected_rows(self.board.screen())
        self.board.tap(SELECTION_COLUMN, FIRST_ROW + row * ROW_HEIGHT)
        self.expect_screen(lambda s: selected_rows(s) == before - 1, f"row {row} is taken out")

    def ask(self, button: tuple[int, int] = CONFIRM) -> None:
        """Touches Confirm or Cancel, and returns with the question on the screen."""
        self.board.tap(*button)
        self.expect_screen(shows_question, "the question")

    def answer(self, yes: bool) -> None:
        buttons = question_buttons(self.board.screen())
        self.board.tap(*buttons[0 if yes else 1])
        self.expect_screen(lambda s: not shows_question(s), "the question is closed")

    def confirm(self) -> None:
        self.ask()
        self.answer(True)
        self.expect_screen(shows_status, "the status page")

    # --- States -----------------------------------------------------------------------------------------

    def expect_rest(self) -> None:
        """Nothing of the tool on the screen, the applications at work, the tool waiting."""
        self.expect_screen(shows_application, "the application's picture")
        self.expect_programs_running()
        self.board.wait_for("systemctl is-active zul_upgrade")

    def expect_link_gone(self) -> None:
        """Where the medium was pulled from a tool that used it. The link outlives a reboot, until the next medium."""
        wait_until(lambda: not self.board.holds("test -L /mnt/upgrade"), LIMIT, "the link is gone")

    def expect_upgrade_mode(self) -> None:
        self.expect_programs_stopped()
        assert self.board.holds("test -L /mnt/upgrade"), "no link to the medium"

    def put_to_rest(self) -> None:
        """The state in which every scenario starts. A new tool, because a countdown outlives its medium."""
        self.pull()
        wait_until(lambda: not self.media_listed(), LIMIT, "no medium is mounted")
        self.expect_rest()
        self.board.shell("systemctl restart zul_upgrade")  # an operation that still waits ends with it
        self.expect_tool_waiting()
        self.board.shell("rm -rf /run/operations")

    def expect_tool_waiting(self) -> None:
        """Until the tool has opened its queue, which is the last that it does before it waits."""
        wait_until(self._has_opened_its_queue, LIMIT, "the tool waits")

    def _has_opened_its_queue(self) -> bool:
        pid = self.board.shell("systemctl show -P MainPID zul_upgrade")
        lines = self.board.console.run(f"journalctl _PID={pid} -b -o cat --no-pager")[1]
        return pid != "0" and any(line.startswith("key = ") for line in lines.splitlines())
