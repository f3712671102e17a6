# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The rooms in which the blocks of the documents are run: fresh Debian 12 systems, each in a folder of its own."""

from __future__ import annotations

import hashlib
import os
import re
import shlex
import shutil
import subprocess
from collections.abc import Iterator
from contextlib import contextmanager
from pathlib import Path

from blocks import Block

REPOSITORY = Path(__file__).resolve().parents[2]
READER = "reader"
HOME = Path("/home", READER)
CLONE = HOME / "zul_upgrade"
# Where an author has the sources' packages.
AUTHOR = "author"
# In seconds; far more than anything in a document takes, the first root for the controller's architecture included.
LIMIT = 3600
CONTROLLER = "/controller"
KEPT_ROOTS = "/var/cache/zul_upgrade-build"
# What the shell prints with the number of the line that failed.
FAILED = "[failed] "
FAILED_LINE = re.compile(rf"^(?:{re.escape(FAILED)}|/block: (?:line )?)(\d+)", re.MULTILINE)

# Answers for a reader who agrees to what apt wants to do.
AGREES = 'APT::Get::Assume-Yes "true";\n'

# Stand in for the network between the reader and the controller: its name leads to a folder.
SSH = """#!/bin/sh
# ssh controller COMMAND...
[ "$1" = controller ] || exit 255
shift
exec sudo unshare --mount --pid --fork --kill-child --mount-proc=CONTROLLER/proc chroot CONTROLLER \\
    env -i PATH=/usr/local/sbin:/usr/local/bin:/usr/sbin:/usr/bin:/sbin:/bin HOME=/root LC_ALL=C.UTF-8 \\
    sh -c "cd && $*"
"""
SCP = """#!/bin/sh
# scp FILE... controller:
while [ "$#" -gt 1 ] && [ -f "$1" ]; do
    sudo cp "$1" CONTROLLER/root/ || exit 255
    shift
done
[ "$*" = controller: ] || exit 255
"""


class Wrong(Exception):
    """A block does not do what the document promises."""

    def __init__(self, block: Block, line: int, reason: str, output: str = "") -> None:
        command = dict(block.lines).get(line, "")
        super().__init__(f"{block.document}:{line}: {command}\n    {reason}")
        self.output = output


def run(*command: str | Path) -> str:
    """Runs a command; returns all that it prints, and raises CalledProcessError when it fails."""
    ended = subprocess.run(
        command,
        check=True,
        timeout=LIMIT,
        stdin=subprocess.DEVNULL,
        stdout=subprocess.PIPE,
        stderr=subprocess.STDOUT,
        encoding="utf-8",
        errors="replace",
    )
    return ended.stdout


class Room:
    """One system. Commands in it reach nothing of this computer but its network."""

    def __init__(self, root: Path) -> None:
        self.root = root
        self.binds: list[str] = []

    @property
    def enter(self) -> list[str]:
        return [str(REPOSITORY / "scripts/in-root"), *self.binds, str(self.root)]

    def write(self, path: Path | str, text: str, mode: int = 0o644) -> None:
        file = self.root / str(path).lstrip("/")
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")
        file.chmod(mode)

    def do(self, *command: str) -> str:
        """Runs what prepares the room or looks at it, as root. Returns all that it prints."""
        return run(*self.enter, *command)

    def try_for(self, block: Block, script: str) -> str:
        """Runs what shows whether a block is right, as root. Returns all that it prints."""
        return self._tried(block, "sh", "-ec", script)

    def answer(self, command: str, user: str = READER) -> str:
        """All that a command prints at a user's terminal, however it ends."""
        self.write("/command", f"{command}\n")
        run_it = "cd && LC_ALL=C.UTF-8 exec bash /command"
        ended = subprocess.run(
            [*self.enter, "runuser", "-l", user, "-c", run_it],
            check=False,
            timeout=LIMIT,
            stdin=subprocess.DEVNULL,
            stdout=subprocess.PIPE,
            stderr=subprocess.STDOUT,
            encoding="utf-8",
            errors="replace",
        )
        return ended.stdout

    def run_block(
        self,
        block: Block,
        left_out: set[int],
        user: str = READER,
        directory: Path = Path("."),
        shell: str = "bash",
        typed: tuple[str, ...] = (),
    ) -> str:
        """Runs a block's lines but those left out, as one script, so that they share what a terminal keeps from line
        to line. Every line has the number that it has in the document, for the shell to name the one that fails. With
        `typed`, there is a terminal, at which somebody answers with these lines what is asked.
        """
        lines = enumerate(block.text.splitlines(), block.line)
        kept = ["" if number in left_out else line for number, line in lines]
        first = "set -e"
        if shell == "bash":
            first = f"set -eEo pipefail; trap 'echo \"{FAILED}$LINENO\"' ERR"
        self.write("/block", "\n".join([first, *[""] * (block.line - 2), *kept, "wait", ""]))
        command = f"cd {directory} && exec {shell} /block"
        if typed:
            answers = " ".join(shlex.quote(line) for line in typed)
            command = f"printf '%s\\n' {answers} | script -qefc {shlex.quote(command)} /dev/null"
        return self._tried(block, "runuser", "-l", user, "-c", command)

    def _tried(self, block: Block, *command: str) -> str:
        try:
            return self.do(*command)
        except subprocess.CalledProcessError as error:
            told = FAILED_LINE.search(error.output)
            number = int(told[1]) if told else block.line
            raise Wrong(block, number, f"ended with {error.returncode}", error.output) from error
        except subprocess.TimeoutExpired as error:
            output = (error.output or b"").decode(errors="replace")
            raise Wrong(block, block.line, f"does not end within {LIMIT} s", output) from error


