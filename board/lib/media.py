# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Media to plug in, made of folders."""

import os
import subprocess


def make_medium(folder: str, image: str, megabytes: int = 48) -> None:
    """A medium as one buys it: one FAT32 partition, filled with the contents of a folder."""
    start = 1024 * 1024
    with open(image, "wb") as file:
        file.truncate(megabytes * 1024 * 1024)
    subprocess.run(["sfdisk", "-q", image], input=b"start=2048, type=c\n", check=True)
    size = (megabytes - 1) * 1024
    subprocess.run(
        ["mkfs.vfat", "-F", "32", "-s", "1", "-n", "UPGRADE", "--offset", "2048", image, str(size)],
        check=True,
        stdout=subprocess.DEVNULL,
    )
    entries = [os.path.join(folder, name) for name in sorted(os.listdir(folder))]
    subprocess.run(["mcopy", "-s", "-i", f"{image}@@{start}", *entries, "::/"], check=True)
