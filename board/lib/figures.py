# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""How fast and how frugal the tool is, each figure beside that of a baseline on the same board in the same run.

The tool and its baseline take turns, so that a computer that is busy for a while slows down both.
"""

import os
import shutil
import subprocess
import tempfile
import time
from collections.abc import Callable, Iterator, Sequence

from controller import (
    FIRST_ROW,
    LIMIT,
    OPERATIONS_COLUMN,
    POLL_SECONDS,
    ROW_HEIGHT,
    SELECTION_COLUMN,
    Controller,
    is_free,
    shows_list,
)
from media import make_medium
from preview import PROGRAM
from screen import Screen
from waiting import Timeout, wait_until

# All odd, so that there is a middle.
MEDIA = 7
TAPS_A_ROUND, ROUNDS = 5, 5
STARTS = 3
IDLE_PERIODS, IDLE_SECONDS = 5, 60
SIGNED_MEGABYTES, PLUGS = (1, 10, 100), 3

DO_NOTHING = "/usr/lib/board/do_nothing"
TICKS_A_SECOND = 100
RED, BLUE = (255, 0, 0), (0, 0, 255)


def measure(c: Controller) -> None:
    mount_to_window(c)
    tap_to_pixels(c)
    memory(c)
    idle_processor_time(c)


def add(
    c: Controller,
    figure: str,
    unit: str,
    digits: int,
    tool: Sequence[float],
    baseline: Sequence[float],
    what: str,
) -> None:
    """One line of the table: the figure of the tool and that of its baseline, from the values of each."""
    c.figures.append((figure, spread(tool, unit, digits), spread(baseline, unit, digits), what))


def spread(values: Sequence[float], unit: str, digits: int) -> str:
    """The middle of an odd number of values, with the least and the greatest."""
    assert len(values) % 2, "no middle"
    least, *_, greatest = values = sorted(values)
    return f"{values[len(values) // 2]:.{digits}f} {unit} ({least:.{digits}f} to {greatest:.{digits}f})"


def start_do_nothing(c: Controller, argument: str = "") -> None:
    """In the background, with the tool's own environment."""
    c.board.start(f"set -a; . /etc/default/zul_upgrade; exec {DO_NOTHING} {argument}")
    wait_until(lambda: c.pid("do_nothing"), LIMIT, "the empty program runs")


def show_do_nothing(c: Controller) -> None:
    """With its window, in the place of the tool and of the application."""
    c.board.shell("systemctl stop zul_upgrade zul_watchdog")
    start_do_nothing(c, "show")
    # Bright: the screen is black for a moment before, and touching that is touching nothing.
    c.expect_screen(lambda s: all(min(s.at(x, 240)) > 200 for x in range(0, 800, 10)), "an empty window")


def stop_do_nothing(c: Controller) -> None:
    c.board.shell("kill $(pidof do_nothing)")
    wait_until(lambda: not c.pid("do_nothing"), LIMIT, "the empty program has ended")


def bring_back(c: Controller) -> None:
    c.board.shell("systemctl start zul_watchdog zul_upgrade")
    c.expect_tool_waiting()


def uptime(c: Controller) -> float:
    return float(c.board.shell("cut -d' ' -f1 /proc/uptime"))


# --- Mount to window ----------------------------------------------------------------------------------------


def clock_offset(c: Controller) -> float:
    """What to subtract from this computer's clock to get the controller's; good to the time that asking takes."""
    before = time.monotonic()
    there = uptime(c)
    return (before + time.monotonic()) / 2 - there


def mounted_at(c: Controller) -> float:
    microseconds = c.board.shell("systemctl show -P ActiveEnterTimestampMonotonic media-sda1.mount")
    return int(microseconds) / 1e6


def let_part_of_a_poll_pass(c: Controller, repetition: int) -> None:
    """So that the media come at moments that are spread over the time between two looks."""
    c.let_time_pass(POLL_SECONDS * repetition / MEDIA)


def tool_shows_its_list(c: Controller, repetition: int) -> float:
    c.put_to_rest()
    let_part_of_a_poll_pass(c, repetition)
    offset = clock_offset(c)
    c.plug_usb("continue")
    c.expect_screen(shows_list, "the list")
    shown = time.monotonic() - offset
    return shown - mounted_at(c)


def loop_notices(c: Controller, repetition: int) -> float:
    c.put_to_rest()
    c.board.shell("systemctl stop zul_upgrade")
    c.board.shell("rm -f /run/noticed")
    c.board.start("until df | grep -q /dev/sd; do sleep 3; done; cut -d' ' -f1 /proc/uptime >/run/noticed")
    let_part_of_a_poll_pass(c, repetition)
    c.plug_usb("continue")
    c.board.wait_for("test -s /run/noticed")
    noticed = float(c.board.shell("cat /run/noticed")) - mounted_at(c)
    bring_back(c)
    return noticed


def mount_to_window(c: Controller) -> None:
    tool: list[float] = []
    loop: list[float] = []
    for repetition in range(MEDIA):
        tool.append(tool_shows_its_list(c, repetition))
        loop.append(loop_notices(c, repetition))
    add(c, "mount to window", "s", 1, tool, loop, "a loop of `sleep 3; df`: mount to noticing")


