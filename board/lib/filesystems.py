# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What a start of the controller would find on a disk: repaired as it is then, held to be consistent, and read, all
without mounting it."""

import hashlib
import os
import re
import shutil
import subprocess
from collections.abc import Callable
from dataclasses import dataclass, field

# What e2fsck may say of a disk whose power was cut: the journal is played back, what was deleted while open goes, and
# what was being shortened gets the size that it has.
# The last transaction of a journal that was being written is left out, if its last block is half; then everything is
# looked at.
EXPECTED = re.compile(
    r"recovering journal|(?:Clearing|Truncating) orphaned inode|: clean, |Setting (?:free|inode)|^$"
    r"|Journal transaction \d+ was corrupt, replay was aborted|contains a file system with errors, check forced"
    r"|: \d+/\d+ files \(.*\), \d+/\d+ blocks$"
)

LIMIT = 60  # seconds, for a program that would go round in circles


@dataclass(frozen=True)
class Version:
    """One content of a file, and its mode where the file system keeps that."""

    size: int
    checksum: str
    mode: str = ""


@dataclass
class Found:
    """What stands on a disk. Problems are of the file system itself."""

    problems: list[str] = field(default_factory=list)
    files: dict[str, str] = field(default_factory=dict)  # where the content of each can be read

    def version(self, path: str, with_mode: bool) -> Version | None:
        if path not in self.files:
            return None
        with open(self.files[path], "rb") as file:
            data = file.read()
        mode = f"{os.stat(self.files[path]).st_mode & 0o7777:o}" if with_mode else ""
        return Version(len(data), hashlib.sha256(data).hexdigest(), mode)

    def listing(self) -> dict[str, Version]:
        return {path: version for path in self.files if (version := self.version(path, True))}

    def begins_with(self, path: str, version: Version) -> bool:
        """Whether a file is this version with something behind it."""
        with open(self.files[path], "rb") as file:
            return hashlib.sha256(file.read(version.size)).hexdigest() == version.checksum


def run(*command: str) -> subprocess.CompletedProcess[str]:
    return subprocess.run(
        command,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        text=True,
        errors="replace",
        check=False,
        timeout=LIMIT,
    )


def read_tree(folder: str, prefix: str) -> dict[str, str]:
    files = {}
    for place, _, names in os.walk(folder):
        for name in names:
            path = os.path.join(place, name)
            if os.path.isfile(path) and not os.path.islink(path):
                files[prefix + os.path.relpath(path, folder)] = path
    return files


class Ext4:
    """The controller's disk: only what a start repairs by itself may be wrong, and nothing after that."""

    keeps_modes = True

    def __init__(self, folder: str, directories: list[str]) -> None:
        self._undo = os.path.join(folder, "undo")
        self._tree = os.path.join(folder, "tree")
        self._directories = directories

    def look(self, image: str, judge: Callable[[Found], list[str]]) -> list[str]:
        """The problems of the file system, or what `judge` makes of its files. The image is as before then."""
        shutil.rmtree(self._tree, ignore_errors=True)
        os.mkdir(self._tree)
        if os.path.exists(self._undo):
            os.unlink(self._undo)
        try:
            found = self._repair(image)
            if not found.problems:
                self._read(image, found)
            return found.problems or judge(found)
        finally:
            if os.path.exists(self._undo):
                undone = run("e2undo", self._undo, image)
                # Without a header when nothing was written, as of a disk that could not even be opened.
                if undone.returncode and "Corrupt undo file header" not in undone.stdout:
                    raise RuntimeError(f"e2undo: {undone.stdout}")

    def _repair(self, image: str) -> Found:
        start = run("e2fsck", "-p", "-z", self._undo, image)
        said = re.sub(r"Overwriting existing filesystem;.*\n.*e2undo.*\n", "", start.stdout)
        odd = [line for line in said.splitlines() if not EXPECTED.search(line)]
        if start.returncode > 1 or odd:
            return Found([f"e2fsck -p ends with {start.returncode}: {said.strip()}"])
        check = run("e2fsck", "-fn", image)
        return Found([f"e2fsck -fn ends with {check.returncode}: {check.stdout.strip()}"] if check.returncode else [])

    def _read(self, image: str, found: Found) -> None:
        for directory in self._directories:
            target = self._tree + directory
            os.makedirs(os.path.dirname(target), exist_ok=True)
            read = run("debugfs", "-R", f"rdump {directory} {os.path.dirname(target)}", image)
            if len(read.stdout.splitlines()) > 1:  # beyond its version
                found.problems.append(f"debugfs: {read.stdout.strip()}")
            found.files.update(read_tree(target, directory + "/"))


class Fat:
    """A card or a drive: it has no journal, so that a cut may leave it in need of a repair."""

    keeps_modes = False

    def __init__(self, folder: str) -> None:
        self._copy = os.path.join(folder, "copy")
        self._tree = os.path.join(folder, "tree")

    def look(self, image: str, judge: Callable[[Found], list[str]]) -> list[str]:
        """What `judge` makes of it as it is, and after a repair. The image is as before then."""
        problems = [f"before a repair: {problem}" for problem in judge(self._read(image))]
        run("cp", "--sparse=always", image, self._copy)
        repair = run("fsck.fat", "-a", self._copy)
        if repair.returncode > 1:
            return [*problems, f"fsck.fat -a ends with {repair.returncode}: {repair.stdout.strip()}"]
        check = run("fsck.fat", "-n", self._copy)
        if check.returncode:
            return [*problems, f"fsck.fat -n ends with {check.returncode}: {check.stdout.strip()}"]
        return problems + [f"after a repair: {problem}" for problem in judge(self._read(self._copy))]

    def _read(self, image: str) -> Found:
        """As on a controller, a file that cannot be read keeps nobody from reading the others."""
        if run("mcopy", "-s", "-n", "-m", "-i", image, "::/", self._empty_tree()).returncode:
            self._read_each(image, "/", self._empty_tree())  # that has stopped at the first of them
        return Found([], read_tree(self._tree, "/"))

    def _read_each(self, image: str, folder: str, target: str) -> None:
        for line in run("mdir", "-b", "-i", image, f"::{folder}").stdout.splitlines():
            path = line.removeprefix("::")
            if not path.startswith(folder):
                continue  # what it has to say of a folder that cannot be read
            copy = os.path.join(target, os.path.basename(path.rstrip("/")))
            if path.endswith("/"):
                os.mkdir(copy)
                self._read_each(image, path, copy)
            else:
                run("mcopy", "-n", "-m", "-i", image, f"::{path}", copy)

    def _empty_tree(self) -> str:
        shutil.rmtree(self._tree, ignore_errors=True)
        os.mkdir(self._tree)
        return self._tree