class House:
    """All rooms of one run, in one folder that goes with it."""

    def __init__(
        self,
        folder: Path,
        archives: dict[str, Path],
        cache: Path | None = None,
        full: bool = False,
        packages: Path | None = None,
    ) -> None:
        self.folder = folder
        self.archives = archives
        self.cache = cache
        self.full = full  # whether what other tests run for every change is run here, too
        self.packages = packages  # what an author has; without it there is none
        self.rooms: dict[str, Room] = {}

    def _furnished(self, name: str, archive: str) -> Room:
        room = Room(self.folder / name)
        room.root.mkdir()
        run("tar", "--directory", room.root, "--extract", "--file", self.archives[archive])
        room.write("/etc/apt/apt.conf.d/90agrees", AGREES)
        room.write("/etc/hosts", f"127.0.0.1 localhost {os.uname().nodename}\n")
        room.do("apt-get", "-q", "update")
        self.rooms[name] = room
        return room

    def reader(self, name: str) -> Room:
        """The room of a reader with this name: an ordinary user with sudo, in a clean clone."""
        if name in self.rooms:
            return self.rooms[name]
        room = self._furnished(name, READER)
        self._user(room, READER)
        clone(room.root / str(CLONE).lstrip("/"))
        room.do("chown", "-R", f"{READER}:", str(HOME))
        return room

    def author(self) -> Room:
        """The room of an author: an ordinary user with sudo and with the packages, without the sources."""
        if AUTHOR in self.rooms:
            return self.rooms[AUTHOR]
        assert self.packages
        room = self._furnished(AUTHOR, READER)
        # With the documents that packages bring.
        room.do("rm", "/etc/dpkg/dpkg.cfg.d/99mmdebstrap")
        self._user(room, READER)
        for package in self.packages.glob("zul-*.deb"):
            if "-dbgsym_" not in package.name:
                shutil.copy(package, room.root / str(HOME).lstrip("/"))
        return room

    def _user(self, room: Room, name: str) -> None:
        room.write(f"/etc/sudoers.d/{name}", f"{name} ALL=(ALL) NOPASSWD: ALL\n", 0o440)
        room.do("useradd", "--create-home", "--shell", "/bin/bash", name)

    def controller(self) -> Room:
        """The controller, reached by the reader's ssh and scp; a 32-bit ARM system, emulated."""
        if "controller" not in self.rooms:
            self._furnished("controller", "controller")
        return self.rooms["controller"]

    def connect(self, room: Room) -> None:
        """Gives a reader the controller, and the roots for its architecture that this computer keeps."""
        room.binds += ["--bind", str(self.controller().root), CONTROLLER]
        room.binds += ["--bind", str(self.cache), KEPT_ROOTS]
        for name, text in (("ssh", SSH), ("scp", SCP)):
            room.write(f"/usr/local/bin/{name}", text.replace("CONTROLLER", CONTROLLER), 0o755)


def clone(target: Path) -> None:
    """The checkout as it is now, changes of tracked files included, and nothing that git does not know."""
    git = ["git", "-c", "safe.directory=*", "-c", "user.name=reader", "-c", "user.email=reader@localhost"]
    state = run(*git, "-C", REPOSITORY, "stash", "create").strip() or "HEAD"
    target.mkdir(parents=True)
    run(*git, "init", "--quiet", target)
    run(*git, "-C", target, "fetch", "--quiet", "--depth=1", f"file://{REPOSITORY}", state)
    run(*git, "-C", target, "checkout", "--quiet", "--detach", "FETCH_HEAD")


def sign(content: Path, key: Path) -> None:
    """As an owner signs a medium, by openssl alone; writes the public key to `key`."""
    secret, manifest = content.with_suffix(".pem"), content / "zul_install/MANIFEST"
    lines = ["#zul-manifest 1", "#serial 7"]
    for file in sorted(path for path in content.rglob("*") if path.is_file()):
        lines.append(f"#file {file.stat().st_size} 644")
        lines.append(f"{hashlib.sha256(file.read_bytes()).hexdigest()}  {file.relative_to(content)}")
    manifest.parent.mkdir()
    manifest.write_text("\n".join(lines) + "\n", encoding="utf-8")
    run("openssl", "genpkey", "-algorithm", "ed25519", "-out", secret)
    run("openssl", "pkey", "-in", secret, "-pubout", "-out", key)
    run("openssl", "pkeyutl", "-sign", "-rawin", "-inkey", secret, "-in", manifest, "-out", f"{manifest}.sig")


@contextmanager
def medium(image: Path, key: Path | None = None) -> Iterator[str]:
    """A medium with a file on it, signed where there is a place for the key; gives the name of its device."""
    content = image.with_suffix(".content")
    content.mkdir()
    (content / "file").write_text("written by the test\n", encoding="utf-8")
    if key:
        sign(content, key)
    run("mke2fs", "-q", "-t", "ext4", "-d", content, image, "8M")
    device = run("losetup", "--find", "--show", image).strip()
    try:
        yield Path(device).name
    finally:
        run("losetup", "--detach", device)
