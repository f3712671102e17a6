"""How fast and how frugal the tool is, each figure beside that of a baseline on the same board in the same run."""

import time

import machine
from controller import (
    FIRST_ROW,
    LIMIT,
    OPERATIONS_COLUMN,
    POLL_SECONDS,
    ROW_HEIGHT,
    selected_rows,
    shows_list,
)
from machine import wait_until

REPETITIONS = 6
IDLE_SECONDS = 300
DO_NOTHING = "/usr/lib/board/do_nothing"
TICKS_A_SECOND = 100
RED, BLUE = (255, 0, 0), (0, 0, 255)


def measure(c):
    mount_to_window(c)
    tap_to_pixels(c)
    memory(c)
    idle_processor_time(c)


def middle(values):
    return sorted(values)[len(values) // 2]


def start_do_nothing(c, argument=""):
    """In the background, with the tool's own environment."""
    c.board.shell(f"(set -a; . /etc/default/zul_upgrade; exec {DO_NOTHING} {argument}) >/dev/null 2>&1 &")
    wait_until(lambda: c.pid("do_nothing"), LIMIT, "the empty program runs")


def stop_do_nothing(c):
    c.board.shell("kill $(pidof do_nothing)")
    wait_until(lambda: not c.pid("do_nothing"), LIMIT, "the empty program has ended")


# --- Mount to window ----------------------------------------------------------------------------------------


def clock_offset(c):
    """What to subtract from this computer's clock to get the controller's; good to the time that asking takes."""
    before = time.monotonic()
    uptime = float(c.board.shell("cut -d' ' -f1 /proc/uptime"))
    return (before + time.monotonic()) / 2 - uptime


def mounted_at(c):
    microseconds = c.board.shell("systemctl show -P ActiveEnterTimestampMonotonic media-sda1.mount")
    return int(microseconds) / 1e6


def let_part_of_a_poll_pass(c, repetition):
    """So that the media come at moments that are spread over the time between two looks."""
    c.let_time_pass(POLL_SECONDS * repetition / REPETITIONS)


def mount_to_window(c):
    tool, loop = [], []
    for repetition in range(REPETITIONS):
        c.put_to_rest()
        let_part_of_a_poll_pass(c, repetition)
        offset = clock_offset(c)
        c.plug_usb("continue")
        c.expect_screen(shows_list, "the list")
        shown = time.monotonic() - offset
        tool.append(shown - mounted_at(c))
    c.put_to_rest()
    c.board.shell("systemctl stop zul_upgrade")
    for repetition in range(REPETITIONS):
        c.board.shell("rm -f /run/noticed; (until df | grep -q /dev/sd; do sleep 3; done;"
                      " cut -d' ' -f1 /proc/uptime >/run/noticed) >/dev/null 2>&1 &")  # fmt: skip
        let_part_of_a_poll_pass(c, repetition)
        c.plug_usb("continue")
        c.board.wait_for("test -s /run/noticed")
        loop.append(float(c.board.shell("cat /run/noticed")) - mounted_at(c))
        c.pull()
        wait_until(lambda: not c.media_listed(), LIMIT, "nothing is mounted")
    c.board.shell("systemctl start zul_upgrade")
    c.expect_tool_waiting()
    c.figures.append(("mount to window (loop: to noticing), s", f"{middle(tool):.1f} (at most {max(tool):.1f})",
                      f"{middle(loop):.1f} (at most {max(loop):.1f})"))  # fmt: skip


# --- Tap to changed pixels ----------------------------------------------------------------------------------


def time_of_tap(c, x, y, condition):
    start = time.monotonic()
    c.board.tap(x, y)
    while not condition(c.board.screen()):
        if time.monotonic() - start > LIMIT:
            raise machine.Timeout("a tap changes nothing")
    return time.monotonic() - start


def tap_to_pixels(c):
    c.put_to_rest()
    c.plug_usb("typical")
    c.expect_list()
    tool = []
    for row in range(REPETITIONS):  # never the same row, as two quick taps on one are a double tap
        condition = lambda s, n=row + 1: selected_rows(s) == n  # noqa: E731
        tool.append(time_of_tap(c, OPERATIONS_COLUMN, FIRST_ROW + row * ROW_HEIGHT, condition))
    c.put_to_rest()
    c.board.shell("systemctl stop zul_upgrade zul_watchdog")
    start_do_nothing(c, "show")
    c.expect_screen(lambda s: len({s.at(x, 240) for x in range(0, 800, 10)}) == 1, "an empty window")
    empty = []
    for repetition in range(REPETITIONS):
        colour = (RED, BLUE)[repetition % 2]
        empty.append(time_of_tap(c, 200 + 100 * repetition, 240, lambda s, k=colour: s.is_near(400, 240, k)))
    stop_do_nothing(c)
    c.board.shell("systemctl start zul_upgrade zul_watchdog")
    c.expect_tool_waiting()
    c.figures.append(("tap to changed pixels, ms", f"{1000 * middle(tool):.0f} (at most {1000 * max(tool):.0f})",
                      f"{1000 * middle(empty):.0f} (at most {1000 * max(empty):.0f})"))  # fmt: skip


# --- Memory -------------------------------------------------------------------------------------------------


def resident(c, program):
    """MiB, shared libraries included."""
    return int(c.board.shell(f"awk '/^VmRSS/ {{print $2}}' /proc/$(pidof {program})/status")) / 1024


def memory(c):
    c.put_to_rest()
    c.let_polls_pass(2)
    start_do_nothing(c)
    c.board.wait_for("grep -q libqlinuxfb /proc/$(pidof do_nothing)/maps")
    c.figures.append(("resident memory idle, MiB", f"{resident(c, 'zul_upgrade'):.1f}", f"{resident(c, 'do_nothing'):.1f}"))
    stop_do_nothing(c)
    c.plug_usb("continue")
    c.expect_list()
    shown = resident(c, "zul_upgrade")
    c.put_to_rest()
    c.board.shell("systemctl stop zul_watchdog")
    start_do_nothing(c, "show")
    c.expect_screen(lambda s: len({s.at(x, 240) for x in range(0, 800, 10)}) == 1, "an empty window")
    c.figures.append(("resident memory, window shown, MiB", f"{shown:.1f}", f"{resident(c, 'do_nothing'):.1f}"))
    stop_do_nothing(c)
    c.board.shell("systemctl start zul_watchdog")


# --- Processor time -----------------------------------------------------------------------------------------


def processor_seconds(c, pid):
    """Of a process and of the children that it has waited for."""
    fields = c.board.shell(f"cat /proc/{pid}/stat").rsplit(")", 1)[1].split()
    return sum(int(field) for field in fields[11:15]) / TICKS_A_SECOND


def idle_processor_time(c):
    c.put_to_rest()
    start_do_nothing(c)
    c.board.shell("(while sleep 3; do df; done) >/dev/null 2>&1 & echo $! >/run/loop")
    pids = {"tool": c.pid("zul_upgrade"), "empty": c.pid("do_nothing"), "loop": c.board.shell("cat /run/loop")}
    before = {name: processor_seconds(c, pid) for name, pid in pids.items()}
    end = float(c.board.shell("cut -d' ' -f1 /proc/uptime")) + IDLE_SECONDS
    wait_until(
        lambda: float(c.board.shell("cut -d' ' -f1 /proc/uptime")) > end, 4 * IDLE_SECONDS, "five minutes have passed"
    )
    used = {name: processor_seconds(c, pid) - before[name] for name, pid in pids.items()}
    c.board.shell("kill $(cat /run/loop)")
    stop_do_nothing(c)
    c.figures.append((f"processor time idle for {IDLE_SECONDS} s, s", f"{used['tool']:.1f}",
                      f"{used['loop']:.1f} (loop of sleep 3; df), {used['empty']:.1f} (empty program)"))  # fmt: skip
