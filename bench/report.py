#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
"""Makes the table of bench/run from its samples, and puts it into the document.

Usage: bench/report.py SAMPLES GROUPS [--before] [--board-figures FILE] [--document FILE]

SAMPLES has lines "group<TAB>row<TAB>subject<TAB>value", one a repetition. GROUPS is a list with commas of those
whose rows have to be there. The document's part between its two marks is replaced, as the rest is written by hand; a
document that does not exist gets the table alone. Ends with 1 when a row has no figure or no baseline.
"""

import argparse
import collections
import ctypes
import datetime
import os
import re
import sys
from collections.abc import Iterator
from pathlib import Path

# Of a figure's group, row and subject, a value a repetition.
Key = tuple[str, ...]
Samples = dict[Key, list[float]]

BEGIN = "<!-- bench/run writes from here -->"
END = "<!-- to here -->"
BOARD = "**On the virtual board**"
HEAD = ["| figure | the tool | baseline | ratio | what the baseline is | goal |", "|---|---|---|---|---|---|"]

TITLES = {
    "instructions": "**Start: instructions from launch to event loop, million**",
    "start": "**Start: time and memory from launch to event loop**",
    "idle": "**Waiting for a medium**",
    "screen": "**On the screen, in milliseconds**",
    "table": "**Rebuilding the status table, in milliseconds of processor time**",
    "catalogue": "**Reading a catalogue until its list is painted, in milliseconds of processor time**",
    "check": "**`zul_catalogue check` and `fix`, in milliseconds of processor time**",
    "results": "**`zul_catalogue results`, in milliseconds of processor time**",
    "verify": "**Judging a medium: instructions of `zul_catalogue verify`, million**",
    "gate": "**The gate: mounting a signed medium**",
    "plug": "**From plugging in a signed medium to its list painted, in milliseconds**",
}

SURROUNDINGS = {
    "shipped": "as shipped",
    "shipped, icons": "as shipped, on X with icon themes",
    "system": "the system's own fonts, on X with icon themes",
}
FORM = "a program that only builds the form and the question"
FORM_AND_BARS = "the same, with the scroll bars' sheets"
NOTHING = "an empty Qt program"
ENGLISH = "the same in English"
BEFORE = "an earlier state of the tool"
GROWTH = "the same growth of the baseline"


class Row:
    """One figure. `goal` is the greatest ratio that is wanted, where one is."""

    def __init__(
        self, group: str, key: Key, text: str, baseline: str, what: str, digits: int = 1, goal: float | None = None
    ) -> None:
        self.group, self.key, self.text = group, key, text
        self.baseline, self.what, self.digits, self.goal = baseline, what, digits, goal

    def cells(self, samples: Samples) -> list[str]:
        tool, baseline = samples[self.key + ("tool",)], samples[self.key_of_baseline()]
        return [self.text, spread(tool, self.digits), spread(baseline, self.digits), *self.judged(tool, baseline)]

    def key_of_baseline(self) -> Key:
        return self.key + (self.baseline,)

    def judged(self, tool: list[float], baseline: list[float]) -> list[str]:
        if not tool or not baseline or min(tool) <= 0 or min(baseline) <= 0:
            return ["", self.what, "not measured"]
        ratio = middle(tool) / middle(baseline)
        goal = ""
        if self.goal:
            goal = f"≤ {self.goal:g}: {'held' if ratio <= self.goal else 'missed'}"
        return [f"{ratio:.2f}", self.what, goal]


class Growth(Row):
    """How many times more the larger amount costs, of the tool and of the baseline."""

    def __init__(self, group: str, row: str, smaller: str, larger: str, unit: str, baseline: str, what: str) -> None:
        super().__init__(group, (row, larger), f"from {smaller} to {larger} {unit}, times", baseline, what)
        self.row, self.smaller, self.larger = row, plain(smaller), plain(larger)

    def cells(self, samples: Samples) -> list[str]:
        grown = [self.growth(samples, "tool"), self.growth(samples, self.baseline)]
        return [self.text, *(spread(growth, 1) for growth in grown), *self.judged(*grown)]

    def growth(self, samples: Samples, subject: str) -> list[float]:
        small, large = samples[(self.row, self.smaller, subject)], samples[(self.row, self.larger, subject)]
        return [middle(large) / middle(small)] if small and large else []


def plain(number: str) -> str:
    return number.replace(",", "")


