#!/usr/bin/env python3
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Has zul_media judge the media of mediacases.py, as folders, and looks at what becomes of each.

Usage: judge.py PROGRAM ROOT VERDICT|CASE...      VERDICT is accepted, refused, mounted or all
       judge.py PROGRAM ROOT --plug NAME CASE     one medium, under this name; it stays plugged in

PROGRAM is zul_media_of_folders, ROOT the folder that has everything of the controller; ROOT/media has to be on another
mount than ROOT/run. What is refused stays plugged in. Says what is not as it has to be, and ends with 1 then. Only in
the sandbox.
"""

import os
import shutil
import stat
import subprocess
import sys
import tempfile

sys.dont_write_bytecode = True

import mediacases  # noqa: E402
from mediacases import ACCEPTED, MOUNTED, REFUSED, Case, Keys, Medium  # noqa: E402

EXIT_CODES = {ACCEPTED: 0, REFUSED: 1, MOUNTED: 0}
READ_ONLY_COPY = {"ro", "nosuid", "nodev"}
RESULTS_OPTIONS = {"rw", "nosuid", "nodev", "noexec", "nosymfollow"}
Mount = tuple[str, str, str]  # directory, source, options


def mounts() -> set[Mount]:
    found = set()
    with open("/proc/self/mountinfo", encoding="utf-8") as lines:
        for line in lines:
            fields, rest = line.split(" - ")
            found.add((fields.split()[4], rest.split()[1], fields.split()[5]))
    return found


def tools_medium() -> str:
    """What the tool takes for the medium: the last of what df lists."""
    lines = subprocess.run(["df"], stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, check=False).stdout.decode()
    media_listed = [line.split()[-1] for line in lines.splitlines() if "/dev/sd" in line or "/dev/mmc" in line]
    return media_listed[-1] if media_listed else ""


def device_name(number: int) -> str:
    """sda1, sdb1 ... sdz1, sdaa1 ..."""
    letters = ""
    number += 1
    while number > 0:
        number, letter = divmod(number - 1, 26)
        letters = chr(ord("a") + letter) + letters
    return f"sd{letters}1"


def tree(folder: str) -> dict[bytes, tuple[int, int, str]]:
    """Size, permissions and sum of every file below, and what is neither file nor folder as such."""
    found = {}
    top = os.fsencode(folder)
    for path, _, files in os.walk(top):
        for file in files:
            status = os.lstat(os.path.join(path, file))
            name = os.path.relpath(os.path.join(path, file), top)
            data = mediacases.contents(os.path.join(path, file)) if stat.S_ISREG(status.st_mode) else b"no file"
            found[name] = (status.st_size, stat.S_IMODE(status.st_mode), mediacases.digest_of(data))
    return found


class Controller:
    def __init__(self, program: str, root: str, keys: Keys) -> None:
        self.program = program
        self.root = root
        self.keys = keys
        for folder in ("media", "run", "devices"):
            os.makedirs(os.path.join(root, folder), exist_ok=True)

    def path(self, *names: str) -> str:
        return os.path.join(self.root, *names)

    def zul_media(self, *words: str) -> tuple[int, str]:
        done = subprocess.run(
            [self.program, self.root, *words],
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            check=False,
            timeout=300,
        )
        return done.returncode, done.stdout.decode("utf-8", "backslashreplace")

    def plug(self, case: Case, name: str) -> Medium:
        medium = Medium(self.path("devices", name), self.keys)
        case.make(medium)
        for node, (kind, major, minor) in medium.nodes.items():
            os.mknod(medium.path(node), kind | 0o600, os.makedev(major, minor))
        medium.install(self.path("media.conf"), self.path("keys.d"), self.path("state", "serial"))
        return medium

    def faults(self, case: Case, name: str, keep: bool) -> list[str]:
        """What is not as it has to be."""
        medium = self.plug(case, name)
        before, last = mounts(), tools_medium()
        code, said = self.zul_media("mount", name)
        found = []
        wanted = case.said(name, self.path("media.conf"), self.path("keys.d"), self.path("state", "serial"))
        if not mediacases.is_said(wanted, said):
            found.append(f"it says {said!r}, and not {wanted!r}")
        if code != EXIT_CODES[case.verdict]:
            found.append(f"it ends with {code}")
        remembered = self.path("state", "serial")
        serial = mediacases.contents(remembered) if os.path.exists(remembered) else None
        if serial != (case.serial_after or medium.serial):
            found.append(f"the serial is {serial!r}")
        if case.verdict == REFUSED:
            if mounts() != before:
                found.append(f"mounted: {mounts() - before}")
            if tools_medium() != last:
                found.append("the tool has another medium")
        else:
            found += self.faults_of_mounted(case, medium, name, before)
        if case.verdict != REFUSED and not keep:
            self.zul_media("unmount", name)
            if mounts() != before:
                found.append("it stays mounted")
            shutil.rmtree(os.fsencode(medium.folder))
        return found

    def faults_of_mounted(self, case: Case, medium: Medium, name: str, before: set[Mount]) -> list[str]:
        found = []
        directory = self.path("media", name)
        new = {mount[0]: mount for mount in mounts() - before}
        places = {directory} | ({directory + "/zul_results"} if case.results else set())
        if set(new) != places:
            return [f"mounted on {sorted(new)}"]
        if new[directory][1] != f"/dev/{name}" or tools_medium() != directory:
            found.append("the tool has another medium")
        if case.verdict == MOUNTED:
            return found
        if not READ_ONLY_COPY <= set(new[directory][2].split(",")):
            found.append(f"the copy is mounted {new[directory][2]}")
        if case.results and not RESULTS_OPTIONS <= set(new[directory + "/zul_results"][2].split(",")):
            found.append(f"the results are mounted {new[directory + '/zul_results'][2]}")
        there = tree(directory)
        if case.results:
            there = {path: what for path, what in there.items() if not path.startswith(b"zul_results/")}
        if there != {file.path: (file.size, file.mode, file.digest) for file in medium.listed}:
            found.append(f"in the copy: {sorted(there)}")
        return found


def chosen_of(words: list[str]) -> list[Case]:
    there = mediacases.cases_on("ext4" if may_make_devices() else "folder")
    verdicts = {"mounted": MOUNTED, "accepted": ACCEPTED, "refused": REFUSED}
    wanted = {verdicts.get(word, word) for word in words}
    cases = [case for case in there if {case.name, case.verdict, "all"} & wanted]
    if unknown := wanted - {"all"} - {word for case in cases for word in (case.name, case.verdict)}:
        sys.exit(f"judge.py: no such media here: {' '.join(sorted(unknown))}")
    return cases


def may_make_devices() -> bool:
    with tempfile.TemporaryDirectory() as folder:
        try:
            os.mknod(os.path.join(folder, "null"), stat.S_IFCHR | 0o600, os.makedev(1, 3))
        except PermissionError:
            return False
    return True


def main(words: list[str]) -> int:
    if len(words) < 3:
        sys.exit(__doc__)
    if not os.path.exists("/mnt/.zul-sandbox"):
        sys.exit("judge.py: not in a sandbox")
    program, root, *rest = words
    name = rest[1] if rest[0] == "--plug" else ""
    chosen = chosen_of(rest[2:] if name else rest)
    failed = 0
    with tempfile.TemporaryDirectory() as folder:
        controller = Controller(program, root, Keys(folder))
        for number, case in enumerate(chosen):
            for fault in controller.faults(case, name or device_name(number), bool(name)):
                print(f"{case.name}: {fault}")
                failed += 1
    print(f"{len(chosen)} media, {failed} faults")
    return 1 if failed else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