# --- Tap to changed pixels ----------------------------------------------------------------------------------


def time_of_tap(c: Controller, x: int, y: int, condition: Callable[[Screen], bool]) -> float:
    start = time.monotonic()
    c.board.tap(x, y)
    while not condition(c.board.screen()):
        if time.monotonic() - start > LIMIT:
            raise Timeout("a tap changes nothing")
    return time.monotonic() - start


def taps_on_the_list(c: Controller) -> Iterator[float]:
    c.put_to_rest()
    c.plug_usb("typical")
    c.expect_list()
    for row in range(TAPS_A_ROUND):  # never the same row, as two quick taps on one are a double tap
        y = FIRST_ROW + row * ROW_HEIGHT
        yield time_of_tap(c, OPERATIONS_COLUMN, y, lambda s: not is_free(s, SELECTION_COLUMN, y))


def taps_on_the_empty_window(c: Controller) -> Iterator[float]:
    c.put_to_rest()
    show_do_nothing(c)
    for tap in range(TAPS_A_ROUND):
        colour = (RED, BLUE)[tap % 2]
        yield time_of_tap(c, 200 + 100 * tap, 240, lambda s: s.is_near(400, 240, colour))
    stop_do_nothing(c)
    bring_back(c)


def tap_to_pixels(c: Controller) -> None:
    tool: list[float] = []
    empty: list[float] = []
    for _ in range(ROUNDS):
        tool += [1000 * seconds for seconds in taps_on_the_list(c)]
        empty += [1000 * seconds for seconds in taps_on_the_empty_window(c)]
    c.say("taps on the list, ms:", *(round(value) for value in tool))
    c.say("taps on the empty window, ms:", *(round(value) for value in empty))
    add(c, "tap to changed pixels", "ms", 0, tool, empty, "an empty Qt window that changes its colour when touched")


# --- Memory -------------------------------------------------------------------------------------------------


def resident(c: Controller, program: str) -> float:
    """MiB, shared libraries included."""
    return int(c.board.shell(f"awk '/^VmRSS/ {{print $2}}' /proc/$(pidof {program})/status")) / 1024


def memory_idle(c: Controller) -> tuple[float, float]:
    c.put_to_rest()
    c.let_polls_pass(2)
    start_do_nothing(c)
    c.board.wait_for("grep -q libqlinuxfb /proc/$(pidof do_nothing)/maps")
    pair = resident(c, "zul_upgrade"), resident(c, "do_nothing")
    stop_do_nothing(c)
    return pair


def memory_shown(c: Controller) -> tuple[float, float]:
    c.plug_usb("continue")
    c.expect_list()
    tool = resident(c, "zul_upgrade")
    c.put_to_rest()
    show_do_nothing(c)
    empty = resident(c, "do_nothing")
    stop_do_nothing(c)
    bring_back(c)
    return tool, empty


def memory(c: Controller) -> None:
    pairs = [(memory_idle(c), memory_shown(c)) for _ in range(STARTS)]
    idle, idle_empty = zip(*(idle for idle, _ in pairs))
    shown, shown_empty = zip(*(shown for _, shown in pairs))
    add(c, "resident memory, idle", "MiB", 1, idle, idle_empty, "an empty Qt program without a window")
    add(c, "resident memory, window shown", "MiB", 1, shown, shown_empty, "the same with an empty window")


# --- Processor time -----------------------------------------------------------------------------------------


def processor_seconds(c: Controller, pid: str) -> float:
    """Of a process and of the children that it has waited for."""
    fields = c.board.shell(f"cat /proc/{pid}/stat").rsplit(")", 1)[1].split()
    return sum(int(field) for field in fields[11:15]) / TICKS_A_SECOND


def idle_processor_time(c: Controller) -> None:
    """All three at the same time; from one look at the clock to the next, brought to the same length."""
    c.put_to_rest()
    start_do_nothing(c)
    c.board.shell("rm -f /run/loop")
    c.board.start("echo $BASHPID >/run/loop; while sleep 3; do df; done")
    c.board.wait_for("test -s /run/loop")
    pids = {"tool": c.pid("zul_upgrade"), "loop": c.board.shell("cat /run/loop"), "empty": c.pid("do_nothing")}
    used: dict[str, list[float]] = {name: [] for name in pids}
    for _ in range(IDLE_PERIODS):
        start, before = uptime(c), {name: processor_seconds(c, pid) for name, pid in pids.items()}
        c.board.shell(f"sleep {IDLE_SECONDS}", limit=10 * IDLE_SECONDS)  # asking all the time would be work too
        share = IDLE_SECONDS / (uptime(c) - start)
        for name, pid in pids.items():
            used[name].append((processor_seconds(c, pid) - before[name]) * share)
    c.board.shell("kill $(cat /run/loop)")
    stop_do_nothing(c)
    figure = f"processor time, idle for {IDLE_SECONDS} s"
    add(c, figure, "s", 2, used["tool"], used["loop"], "the loop of `sleep 3; df`")
    add(c, figure, "s", 2, used["tool"], used["empty"], "an empty Qt program without a window")


