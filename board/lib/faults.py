# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What happens when something around the tool fails: what the operator sees, what is lost, how it recovers."""

import os

from controller import (
    BATCH,
    Controller,
    outcome,
    selected_rows,
    shows_application,
    shows_time_left,
    shows_unplug_message,
)
from registry import EVERYDAY, FULL, scenario
from scenarios import expect_new_list
from screen import Screen
from waiting import wait_until

# --- Memory -------------------------------------------------------------------------------------------------

FIRST, ILL, WELL = range(3)  # the operations of the medium "hungry", or of one in its place


def run_what_eats_all_memory(c: Controller) -> None:
    c.plug_usb("hungry")
    c.expect_list()
    c.choose(FIRST, ILL, WELL)
    c.confirm()


def expect_killed_for_memory(c: Controller, program: str) -> None:
    killed = c.board.shell("journalctl -b -k -o cat --no-pager -g 'Out of memory: Killed process'")
    assert all(f"({program})" in line for line in killed.splitlines()), f"not only {program} was killed: {killed}"


@scenario(EVERYDAY)
def command_that_eats_all_memory_fails_and_the_batch_goes_on(c: Controller) -> None:
    tool = c.pid("zul_upgrade")

    def batch_has_ended(screen: Screen) -> bool:
        assert c.pid("zul_upgrade") == tool, "the tool went with the command"
        return shows_unplug_message(screen)

    run_what_eats_all_memory(c)
    picture = c.expect_screen(batch_has_ended, "the request to unplug", BATCH)
    expect_killed_for_memory(c, "tail")
    assert outcome(picture, ILL) != outcome(picture, WELL), "no outcome is told"
    assert outcome(picture, FIRST) == outcome(picture, ILL), "what was killed has not failed"
    assert c.board.shell("systemctl is-system-running") == "running"
    c.pull()
    c.expect_rest()
    assert c.pid("zul_upgrade") == tool, "the tool was started again"


@scenario(FULL)
def with_the_systems_own_policy_the_tool_goes_with_the_command(c: Controller) -> None:
    """What the service's OOMPolicy is for: without it the batch is lost, and the operator has to begin again."""
    c.with_service_settings("OOMPolicy=stop")
    tool = c.pid("zul_upgrade")
    run_what_eats_all_memory(c)
    wait_until(lambda: c.pid("zul_upgrade") not in ("", tool), BATCH, "the service brings another tool")
    expect_killed_for_memory(c, "tail")
    expect_new_list(c)


# --- Processes ----------------------------------------------------------------------------------------------


@scenario(FULL)
def without_processes_the_medium_is_gone_until_there_are_some(c: Controller) -> None:
    """The tool then cannot look for media. It gives the controller back, the safe side, and looks on."""
    tool = c.pid("zul_upgrade")
    c.plug_usb("waiting")
    c.expect_list()
    start = c.mark()
    limit = "systemctl set-property --runtime zul_upgrade TasksMax="
    c.clean_up = f"{limit}infinity"
    c.board.shell(f"{limit}$(ls /proc/{tool}/task | wc -l)")
    c.expect_screen(shows_application, "the application's picture")
    c.expect_programs_running()
    c.expect_line("received syscmd_apprestart", "zul_watchdog", after=start)
    c.board.shell(f"{limit}infinity")
    expect_new_list(c)
    c.expect_upgrade_mode()
    assert c.pid("zul_upgrade") == tool, "the tool was started again"


# --- The clock ----------------------------------------------------------------------------------------------


@scenario(FULL)
def clock_set_by_a_year_changes_nothing(c: Controller) -> None:
    tool = c.pid("zul_upgrade")
    c.let_go("rest")
    c.plug_usb("waiting")
    c.expect_list()
    c.choose(0, 1)
    c.clean_up = "date -s '-1 year'"
    c.board.shell("date -s '+1 year'")
    c.expect_screen(shows_time_left, "the countdown")
    c.let_polls_pass(2)
    assert selected_rows(c.board.screen()) == 2, "the selection is gone"
    c.confirm()
    c.expect_operation("held begins")
    c.board.shell("date -s '-2 years'")
    c.clean_up = "date -s '+1 year'"
    c.let_go("held")
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    assert c.operations() == ["held begins", "held ends", "rest begins", "rest ends"]
    c.pull()
    c.expect_rest()
    assert c.pid("zul_upgrade") == tool, "the tool was started again"


# --- What cannot be read ------------------------------------------------------------------------------------


