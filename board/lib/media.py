# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""Media to plug in, made of folders."""

import os
import subprocess
import tempfile

from preview import PROGRAM

MEGABYTE = 1024 * 1024


def make_medium(folder: str, image: str, megabytes: int = 48) -> None:
    """A card as its author makes it: one FAT32 partition, filled with the contents of a folder."""
    if os.path.exists(os.path.join(folder, "zul_install", "system.ini")):
        size = f"{megabytes}M"  # smaller is possible, but whoever adds to a card on the board needs room
        subprocess.run([PROGRAM, "image", folder, "-o", image, "--size", size], stdout=subprocess.DEVNULL, check=True)
    else:  # nothing to upgrade from, so that there is no image of it
        make_drive(image, [("vfat", folder, megabytes - 1)])


def make_drive(image: str, partitions: list[tuple[str, str | None, int]]) -> None:
    """What no author makes: several partitions, other file systems than FAT, or nothing that is one. What each has on
    it, with the contents of a folder, and megabytes."""
    sizes = [megabytes for _, _, megabytes in partitions]
    with open(image, "wb") as file:
        file.truncate((1 + sum(sizes)) * MEGABYTE)
    table = "".join(f"size={megabytes}MiB, type=c\n" for megabytes in sizes)
    subprocess.run(["sfdisk", "-q", image], input=table.encode(), check=True)
    place = MEGABYTE
    for kind, folder, megabytes in partitions:
        with tempfile.NamedTemporaryFile(dir=os.path.dirname(image)) as part:
            make_file_system(part.name, kind, folder, megabytes)
            copy = ["dd", f"if={part.name}", f"of={image}", "bs=1M", f"seek={place // MEGABYTE}"]
            subprocess.run([*copy, "conv=notrunc,sparse", "status=none"], check=True)
        place += megabytes * MEGABYTE


# The first bytes of what is no medium.
BEGINNINGS = {
    "blank": b"",
    "luks": b"LUKS\xba\xbe\0\2",
    "swap": b"SWAPSPACE2".rjust(4096, b"\0"),
    "ntfs": b"\xeb\x52\x90NTFS    \0\2\x08\0\0\0\0\0\xf8\0\0".ljust(510, b"\0") + b"\x55\xaa",
}


def make_file_system(image: str, kind: str, folder: str | None, megabytes: int) -> None:
    """One without a partition table, as cameras make them. An exFAT stays empty: nothing here writes to one."""
    with open(image, "wb") as file:
        file.write(BEGINNINGS.get(kind, b""))
        file.truncate(megabytes * MEGABYTE)
    commands = {
        # Clusters that are small enough for a FAT32 of this size.
        "vfat": ["mkfs.vfat", "-F", "32", "-s", "1", "-n", "UPGRADE", "--mbr=n", image],
        "ext4": ["mke2fs", "-q", "-t", "ext4", *(["-d", folder] if folder else []), image],
        "exfat": ["mkfs.exfat", image],
    }
    if kind in commands:
        subprocess.run(commands[kind], check=True, stdout=subprocess.DEVNULL)
    if kind == "vfat" and folder:
        entries = [os.path.join(folder, name) for name in sorted(os.listdir(folder))]
        subprocess.run(["mcopy", "-s", "-i", image, *entries, "::/"], check=True)
