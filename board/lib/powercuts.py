# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Which upgrades are recorded, and what is said of their replays."""

import os
import random
import shutil
from collections.abc import Callable, Sequence
from dataclasses import dataclass

import cuts
from controller import BATCH, Controller
from cuts import Cut
from promises import around, is_of_lines, parse_listing
from recording import LIST_FILES, Recorder
from replay import Recording, Result, make_image, replay

EXAMPLES = os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..", "examples")

LINE = 512  # of a report

# Of a faulty medium, until its mistake has shown.
RECORDINGS = 3

LOGS = "mkdir -p /opt/zul/logs; dmesg >/opt/zul/logs/kernel.log; seq 20000 >/opt/zul/logs/numbers.log"

# What the recording before has done once, is done again, and what it has installed is replaced by something else.
NO_STEP_YET = "rm -rf /var/lib/zul_step/*; echo old >/opt/zul/zul_version"


def nothing(_: Controller) -> None:
    """What the operator does beside looking on."""


@dataclass(frozen=True)
class Upgrade:
    """A medium, and what its operations find on the controller."""

    medium: str
    prepare: str = "true"
    meanwhile: Callable[[Controller], None] = nothing
    at_most: int | None = None  # operations; without it, all


# Every operation does the same with another language, and most of them stand below what the list shows.
LANGUAGES = 3


def shipped(calibrate: Callable[[Controller], None]) -> list[Upgrade]:
    """Every medium of examples/, so that one that is added is replayed too."""
    prepare = {
        "chinese-names": LOGS,
        "collect-logs": LOGS,
        "guarded-steps": NO_STEP_YET,
        "several-steps": f"{LOGS}; cd /opt/zul; echo brightness=90 >settings; mkdir -p cache/a; date >cache/a/b; cd /",
    }
    names = sorted(name for name in os.listdir(EXAMPLES) if os.path.isdir(os.path.join(EXAMPLES, name)))
    return [
        Upgrade(
            os.path.join(EXAMPLES, name),
            prepare.get(name, "true"),
            calibrate if name == "calibrate-screen" else nothing,
            LANGUAGES if name == "choose-language" else None,
        )
        for name in names
    ]


def faulty(c: Controller, name: str) -> Upgrade:
    """A medium of board/media that makes a mistake, with something to install that takes a while to write."""
    folder = os.path.join(c.folder, name)
    shutil.copytree(c.folder_of(name), folder, dirs_exist_ok=True)
    with open(os.path.join(folder, "settings"), "wb") as file:
        file.writelines(b"%s %d\n" % (name.encode(), number) for number in range(10000))
    return Upgrade(folder)


# --- Steps of the kit ----------------------------------------------------------------------------------------


# What a kit could get wrong, and would be lucky with on most days: functions that its "step" has in place of programs,
# and the file systems on which that shows.
READ_WORDS = """
    input=/dev/stdin
    for word in "$@"; do
        case $word in if=*) input=${word#if=} ;; of=*) output=${word#of=} ;; seek=*) place=${word#seek=} ;; esac
    done"""
FAULTY_STEPS = {
    "saves-nothing": ("sync() { :; }", ["ext4", "fat"]),
    "copies-in-place": (
        """mv() { # -f NEW FILE
    case $3 in /opt/*) dd if="$2" of="$3" bs=4k oflag=dsync ;; *) command mv "$@" ;; esac
}""",
        ["ext4"],
    ),
    "keeps-history-in-place": (
        """mv() { # -f NEW FILE
    case $3 in */history.jsonl) dd if="$2" of="$3" bs=100 oflag=dsync ;; *) command mv "$@" ;; esac
}""",
        ["ext4"],
    ),
    "reports-in-pieces": (
        f"""dd() {{{READ_WORDS}
    command dd if="$input" of="$output" bs=64 seek="$((place * 8))" conv=notrunc oflag=dsync
}}""",
        ["fat"],
    ),
    "appends-to-the-report": (
        f"""dd() {{{READ_WORDS}
    cat "$input" >>"$output"
    return 1 # so that nothing is saved, either
}}""",
        ["fat"],
    ),
}


def guarded(c: Controller, name: str) -> str:
    """A folder like examples/guarded-steps, to be changed, with a program that takes a while to write."""
    folder = os.path.join(c.folder, name)
    shutil.copytree(os.path.join(EXAMPLES, "guarded-steps"), folder, dirs_exist_ok=True)
    with open(os.path.join(folder, "zul_install", "zul_version"), "ab") as file:
        file.writelines(b"# %s %d\n" % (name.encode(), number) for number in range(2000))
    return folder


