# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What must be so after a power cut, made of what programs on the board saw at each report.

Between two reports a file is what it was at the one or what it was at the other. From a report on, what the operation
has done is there: a row that says "Succeed" is saved.

Files of reports, *.jsonl, are written while an operation is at work. At every moment, also while they are made, each
of their lines is whole or room for one, and from a report on there is one for each step that has ended. No such file
gets shorter.
"""

import json
import re
from collections.abc import Mapping, Sequence
from dataclasses import dataclass

from filesystems import Found, Version

Listing = Mapping[str, Version]


@dataclass(frozen=True)
class Report:
    """Every file, as it was seen at a position of the log."""

    position: int
    files: Listing


def parse_listing(text: str, with_mode: bool) -> dict[str, Version]:
    """What lib/observer.sh prints of files."""
    sizes, checksums = text.split("\n\n")
    seen = {path: (int(size), mode) for size, mode, path in re.findall(r"^(\d+) (\d+) (.+)$", sizes, re.MULTILINE)}
    return {
        path: Version(seen[path][0], checksum, seen[path][1] if with_mode else "")
        for checksum, path in re.findall(r"^(\w{64})  (.+)$", checksums, re.MULTILINE)
        if path in seen
    }


def around(reports: Sequence[Report], position: int) -> tuple[Listing, Listing]:
    """The last report at or before a position, and the one after it; the last report twice from there on."""
    before = max((index for index, report in enumerate(reports) if report.position <= position), default=0)
    return reports[before].files, reports[min(before + 1, len(reports) - 1)].files


def steps_ended(reports: Sequence[Report], position: int, path: str) -> int:
    """How many of the operations that were reported up to a position have written to a file."""
    versions = [report.files.get(path) for report in reports if report.position <= position]
    return sum(version != before for before, version in zip(versions, versions[1:]))


def broken_on_the_controller(reports: Sequence[Report], position: int, found: Found) -> list[str]:
    """Files that are neither old nor new. What is in no report is somebody's temporary file."""
    old, new = around(reports, position)
    problems = []
    for path in sorted({path for report in reports for path in report.files}):
        version = found.version(path, True)
        if version in (old.get(path), new.get(path)):
            continue
        if is_of_lines(path) and old.get(path) != new.get(path):
            problems += broken_lines(path, found, steps_ended(reports, position, path), old.get(path))
        else:
            problems.append(f"{path} is {describe(version)}, not {describe(old.get(path))}{either(old, new, path)}")
    return problems


def broken_on_the_medium(reports: Sequence[Report], position: int, found: Found) -> list[str]:
    """Files that were there and are not whole. One that is being written has to begin with what it was."""
    old, new = around(reports, position)
    problems = []
    reported = {path for path in old.keys() | new.keys() if is_of_lines(path)}
    for path in sorted(reported | (old.keys() & new.keys())):
        version = found.version(path, False)
        grows = new.get(path) != old.get(path)
        if is_of_lines(path) and grows:
            problems += broken_lines(path, found, steps_ended(reports, position, path), old.get(path))
        elif version != old[path] and not (version and grows and found.begins_with(path, old[path])):
            problems.append(f"{path} is {describe(version)}, not {describe(old[path])}")
    return problems


def is_of_lines(path: str) -> bool:
    return path.endswith(".jsonl")


def broken_lines(path: str, found: Found, steps: int, before: Version | None) -> list[str]:
    """Lines that are half, or are missing. A step that has begun has a line, too, which its end replaces."""
    if path not in found.files:
        return [f"{path} is missing"] if before else []
    with open(found.files[path], "rb") as file:
        data = file.read()
    *lines, rest = data.split(b"\n")
    problems = [f"{path} ends with {rest[:80]!r}"] if rest else []
    if before and len(data) < before.size:
        problems.append(f"{path} has {len(data)} bytes, and had {before.size}")
    outcomes = []
    for line in lines:
        if line.strip() in (b"", b"{}"):
            continue
        try:
            outcomes.append(json.loads(line)["outcome"])
        except (ValueError, KeyError, TypeError):
            problems.append(f"{path} has {line[:80]!r}")
    told = sum(outcome != "begun" for outcome in outcomes)
    if told < steps:
        problems.append(f"{path} tells of {told} steps, and {steps} have ended")
    return problems


def either(old: Listing, new: Listing, path: str) -> str:
    return "" if old.get(path) == new.get(path) else f" or {describe(new.get(path))}"


def describe(version: Version | None) -> str:
    return f"{version.size} bytes {version.checksum[:8]} {version.mode}".rstrip() if version else "missing"
