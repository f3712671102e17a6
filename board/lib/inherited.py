# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Whether docs/hardening.md is right about what a directive of the service would take from a catalogue's command."""

import os
import re

from controller import Controller
from registry import FULL, scenario

DOCUMENT = os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "docs", "hardening.md")

# What the commands of the table need to be there.
PREPARATIONS = (
    "mkdir -p /var/tmp/theirs /var/lib/games /boot",
    "touch /var/tmp/own /var/tmp/theirs/file && chmod 600 /var/tmp/theirs/file",
    "chown -R nobody /var/tmp/theirs && chmod 700 /var/tmp/theirs",
    "dd if=/dev/zero of=/var/tmp/swap bs=1M count=4 && chmod 600 /var/tmp/swap && mkswap /var/tmp/swap",
    # Whether the rights of the file's owner are taken is its exit code.
    "printf '#!/bin/sh\\nexec /usr/bin/test $(/var/tmp/id-of-owner -u) = 0\\n' >/var/tmp/set-user-id",
    "cp /usr/bin/id /var/tmp/id-of-owner && chmod 4755 /var/tmp/id-of-owner && chmod 755 /var/tmp/set-user-id",
    "printf 'rm -f /var/tmp/copied\\ncp /bin/true /var/tmp/copied\\n' >/var/tmp/copy-for-all",
    "echo 'setpriv --reuid=nobody --clear-groups /var/tmp/copied' >>/var/tmp/copy-for-all",
)
CLEAN_UP = "; ".join(
    (
        "umount /srv",
        "swapoff /var/tmp/swap",
        "chattr -i /var/tmp/own",
        "rm -rf /var/tmp/theirs /var/tmp/own /var/tmp/swap /var/tmp/*id* /var/tmp/cop* /var/tmp/node",
        "rm -rf /etc/systemd/journald@tool.conf.d",
    )
)
# What has to be put back before a command is run once more.
BETWEEN = (
    "umount -q /srv; modprobe -r nls_utf8; swapoff /var/tmp/swap; chattr -i /var/tmp/own; "
    "rm -f /var/tmp/node /var/tmp/copied; chown root /var/tmp/own; chmod 644 /var/tmp/own; "
    # A program of another user, for the commands that reach for one.
    "pgrep -xu nobody sleep || (setpriv --reuid=nobody --clear-groups sleep 6000 >/dev/null 2>&1 </dev/null &)"
)
# What a command does has to be seen by the others, too.
SEEN_FROM_OUTSIDE = {"mount": "mountpoint -q /srv"}


def rows() -> list[tuple[list[str], str]]:
    """The directives of each row whose last column begins with a command, and that command."""
    with open(DOCUMENT, encoding="utf-8") as document:
        off = re.split(r"^## ", document.read(), flags=re.MULTILINE)
    [section] = [part for part in off if part.startswith("Off,")]
    found = re.findall(r"^\| (`.*?) \| `([^`]*)`", section, re.MULTILINE)
    return [(re.findall(r"`([^`]*)`", directives), command) for directives, command in found]


def works(c: Controller, command: str, directive: str | None = None) -> bool:
    """Whether a command of a service does what it is for."""
    c.board.console.run(BETWEEN)
    others = c.board.shell("pgrep -xu nobody sleep")
    setting = f"-p '{directive}'" if directive else ""
    line = command.replace("OTHERS", others)
    inside = f"systemd-run -q --wait --collect {setting} sh -c '{line}'"
    return c.board.holds(inside) and c.board.holds(SEEN_FROM_OUTSIDE.get(command.split()[0], "true"))


@scenario(FULL)
def directives_that_are_off_would_break_the_commands_that_are_told(c: Controller) -> None:
    c.clean_up = f"{CLEAN_UP}; pkill -u nobody sleep; true"
    for preparation in PREPARATIONS:
        c.board.shell(preparation)
    wrong: list[str] = []
    tried = 0
    for directives, command in rows():
        if not works(c, command):
            wrong.append(f"{command} fails anyway")
        for directive in directives:
            tried += 1
            if not works(c, "true", directive):
                wrong.append(f"nothing works with {directive}")
            if works(c, command, directive):
                wrong.append(f"{command} works with {directive}")
    c.say(f"{tried} directives tried with {len(rows())} commands")
    assert tried >= len(rows()) > 20, "the table is not found"
    assert not wrong, "; ".join(wrong)
