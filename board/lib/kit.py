# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Media of the kit: what its steps leave on the card and on the controller, whatever happens. The card is the author's
own, made and read by zul_catalogue."""

import json
import os
import shutil
import subprocess
import tempfile
from typing import Any

import mounting
import powercuts
from controller import BATCH, Controller, shows_unplug_message
from media import make_medium
from powercuts import change
from preview import PROGRAM
from recording import Recorder
from registry import EVERYDAY, FULL, scenario
from signing import Signer

HISTORY = "/var/lib/zul_step"
SERIAL = "SN-0017"

# On a card: what waits, what is done only once, what is done always.
UPDATE, SETTINGS, LOG = range(3)
NAMES = ["update", "add", "log"]
NOTHING_REPORTED = 66  # zul_catalogue's exit code


# --- The author ---------------------------------------------------------------------------------------------


def make_kit(c: Controller, name: str = "kit") -> str:
    """As the author's first folder, but for the reboot at the end."""
    folder = os.path.join(c.folder, name)
    shutil.rmtree(folder, ignore_errors=True)
    subprocess.run([PROGRAM, "new", "--kit", folder], stdout=subprocess.DEVNULL, check=True)
    change(os.path.join(folder, "zul_install", "system.ini"), "ENDGAME=true", "ENDGAME=false")
    return folder


def results(image: str) -> list[tuple[str, str, int]]:
    """What the author reads of a card that has come back: step, outcome and how often, all of this controller."""
    with tempfile.TemporaryDirectory() as folder:
        subprocess.run(["mcopy", "-s", "-i", f"{image}@@1M", "::/zul_results", folder], check=True)
        said = subprocess.run([PROGRAM, "results", "--format", "json", folder], capture_output=True, text=True)
    if said.returncode == NOTHING_REPORTED:
        return []
    assert said.returncode == 0, said.stderr
    table = json.loads(said.stdout)
    assert table["controllers"] == [SERIAL], f"of another controller: {table}"
    return [(row["name"], row["outcome"], row["runs"]) for row in table["results"]]


# --- The controller -----------------------------------------------------------------------------------------


def name_controller(c: Controller) -> None:
    c.board.shell(f"echo {SERIAL} >/etc/zul/serial; sync")
    forget_steps(c)


def forget_steps(c: Controller) -> None:
    """When the scenario has ended, besides what else it takes back."""
    taken_back = f"rm -rf /etc/zul/serial {HISTORY} /opt/zul/example*"
    c.clean_up = f"{c.clean_up} && {taken_back}" if c.clean_up else taken_back


def history(c: Controller) -> list[dict[str, Any]]:
    """What the controller keeps, a line for each step."""
    return [json.loads(line) for line in c.board.shell(f"cat {HISTORY}/history.jsonl").splitlines()]


def outcomes(c: Controller) -> list[tuple[str, str]]:
    return [(step["name"], step["outcome"]) for step in history(c)]


def run_steps(c: Controller, *rows: int) -> None:
    """Up to the request to unplug."""
    c.choose(*rows)
    c.confirm()
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)


def pull(c: Controller) -> None:
    c.pull()
    c.expect_rest()
    c.expect_link_gone()


# --- A power cut --------------------------------------------------------------------------------------------


@scenario(EVERYDAY)
def step_that_was_cut_off_is_told_on_the_card_and_the_controller(c: Controller) -> None:
    """After it nothing ran. The next start is a new batch, in which the operator repeats it."""
    folder = make_kit(c)
    shutil.copy(os.path.join(c.folder_of("waiting"), "operation.sh"), folder)
    change(os.path.join(folder, "update.sh"), "set -eu\n", "set -eu\n\nsh /mnt/upgrade/operation.sh update\n")
    image = os.path.join(c.folder, "kit.img")
    make_medium(folder, image)
    name_controller(c)
    c.plug_sd_image(image)
    c.expect_list()
    c.choose(UPDATE, SETTINGS)
    c.confirm()
    c.expect_operation("update begins")
    c.board.cut_power()
    assert results(image) == [("update", "begun", 1)], f"the card tells {results(image)}"

    c.board.power_on()
    c.board.plug_sd(image)
    c.board.wait_for_system()
    c.expect_list()
    assert outcomes(c) == [("update", "begun")], f"the controller tells {outcomes(c)}"
    assert not c.board.holds("ls /opt/zul/example*"), "something is half done, or was done afterwards"
    c.let_go("update")
    run_steps(c, UPDATE, SETTINGS)
    pull(c)
    assert outcomes(c) == [("update", "begun"), ("update", "done"), ("add", "done")], f"told: {outcomes(c)}"
    assert sorted(results(image)) == [("add", "done", 1), ("update", "done", 2)], results(image)


# --- A signed card ------------------------------------------------------------------------------------------


