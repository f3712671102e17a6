# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What must be so after a power cut, made of what programs on the board saw at each report.

Between two reports a file is what it was at the one or what it was at the other. From a report on, what the operation
has done is there: a row that says "Succeed" is saved.
"""

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


def broken_on_the_controller(reports: Sequence[Report], position: int, found: Listing) -> list[str]:
    """Files that are neither old nor new. What is in no report is somebody's temporary file."""
    old, new = around(reports, position)
    problems = []
    for path in sorted({path for report in reports for path in report.files}):
        version = found.get(path)
        if version not in (old.get(path), new.get(path)):
            problems.append(f"{path} is {describe(version)}, not {describe(old.get(path))}{either(old, new, path)}")
    return problems


def broken_on_the_medium(reports: Sequence[Report], position: int, found: Found) -> list[str]:
    """Files that were there and are not whole. One that is being written has to begin with what it was."""
    old, new = around(reports, position)
    problems = []
    for path in sorted(old.keys() & new.keys()):
        version = found.version(path, False)
        grows = new[path] != old[path]
        if version != old[path] and not (version and grows and found.begins_with(path, old[path])):
            problems.append(f"{path} is {describe(version)}, not {describe(old[path])}")
    return problems


def either(old: Listing, new: Listing, path: str) -> str:
    return "" if old.get(path) == new.get(path) else f" or {describe(new.get(path))}"


def describe(version: Version | None) -> str:
    return f"{version.size} bytes {version.checksum[:8]} {version.mode}".rstrip() if version else "missing"