# --- The gate -----------------------------------------------------------------------------------------------

# The tool's "df". A look that is held ends when a medium is mounted: one every three seconds would hide what comes
# before.
HELD_DF = """#!/bin/sh
if rm /run/look-is-held 2>/dev/null; then
    findmnt --poll=mount --first-only --mountpoint /media/sda1 >/dev/null
fi
exec /usr/bin/df "$@"
"""
GATE_CLEANED_UP = """rm -f /usr/local/bin/df /etc/zul/keys.d/bench.pem /run/look-is-held
sed -i 's/^Signature=.*/Signature=off/' /etc/zul/media.conf"""


def write_file(c: Controller, path: str, text: str) -> None:
    c.board.shell(f"printf '%s' '{text}' >{path}")


def make_key(folder: str) -> tuple[str, str]:
    """The secret key's file, and the public key."""
    secret = os.path.join(folder, "key.pem")
    subprocess.run(["openssl", "genpkey", "-algorithm", "ed25519", "-out", secret], check=True)
    public = subprocess.run(["openssl", "pkey", "-in", secret, "-pubout"], stdout=subprocess.PIPE, check=True)
    return secret, public.stdout.decode()


def make_signed(c: Controller, megabytes: int, secret: str, folder: str) -> str:
    """The image of a signed medium with so much in ten files."""
    with tempfile.TemporaryDirectory() as medium:
        shutil.copytree(c.folder_of("continue"), medium, dirs_exist_ok=True)
        os.mkdir(os.path.join(medium, "files"))
        for number in range(10):
            with open(os.path.join(medium, "files", str(number)), "wb") as file:
                file.write(os.urandom(megabytes * 100_000))
        subprocess.run([PROGRAM, "sign", medium, "--key", secret], stdout=subprocess.DEVNULL, check=True)
        image = os.path.join(folder, f"signed-{megabytes}.img")
        make_medium(medium, image, 48 + megabytes)
    return image


def seconds_of_zul_media(c: Controller) -> tuple[float, float]:
    """When the program that mounts was started, and when it ended."""
    moments = ("ExecMainStartTimestampMonotonic", "ExecMainExitTimestampMonotonic")
    start, end = (int(c.board.shell(f"systemctl show -P {moment} zul-media@sda1")) / 1e6 for moment in moments)
    return start, end


def plugged_to_window(c: Controller, image: str, signature: str) -> tuple[float, float]:
    """From the start of zul_media to its end, and to the list on the screen."""
    c.put_to_rest()
    c.board.shell(f"sed -i 's/^Signature=.*/Signature={signature}/' /etc/zul/media.conf; touch /run/look-is-held")
    c.board.wait_for("! test -e /run/look-is-held")
    offset = clock_offset(c)
    c.plug_usb_image(image)
    c.expect_screen(shows_list, "the list")
    shown = time.monotonic() - offset
    start, end = seconds_of_zul_media(c)
    return end - start, shown - start


def summed_up_and_copied(c: Controller) -> float:
    """The files of the medium that is mounted, read of the device once."""
    c.board.shell("mkdir -p /run/copy && mount -t tmpfs -o size=80% copy /run/copy")
    c.board.shell("sync; echo 3 >/proc/sys/vm/drop_caches")
    work = "sha256sum /media/sda1/files/* >/dev/null; cp -R /media/sda1 /run/copy"
    clock = "cut -d' ' -f1 /proc/uptime"
    start, end = map(float, c.board.shell(f"{clock}; {work}; {clock}", limit=LIMIT).split())
    c.board.shell("umount /run/copy")
    return end - start


def gate(c: Controller) -> None:
    c.clean_up = GATE_CLEANED_UP
    with tempfile.TemporaryDirectory(dir=c.folder) as folder:
        secret, public = make_key(folder)
        write_file(c, "/etc/zul/keys.d/bench.pem", public)
        write_file(c, "/usr/local/bin/df", HELD_DF)
        c.board.shell("chmod 755 /usr/local/bin/df")
        for megabytes in SIGNED_MEGABYTES:
            gate_with(c, megabytes, make_signed(c, megabytes, secret, folder))
        c.put_to_rest()  # before the media are gone


def gate_with(c: Controller, megabytes: int, image: str) -> None:
    own: list[float] = []
    windows: dict[str, list[float]] = {"off": [], "required": []}
    others: list[float] = []
    for _ in range(PLUGS):
        windows["off"].append(plugged_to_window(c, image, "off")[1])
        others.append(summed_up_and_copied(c))
        taken, shown = plugged_to_window(c, image, "required")
        own.append(taken)
        windows["required"].append(shown)
    figure = f"signed medium of {megabytes} MB"
    add(c, f"{figure}: the gate alone", "s", 2, own, others, "`sha256sum` and `cp` of the same files")
    add(c, f"{figure}: plug to window", "s", 2, windows["required"], windows["off"], "`Signature=off`")