@scenario(FULL)
def steps_of_a_signed_card_report_to_it_where_the_owner_lets_them(c: Controller) -> None:
    """The history stays on the controller either way."""
    owner = Signer(c.folder)
    mounting.take_signed_only(c, owner, "Results=yes")
    name_controller(c)
    folder = make_kit(c)
    run_signed(c, image := owner.medium(folder))
    assert outcomes(c) == [(name, "done") for name in NAMES], f"told: {outcomes(c)}"
    assert sorted(results(image)) == sorted((name, "done", 1) for name in NAMES), results(image)
    on_card = mounting.on_the_card(image, "zul_results/steps-1.jsonl").splitlines()
    assert [json.loads(line) for line in on_card[:3]] == history(c), f"the card tells other things: {on_card[:3]}"

    c.board.shell(f"sed -i s/^Results=.*/Results=no/ {mounting.SETTINGS}")
    run_signed(c, image := owner.medium(folder))
    assert results(image) == [], f"something is on the card: {results(image)}"
    told = [("update", "done"), ("add", "already"), ("log", "failed")]  # this log is a file on the card
    assert outcomes(c)[3:] == told, f"told: {outcomes(c)[3:]}"
    mounting.expect_nothing_failed(c)


def run_signed(c: Controller, image: str) -> None:
    mark = c.mark()
    c.plug_usb_image(image)
    c.expect_list()
    mounting.expect_said(c, ["sda1: accepted: signed by owner.pub.pem"], mark)
    run_steps(c, UPDATE, SETTINGS, LOG)
    pull(c)
    mounting.expect_unit_gone(c, "sda1")


# --- Another controller's programs --------------------------------------------------------------------------

PROGRAMS = "/var/tmp/busybox"
TOOLS = """for program in awk cmp date dd grep mktemp setsid stat sync tail; do
    $program --help 2>&1 | grep -q BusyBox || exit
done
readlink /proc/$$/exe
"""
STEPS = {
    "tools": "tools",
    "update": "update",
    "add": "-o 1 add",
    "again": "-o 1 add",
    "late": "-t 2 late sleep 1000",
    "stopped": "stopped true",
    "log": "-a log",
}


@scenario(FULL)
def steps_need_no_other_programs_than_busybox_has(c: Controller) -> None:
    """Neither does the tool: all that both start is Debian's busybox, by its PATH."""
    install_busybox(c)
    c.with_service_settings(f"Environment=PATH={PROGRAMS}")
    c.clean_up = f"{c.clean_up} && rm -r {PROGRAMS}"
    name_controller(c)
    folder = make_kit(c)
    items = "".join(f'{key}="{key}@sh /mnt/upgrade/step {words}"\n' for key, words in STEPS.items())
    write(folder, "zul_install/system.ini", f'[system]\nCMD_Type="{",".join(STEPS)}"\n\n[CMD]\n{items}')
    write(folder, "tools.sh", TOOLS)
    image = os.path.join(c.folder, "busybox.img")
    make_medium(folder, image)
    c.plug_sd_image(image)
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    pull(c)
    steps = history(c)
    assert steps[0]["output"] == f"{PROGRAMS}/busybox", f"not busybox's: {steps[0]}"
    told = [("tools", "done"), ("update", "done"), ("add", "done"), ("add", "already"), ("late", "late")]
    told += [("stopped", "stopped"), ("log", "done")]
    assert outcomes(c) == told, f"told: {outcomes(c)}"
    with open(os.path.join(folder, "zul_install", "example"), encoding="utf-8") as file:
        assert c.board.shell("cat /opt/zul/example") == file.read().strip(), "the copy is not there"
    on_card = {name: outcome for name, outcome, _ in results(image)}
    assert on_card == dict(told), f"the card tells {on_card}"  # of two with one name the later


def write(folder: str, name: str, text: str) -> None:
    with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
        file.write(text)


def install_busybox(c: Controller) -> None:
    """The one with which the board starts, and a name for each of its programs."""
    read = f"gzip -dc {c.board.image}/initrd | cpio --quiet --extract --to-stdout bin/busybox"
    program = subprocess.run(read, shell=True, check=True, capture_output=True).stdout
    c.plug_usb_image(c.medium_with("no-catalogue", {"busybox": program}))
    c.board.wait_for("mountpoint /media/sda1")
    c.board.shell(
        f"mkdir {PROGRAMS} && install /media/sda1/busybox {PROGRAMS} && {PROGRAMS}/busybox --install -s {PROGRAMS}"
    )
    c.pull()
    c.board.wait_for("test ! -b /dev/sda")


# --- Power cuts at every write ------------------------------------------------------------------------------

SEED = 1


@scenario(FULL)
def power_cuts_at_every_write_of_steps_that_make_room(c: Controller) -> None:
    recorder = Recorder(c)
    recordings = []
    for upgrade in powercuts.short_of_room(c):
        for busy in (False, True):
            recordings += powercuts.record(recorder, upgrade, busy, card=not busy)
    powercuts.replay_all(c, recordings, None, SEED)


@scenario(FULL)
def power_cuts_find_every_faulty_step(c: Controller) -> None:
    """The kit with one mistake each: the replay is not always content."""
    recorder = Recorder(c)
    for name, (_, shows_on) in powercuts.FAULTY_STEPS.items():
        powercuts.expect_bad(c, recorder, powercuts.faulty_steps(c, name), 60, SEED, shows_on)
