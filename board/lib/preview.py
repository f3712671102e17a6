# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What zul_catalogue draws of a medium on this computer: the screens that its author takes for the controller's."""

import os
import subprocess

from screen import Screen

SOURCE = os.path.join(os.path.dirname(os.path.realpath(__file__)), "..", "..")
PROGRAM = os.path.join(SOURCE, "build/release/catalogue/zul_catalogue")
BUILT_IN = "en"


def build_program() -> None:
    """Of this checkout, where ./test has it, too: when that has been built nothing is left to do."""
    for command in ("--preset release", "--build --preset release --target zul_catalogue"):
        done = subprocess.run(
            ["cmake", *command.split()], cwd=SOURCE, stdout=subprocess.PIPE, stderr=subprocess.STDOUT, check=False
        )
        if done.returncode:
            raise SystemExit(done.stdout.decode(errors="replace") + "zul_catalogue cannot be built")


class Preview:
    """Its pictures of one medium in one language, by what they show: list, selected, question, start, running,
    finished, details, abort."""

    def __init__(self, medium: str, mounted_at: str, language: str, folder: str) -> None:
        """The medium's folder, and where the pictures go."""
        where = ["--mounted-at", mounted_at, "--language", language, "-o", folder]
        subprocess.run([PROGRAM, "preview", medium, *where], stdout=subprocess.DEVNULL, check=True)
        names = [name for name in os.listdir(folder) if name[0].isdigit()]
        self.files = {name[3:].removesuffix(".png"): os.path.join(folder, name) for name in names}
        self.screens: dict[str, Screen] = {}

    def screen(self, name: str) -> Screen:
        if name not in self.screens:
            self.screens[name] = Screen(self.files[name])
        return self.screens[name]
