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
    "mkdir -p /var/tmp/theirs /var/lib/games /boot && mkdir -m 1777 /run/try",
    "touch /var/tmp/own /var/tmp/theirs/file && chmod 600 /var/tmp/theirs/file",
    "chown -R nobody /var/tmp/theirs && chmod 700 /var/tmp/theirs",
    "dd if=/dev/zero of=/var/tmp/swap bs=1M count=4 && chmod 600 /var/tmp/swap && mkswap /var/tmp/swap",
    # Whether the rights of the file's owner are taken is its exit code.
    "printf '#!/bin/sh\\nexec /usr/bin/test $(/var/tmp/id-of-owner -u) = 0\\n' >/var/tmp/set-user-id",
    "cp /usr/bin/id /var/tmp/id-of-owner && chmod 4755 /var/tmp/id-of-owner && chmod 755 /var/tmp/set-user-id",
)
CLEAN_UP = "; ".join(
    (
        "umount /srv",
        "swapoff /var/tmp/swap",
        "chattr -i /var/tmp/own",
        "rm -rf /var/tmp/theirs /var/tmp/own /var/tmp/swap /var/tmp/*id* /var/tmp/node",
        "rm -rf /run/try /run/systemd/system/try-*",
    )
)
# What has to be put back before a command is run once more.
BETWEEN = (
    "umount -q /srv; modprobe -r nls_utf8; swapoff /var/tmp/swap; chattr -i /var/tmp/own; "
    "rm -f /var/tmp/node /run/try/begun; chown root /var/tmp/own; chmod 644 /var/tmp/own; "
    # A program of another user, for the commands that reach for one.
    "pgrep -xu nobody sleep || (setpriv --reuid=nobody --clear-groups sleep 6000 >/dev/null 2>&1 </dev/null &)"
)
# What a command does has to be seen by the others, too.
SEEN_FROM_OUTSIDE = {"mount": "mountpoint -q /srv"}


def rows() -> list[tuple[list[str], str]]:
    """The directives of each row whose last column begins with a command, and that command."""
    with open(DOCUMENT, encoding="utf-8") as document:
        parts = re.split(r"^## ", document.read(), flags=re.MULTILINE)
    [section] = [part for part in parts if part.startswith("Off,")]
    found = re.findall(r"^\| (`.*?) \| `([^`]*)`", section, re.MULTILINE)
    return [(re.findall(r"`([^`]*)`", directives), command) for directives, command in found]


def write_services(c: Controller) -> dict[tuple[str, str], str]:
    """A service for each command of the table with each directive of its row, and one with none."""
    services: dict[tuple[str, str], str] = {}
    for row, (directives, command) in enumerate(rows()):
        line = command.replace("OTHERS", "$(pgrep -xu nobody sleep)")
        c.board.shell(f"echo ': >/run/try/begun; {line}' >/run/try/{row}.sh")
        for number, directive in enumerate(["", *directives]):
            services[command, directive] = f"try-{row}-{number}"
            lines = f"[Service]\\nType=oneshot\\n{directive}\\nExecStart=/bin/sh /run/try/{row}.sh\\n"
            c.board.shell(f"printf '%b' '{lines}' >/run/systemd/system/try-{row}-{number}.service")
    c.board.shell("systemctl daemon-reload")
    return services


def works(c: Controller, command: str, service: str) -> bool:
    """Whether a command of a service does what it is for."""
    c.board.console.run(BETWEEN)
    succeeded = c.board.holds(f"systemctl start {service}")
    return succeeded and c.board.holds(SEEN_FROM_OUTSIDE.get(command.split()[0], "true"))


@scenario(FULL)
def directives_that_are_off_would_break_the_commands_that_are_told(c: Controller) -> None:
    c.clean_up = f"{CLEAN_UP}; pkill -u nobody sleep; systemctl daemon-reload; systemctl reset-failed"
    for preparation in PREPARATIONS:
        c.board.shell(preparation)
    services = write_services(c)
    wrong: list[str] = []
    for (command, directive), service in services.items():
        if works(c, command, service) == bool(directive):
            wrong.append(f"{command} works with {directive}" if directive else f"{command} fails anyway")
        elif not c.board.holds("test -e /run/try/begun"):
            wrong.append(f"nothing even begins with {directive}")
    tried = sum(1 for _, directive in services if directive)
    c.say(f"{tried} directives tried with {len(rows())} commands")
    assert tried >= len(rows()) > 20, "the table is not found"
    assert not wrong, "; ".join(wrong)