def middle(values: list[float]) -> float:
    return sorted(values)[len(values) // 2]


def spread(values: list[float], digits: int) -> str:
    if not values:
        return "–"
    texts = [f"{value:,.{digits}f}" for value in (middle(values), min(values), max(values))]
    return texts[0] if texts[1] == texts[2] else f"{texts[0]} ({texts[1]} to {texts[2]})"


def instruction_rows(before: bool) -> Iterator[Row]:
    for surroundings, text in SURROUNDINGS.items():
        key = ("start", f"instructions, {surroundings}")
        shipped = surroundings == "shipped"
        yield Row("instructions", key, text, "form only", FORM, goal=1.05 if shipped else None)
        yield Row("instructions", key, text, "form and bars", FORM_AND_BARS, goal=1.05 if shipped else None)
        yield Row("instructions", key, text, "do nothing", NOTHING)
        if before:
            yield Row("instructions", key, text, "before", BEFORE, goal=0.9 if shipped else None)
    key = ("start", "instructions, Chinese")
    yield Row("instructions", key, "as shipped, in Chinese", "English", ENGLISH, goal=1.05)


def start_rows(before: bool) -> Iterator[Row]:
    for what, text in (("wall", "time, ms"), ("processor", "processor time, ms")):
        for surroundings, where in SURROUNDINGS.items():
            key = ("start", f"{what}, {surroundings}")
            yield Row("start", key, f"{text}, {where}", "form only", FORM)
            if before:
                yield Row("start", key, f"{text}, {where}", "before", BEFORE)
    for what in ("resident", "peak"):
        key = ("start", f"{what}, shipped")
        yield Row("start", key, f"{what} memory, MB, as shipped", "form only", FORM, goal=1.02)
        yield Row("start", key, f"{what} memory, MB, as shipped", "do nothing", NOTHING)
        if before:
            yield Row("start", key, f"{what} memory, MB, as shipped", "before", BEFORE)
        key = ("start", f"{what}, Chinese")
        yield Row("start", key, f"{what} memory, MB, as shipped, in Chinese", "English", ENGLISH, goal=1.02)


def life_rows() -> Iterator[Row]:
    yield Row(
        "idle", ("idle", "processor"), "processor time while idle, ms", "loop", "`while sleep 3; do df; done` beside it"
    )
    for program in ("yad", "zenity"):
        yield Row(
            "screen",
            ("screen", "list"),
            "from noticing a medium to its list painted",
            program,
            f"`{program} --list` from its start to its list painted",
        )
    for program in ("yad", "zenity"):
        yield Row(
            "screen",
            ("screen", "tap"),
            "from a tap to its effect painted",
            program,
            f"a tap on a row of `{program} --list`",
        )
    yield Row(
        "screen",
        ("screen", "waiting"),
        "from a medium to noticing it",
        "loop",
        "`until df \\| grep -q /dev/mmc; do sleep 3; done` beside it",
        0,
    )


def size_rows(before: bool) -> Iterator[Row]:
    for count in ("12", "100", "1,000", "10,000"):
        goal = 0.2 if count == "1,000" else None
        yield Row(
            "table", ("table", plain(count)), f"{count} rows", "cell by cell", "every cell set on its own", 3, goal
        )
    for smaller, larger in (("100", "1,000"), ("1,000", "10,000")):
        yield Growth("table", "table", smaller, larger, "rows", "cell by cell", GROWTH)
    for count in ("10", "1,000", "10,000"):
        yield Row(
            "catalogue",
            ("catalogue", plain(count)),
            f"{count} operations",
            "settings reader",
            "Qt's settings reader alone: the file and all its keys",
            3,
        )
    yield Growth("catalogue", "catalogue", "1,000", "10,000", "operations", "settings reader", GROWTH)
    yield Row("check", ("check", "10000"), "10,000 operations", "10", "10 operations")
    if before:
        yield Row("check", ("check", "10000"), "10,000 operations", "before", BEFORE, goal=1.0)
    faulty = "fix, 10,000 operations with five faults each"
    yield Row("check", ("fix", "10000"), faulty, "check", "`zul_catalogue check` of the same")
    what = "Python, that reads the same lines as JSON and nothing else"
    yield Row("results", ("results", "10000"), "10,000 controllers with 5 steps", "reader", what)


def gate_rows() -> Iterator[Row]:
    sizes = {size: f"{size} in 10 files" for size in ("1 MB", "10 MB", "100 MB")}
    sizes["10000 files"] = "10,000 files of 1 KB"
    for files, text, goal in (("10", "10 MB in 10 files", None), ("10000", "10,000 files of 1 KB", 0.9)):
        yield Row("verify", ("verify", f"{files} files"), text, "sha256sum", "`sha256sum` of the same files", goal=goal)
    yield Row("verify", ("verify", "unsigned"), "a medium without a manifest", "start", "`zul_catalogue --version`")
    for size, text in sizes.items():
        what = "`sha256sum` and `cp` of the same files"
        yield Row("gate", ("gate", f"time, {size}"), f"time, ms, {text}", "sha256sum and cp", what)
    for size, text in sizes.items():
        what = "`openssl dgst -sha256` and `cp` of the same files"
        goal = 1.0 if size in ("100 MB", "10000 files") else None
        key = ("gate", f"processor, {size}")
        yield Row("gate", key, f"processor time, ms, {text}", "openssl and cp", what, goal=goal)
    yield Row(
        "gate", ("gate", "peak, 100 MB"), f"peak memory, MB, {sizes['100 MB']}", "1 MB", "the same of 1 MB", goal=1.02
    )
    for size in ("1 MB", "10 MB", "100 MB"):
        yield Row("plug", ("plug", size), size, "off", "the same without the gate: `Signature=off`", 0)


def rows(before: bool) -> list[Row]:
    return [*instruction_rows(before), *start_rows(before), *life_rows(), *size_rows(before), *gate_rows()]


def read_samples(path: str) -> Samples:
    samples: Samples = collections.defaultdict(list)
    for line in Path(path).read_text().splitlines():
        group, row, subject, value = line.split("\t")
        samples[(group, row, subject)].append(float(value))
    samples[("check", "10000", "10")] = samples[("check", "10", "tool")]
    samples[("gate", "peak, 100 MB", "1 MB")] = samples[("gate", "peak, 1 MB", "tool")]
    return samples


def line_of(cells: list[str]) -> str:
    return "| " + " | ".join(cells) + " |"


def table(samples: Samples, groups: list[str], before: bool) -> tuple[list[str], bool]:
    """The lines of the measured groups, and whether a figure is missing."""
    lines: list[str] = []
    missing = False
    for group in groups:
        lines.append(line_of([TITLES[group], "", "", "", "", ""]))
        for row in rows(before):
            if row.group == group:
                cells = row.cells(samples)
                missing = missing or cells[-1] == "not measured"
                lines.append(line_of(cells))
    return lines, missing


def ratio_of(tool: str, baseline: str) -> str:
    """Of two figures with a unit, such as "2.0 s (0.9 to 3.9)". Nothing where the baseline is nothing."""
    middles = [float(figure.split()[0]) for figure in (tool, baseline)]
    return f"{middles[0] / middles[1]:.2f}" if middles[1] else ""


def board_rows(path: str | None, document: str) -> list[str]:
    """The rows of a full run on the virtual board, or those that the document has."""
    if path:
        made = datetime.date.fromtimestamp(Path(path).stat().st_mtime)
        lines = [line_of([f"{BOARD}, run of {made}", "", "", "", "", ""])]
        for line in Path(path).read_text().splitlines():
            figure, tool, baseline, what = line.split("\t")
            lines.append(line_of([figure, tool, baseline, ratio_of(tool, baseline), what, ""]))
        return lines
    kept: list[str] = []
    for line in document.splitlines():
        if line.startswith("| " + BOARD) or (kept and line.startswith("|")):
            kept.append(line)
        elif kept:
            break
    return kept


def told_by(path: str, pattern: str) -> str | None:
    """What the group of a pattern stands for in a file of the system."""
    found = re.search(pattern, Path(path).read_text())
    return found.group(1) if found else None


def machine() -> str:
    """This computer in words."""
    name = told_by("/proc/cpuinfo", r"(?:model name|Hardware)\s*: (.*)") or os.uname().machine
    memory = int(told_by("/proc/meminfo", r"MemTotal: *(\d+)") or 0) / 2**20
    system = told_by("/etc/os-release", r'PRETTY_NAME="(.*)"')
    core = ctypes.CDLL("libQt5Core.so.5")
    core.qVersion.restype = ctypes.c_char_p
    return f"{name}, {os.cpu_count()} cores, {memory:.0f} GB of memory, {system}, Qt {core.qVersion().decode()}"


def write(path: Path, lines: list[str]) -> None:
    if not path.exists():
        path.write_text("\n".join([*lines, ""]))
        return
    text = path.read_text()
    before, rest = text.split(BEGIN, 1)
    after = rest.split(END, 1)[1]
    path.write_text("\n".join([before + BEGIN, "", *lines, "", END + after]))


def main() -> None:
    parser = argparse.ArgumentParser(usage=__doc__)
    parser.add_argument("samples")
    parser.add_argument("groups")
    parser.add_argument("--before", action="store_true")
    parser.add_argument("--board-figures")
    parser.add_argument("--document", type=Path)
    options = parser.parse_args()
    lines, missing = table(read_samples(options.samples), options.groups.split(","), options.before)
    kept = options.document.read_text() if options.document and options.document.exists() else ""
    lines = [f"{datetime.date.today()}: {machine()}.", "", *HEAD, *lines, *board_rows(options.board_figures, kept)]
    print("\n".join(lines))
    if missing:
        sys.exit("report: not every figure could be measured")
    if options.document:
        write(options.document, lines)


main()
