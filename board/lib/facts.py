# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What has to be known of the tool: scripts/lib/facts.sh, which shell scripts source."""

import os
import re

_FILE = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../scripts/lib/facts.sh")
_LINE = re.compile(r"""^(\w+)=("?)([^"#]*?)\2\s*(?:#|$)""", re.MULTILINE)

with open(_FILE, encoding="utf-8") as _facts:
    _VALUES: dict[str, str] = {name: value for name, _, value in _LINE.findall(_facts.read())}


def text(name: str) -> str:
    return _VALUES[name]


def number(name: str) -> int:
    return int(_VALUES[name])


def place(name: str) -> tuple[int, int]:
    """A point of the screen."""
    x, y = _VALUES[name].split()
    return int(x), int(y)


def area(name: str) -> tuple[int, int, int, int]:
    """Left, top, width and height, of "WIDTHxHEIGHT+LEFT+TOP"."""
    width, height, left, top = (int(part) for part in re.split(r"[x+]", _VALUES[name]))
    return left, top, width, height