def faulty_steps(c: Controller, name: str) -> Upgrade:
    folder = guarded(c, name)
    spoil(os.path.join(folder, "step"), name)
    return Upgrade(folder, NO_STEP_YET)


def spoil(step: str, name: str) -> None:
    change(step, "set -u\n", f"set -u\n{FAULTY_STEPS[name][0]}\n")


def change(file: str, old: str, new: str) -> None:
    with open(file, encoding="utf-8") as source:
        text = source.read()
    assert text.count(old) == 1, f"{file} has not one {old!r}"
    with open(file, "w", encoding="utf-8") as target:
        target.write(text.replace(old, new))


def short_of_room(c: Controller) -> list[Upgrade]:
    """Media that the steps have to make room on: without a folder for reports, and with one line left in it."""
    bare, full = guarded(c, "no-room"), guarded(c, "little-room")
    shutil.rmtree(os.path.join(bare, "zul_results"))
    os.truncate(os.path.join(full, "zul_results", "steps-1.jsonl"), LINE)
    return [Upgrade(folder, NO_STEP_YET) for folder in (bare, full)]


# --- Recordings ----------------------------------------------------------------------------------------------


def record(recorder: Recorder, upgrade: Upgrade, busy: bool = False, card: bool = False) -> list[Recording]:
    return recorder.record(upgrade.medium, upgrade.prepare, busy, card, upgrade.meanwhile, upgrade.at_most)


def tell(c: Controller, recording: Recording, result: Result, seed: int) -> None:
    c.say(
        f"{recording.name}: {len(recording.reports)} reports, {recording.last - recording.first} writes and flushes,"
        f" {result.states} states, {len(result.bad)} bad, {result.superblocks} with the superblock torn, seed {seed},"
        f" {result.seconds:.0f} s"
    )
    for line in result.bad[:5]:
        c.say("   ", line)


def replay_all(c: Controller, recordings: list[Recording], seconds: float | None, seed: int) -> None:
    """Every state of every recording, or as many as there is time for, each recording having the same."""
    states = bad = 0
    for recording in recordings:
        result = replay(recording, seed, seconds / len(recordings) if seconds else None)
        tell(c, recording, result, seed)
        states += result.states
        bad += len(result.bad)
    c.say(f"{states} states after a power cut, {bad} bad")
    assert states > 0, "nothing was replayed"
    assert bad == 0, f"{bad} of {states} states are bad"


def expect_bad(
    c: Controller, recorder: Recorder, upgrade: Upgrade, seconds: float, seed: int, kinds: Sequence[str] = ("ext4",)
) -> None:
    """On the disk, or on each of these file systems. Recorded again where nothing is found: the system may have saved
    by itself what the medium did not, in time."""
    for _ in range(RECORDINGS):
        found = True
        for recording in record(recorder, upgrade):
            if recording.kind in kinds:
                result = replay(recording, seed, seconds, until_bad=True)
                tell(c, recording, result, seed)
                found = found and bool(result.bad)
        if found:
            return
    raise AssertionError(f"the mistake of {os.path.basename(upgrade.medium)} was not found in {RECORDINGS} recordings")


# --- States that are booted ----------------------------------------------------------------------------------


def some_states(recording: Recording, count: int, seed: int) -> list[Cut]:
    """Of every kind."""
    log = recording.open_log()
    every = cuts.others(log, recording.first, recording.last, seed)
    chance = random.Random(seed)
    kinds = ["lost", "torn", "kept"]
    return [chance.choice([cut for cut in every if cut.kind == kinds[n % 3]]) for n in range(count)]


def boot_state(c: Controller, recording: Recording, cut: Cut) -> None:
    """The controller starts from the disk as the cut left it, repairs it by itself, and works."""
    state = os.path.join(c.folder, "state.img")
    c.board.cut_power()
    make_image(recording, cut, state)
    c.board.new_disk(state)
    c.board.boot()
    c.expect_rest()
    c.expect_tool_waiting()
    assert c.board.shell("systemctl --failed --no-legend --plain") == "", "a unit has failed"
    assert not c.board.holds("dmesg | grep -E 'EXT4-fs (error|warning)'"), "the file system is damaged"
    found = parse_listing(c.board.shell(f"set -- {' '.join(recording.directories)}; {LIST_FILES}", BATCH), True)
    old, new = around(recording.reports, cut.position)
    for path in sorted(path for path in old.keys() | new.keys() if not is_of_lines(path)):
        assert found.get(path) in (old.get(path), new.get(path)), f"{path} is {found.get(path)}"
    c.say(f"{recording.name}, {cut}: boots, {len(old.keys() | new.keys())} files old or new")
    c.board.cut_power()
    c.board.new_disk()
    os.unlink(state)