def reads_instead(c: Controller, command: str) -> dict[str, bytes]:
    """The catalogue of the medium "hungry", with another command in the first one's place."""
    catalogue = c.contents("hungry", "zul_install/system.ini")
    return {"zul_install/system.ini": catalogue.replace("Eat all memory@tail /dev/zero", f"Read@{command}").encode()}


def sector_of(image: str, contents: bytes) -> int:
    with open(image, "rb") as file:
        place = file.read().find(contents)
    assert place >= 0, "it is not on the medium"
    return place // 512


@scenario(EVERYDAY)
def file_that_cannot_be_read_fails_its_command_only(c: Controller) -> None:
    payload = os.urandom(100_000)
    image = c.medium_with("hungry", {"payload": payload, **reads_instead(c, "cp /mnt/upgrade/payload /run/copy")})
    c.plug_usb_image(image, [sector_of(image, payload[51_200:51_712])])
    c.expect_list()
    c.choose(FIRST, ILL, WELL)
    c.confirm()
    picture = c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    assert outcome(picture, ILL) != outcome(picture, WELL), "no outcome is told"
    assert outcome(picture, FIRST) == outcome(picture, ILL), "what could not be read has not failed"
    c.pull()
    c.expect_rest()


@scenario(FULL)
def catalogue_that_cannot_be_read_offers_nothing(c: Controller) -> None:
    """The window comes, as there is a catalogue, and is empty. Pulling the medium gives the controller back."""
    image = c.medium("hungry")
    start = c.mark()
    c.plug_usb_image(image, [sector_of(image, b"[system]")])
    c.expect_line("unrecognized command line", after=start)
    c.expect_upgrade_mode()
    assert not any(line.startswith("####") for line in c.lines(after=start)), "something was run"
    c.pull()
    c.expect_rest()
    c.plug_usb("hungry")
    c.expect_list()


@scenario(FULL)
def card_pulled_while_it_is_read(c: Controller) -> None:
    """The command fails by itself, so that the next one may begin before the tool looks for the medium."""
    reading = (
        "{ mkdir -p /run/operations; echo reading begins >>/run/operations/log\n"
        "while dd if=/mnt/upgrade/payload of=/dev/null iflag=direct; do :; done\n"
        "echo reading ends >>/run/operations/log; exit 1; }\n"
    )
    catalogue = c.contents("hungry", "zul_install/system.ini").replace("tail /dev/zero", "sh /mnt/upgrade/read.sh")
    files = {
        "payload": os.urandom(8_000_000),
        "read.sh": reading.encode(),
        "zul_install/system.ini": catalogue.encode(),
    }
    tool = c.pid("zul_upgrade")
    c.plug_sd_image(c.medium_with("hungry", files))
    c.expect_list()
    c.choose(FIRST, ILL, WELL)
    c.confirm()
    c.expect_operation("reading begins")
    c.pull()
    c.expect_rest()
    c.expect_link_gone()
    c.expect_operation("reading ends")
    assert c.pid("zul_upgrade") == tool, "the tool was started again"


# --- The frame buffer ---------------------------------------------------------------------------------------

GRAPHICS = "/sys/bus/virtio/drivers/virtio_gpu"


@scenario(FULL)
def frame_buffer_that_goes_and_comes_takes_a_new_start_to_draw_on(c: Controller) -> None:
    """The tool goes on without a screen, and leaves the medium as always."""
    tool = c.pid("zul_upgrade")
    c.plug_usb("waiting")
    c.expect_list()
    start = c.mark()
    device = c.board.shell(f"basename $(echo {GRAPHICS}/virtio*)")
    c.clean_up = f"test -e {GRAPHICS}/{device} || echo {device} >{GRAPHICS}/bind"
    c.board.shell(f"echo {device} >{GRAPHICS}/unbind")
    c.board.wait_for("test ! -e /dev/fb0")
    c.let_polls_pass(2)
    assert c.pid("zul_upgrade") == tool, "the tool went with its screen"
    c.pull()
    c.expect_link_gone()
    c.expect_line("received syscmd_apprestart", "zul_watchdog", after=start)
    assert c.pid("zul_upgrade") == tool, "the tool went with the medium"

    c.board.shell(f"echo {device} >{GRAPHICS}/bind")
    c.board.wait_for("test -e /dev/fb0")
    c.board.shell("killall zul_gui_en; systemctl restart zul_upgrade")
    c.expect_rest()
    c.expect_tool_waiting()
    c.plug_usb("waiting")
    c.expect_list()
