#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Signed media in devices that do as they like while they are judged: pulled at each call, swapped, answering otherwise
when they are read again, or never. Whatever they do, the tool gets what was signed, or nothing.

Usage: devious.py PROGRAM [pulled|otherwise|silent|swapped]...   PROGRAM is zul_media_of_devious_folders

Does all four when none is named. Says what is not as it has to be, and ends with 1 then. Only in the sandbox.
"""

import os
import shutil
import signal
import subprocess
import sys
import tempfile
import time

sys.dont_write_bytecode = True

from judge import Controller, mounts, tools_medium, tree  # noqa: E402
from mediacases import BASE, BY_OWNER, CHANGED, Keys, Medium, case_of  # noqa: E402

ROOT = "/mnt/devious"
MEDIA = ROOT + "/media"
LIMIT = 60
MOST_FAULTS = 20  # then it will not come to an end
GOOD, EVIL = b"echo updated", b"echo HOSTILE"


class Devious:
    def __init__(self, controller: Controller) -> None:
        self.controller = controller
        self.faults: list[str] = []
        self.before = mounts()

    def check(self, holds: bool, fault: str) -> None:
        if not holds:
            self.faults.append(fault)

    def plug(self, name: str, case: str = "signed") -> Medium:
        shutil.rmtree(self.controller.path("devices", name), ignore_errors=True)
        return self.controller.plug(case_of(case), name)

    def start(self, name: str, **behaviour: object) -> "subprocess.Popen[bytes]":
        words = {f"ZUL_DEVICE_{key.upper()}": str(value) for key, value in behaviour.items()}
        environment = {**os.environ, **words}
        command = [self.controller.program, self.controller.root, "mount", name]
        return subprocess.Popen(command, env=environment, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)

    def judged(self, name: str, **behaviour: object) -> str:
        """What is said of the medium, behind its name."""
        said = self.start(name, **behaviour).communicate(timeout=LIMIT)[0].decode()
        return said.partition(": ")[2].rstrip("\n")

    def pull(self, name: str) -> None:
        self.controller.zul_media("unmount", name)
        self.check(mounts() == self.before, f"{name} stays mounted")

    def expect_nothing(self, when: str) -> None:
        self.check(mounts() == self.before, f"{when}: mounted: {mounts() - self.before}")
        self.check(tools_medium() == "", f"{when}: the tool has a medium")

    def expect_copy(self, name: str, medium: Medium, when: str) -> None:
        directory = self.controller.path("media", name)
        wanted = {file.path: (file.size, file.mode, file.digest) for file in medium.listed}
        self.check(tools_medium() == directory, f"{when}: the tool has not the medium")
        self.check(tree(directory) == wanted, f"{when}: not what was signed: {tree(directory)}")

    # --- What it may do -----------------------------------------------------------------------------------

    def pulled_at_each_call(self) -> int:
        medium, call = self.plug("sda1"), 0
        while (said := self.judged("sda1", goes_at=call)) != f"accepted: {BY_OWNER}" and len(self.faults) < MOST_FAULTS:
            self.check(
                said.startswith("refused: ") and said.endswith("Input/output error"), f"pulled at {call}: {said!r}"
            )
            self.expect_nothing(f"pulled at call {call}")
            self.pull("sda1")
            call += 1
        self.expect_copy("sda1", medium, "not pulled")
        self.pull("sda1")
        self.check(call > 4 * len(BASE), f"it had only {call} calls")
        return call

    def answers_otherwise(self) -> None:
        medium = self.plug("sda1")
        lies = f"{GOOD.decode()}={EVIL.decode()}"
        said = self.judged("sda1", lies=lies, lies_at=0)
        self.check(said == f"refused: update.sh: {CHANGED}", f"other bytes at once: {said!r}")
        self.expect_nothing("other bytes at once")
        self.pull("sda1")
        for times in (1, 2, 3):
            said = self.judged("sda1", lies=lies, lies_at=times)
            when = f"other bytes after {times} reads"
            self.check(said == f"accepted: {BY_OWNER}", f"{when}: {said!r}")
            self.expect_copy("sda1", medium, when)
            self.pull("sda1")

    def never_answers(self, calls: int) -> None:
        """At some of the calls. Another medium has its turn when this one is pulled."""
        for call in sorted({0, calls // 2, max(calls - 1, 0)}):
            self.plug("sda1")
            medium = self.plug("mmcblk0p1")
            hanging = self.start("sda1", stops_at=call)
            self.wait_for_stop(hanging)
            other = self.start("mmcblk0p1")
            time.sleep(0.2)
            self.check(other.poll() is None, f"silent at call {call}: the other did not wait")
            self.expect_nothing(f"silent at call {call}")
            hanging.send_signal(signal.SIGKILL)  # as the service does whose device is gone
            hanging.communicate(timeout=LIMIT)
            said = other.communicate(timeout=LIMIT)[0].decode()
            self.check(said == f"mmcblk0p1: accepted: {BY_OWNER}\n", f"silent at call {call}: the other: {said!r}")
            self.expect_copy("mmcblk0p1", medium, f"silent at call {call}: the other")
            self.pull("mmcblk0p1")
            self.pull("sda1")

    def swapped(self, calls: int) -> None:
        """For an unsigned one, while it is judged: the other has its own verdict, and nothing of the first is left."""
        for call in sorted({0, calls // 2, max(calls - 1, 0)}):
            when = f"swapped at call {call}"
            self.plug("sda1")
            judging = self.start("sda1", stops_at=call)
            self.wait_for_stop(judging)
            os.rename(self.controller.path("devices", "sda1"), self.controller.path("devices", f"swapped{call}"))
            self.plug("sda1", "unsigned")
            another = self.start("sda1")
            time.sleep(0.2)
            self.check(another.poll() is None, f"{when}: the second did not wait for the first")
            judging.send_signal(signal.SIGKILL)
            judging.communicate(timeout=LIMIT)
            said = another.communicate(timeout=LIMIT)[0].decode()
            self.check(said == "sda1: refused: no manifest\n", f"{when}: {said!r}")
            self.expect_nothing(when)
            self.pull("sda1")

    def wait_for_stop(self, process: "subprocess.Popen[bytes]") -> None:
        """Until its grandchild, the judge, stands still."""
        end = time.monotonic() + LIMIT
        while time.monotonic() < end:
            judges = [child for stage in children(process.pid) for child in children(stage)]
            if any(is_stopped(judge) for judge in judges):
                return
        self.check(False, "the judge does not stand still")


def children(process: int) -> list[int]:
    try:
        with open(f"/proc/{process}/task/{process}/children", encoding="ascii") as file:
            return [int(number) for number in file.read().split()]
    except (FileNotFoundError, ProcessLookupError):
        return []


def is_stopped(process: int) -> bool:
    try:
        with open(f"/proc/{process}/stat", encoding="utf-8") as file:
            return file.read().rpartition(") ")[2].startswith("T")
    except (FileNotFoundError, ProcessLookupError):
        return False


def main(words: list[str]) -> int:
    if not words or not os.path.exists("/mnt/.zul-sandbox"):
        sys.exit(__doc__)
    os.makedirs(MEDIA, exist_ok=True)
    subprocess.run(["mount", "-t", "tmpfs", "media", MEDIA], check=True)
    subprocess.run(["mount", "--make-shared", MEDIA], check=True)
    with tempfile.TemporaryDirectory() as folder:
        devious = Devious(Controller(words[0], ROOT, Keys(folder)))
        parts = words[1:] or ["pulled", "otherwise", "silent", "swapped"]
        calls = devious.pulled_at_each_call() if "pulled" in parts else 0
        if "otherwise" in parts:
            devious.answers_otherwise()
        if "silent" in parts:
            devious.never_answers(calls)
        if "swapped" in parts:
            devious.swapped(calls)
    for fault in devious.faults:
        print(fault)
    print(f"pulled at {calls} calls, {len(devious.faults)} faults")
    return 1 if devious.faults else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
