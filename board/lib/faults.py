# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What happens when something around the tool fails: what the operator sees, what is lost, how it recovers."""

from controller import Controller, outcome, shows_unplug_message
from registry import EVERYDAY, FULL, scenario
from scenarios import BATCH, expect_new_list
from screen import Screen
from waiting import wait_until

# --- Memory -------------------------------------------------------------------------------------------------

HUNGRY, ILL, WELL = range(3)  # the operations of the medium "hungry"


def run_what_eats_all_memory(c: Controller) -> None:
    c.plug_usb("hungry")
    c.expect_list()
    c.choose(HUNGRY, ILL, WELL)
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
    assert outcome(picture, HUNGRY) == outcome(picture, ILL), "what was killed has not failed"
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
