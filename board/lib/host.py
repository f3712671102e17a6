"""The computer that the board runs on: what has to be installed, and what is left behind on it."""

import os
import shutil
import signal
import subprocess
import sys
import tempfile

PROGRAMS = {
    "qemu-system-arm": "qemu-system-arm",
    "qemu-img": "qemu-utils",
    "sfdisk": "fdisk",
    "mkfs.vfat": "dosfstools",
    "mcopy": "mtools",
    "setpriv": "util-linux",
}
CANNOT_RUN_HERE = 77


def install(packages):
    """Whether Debian's packages could be installed."""
    print("installing", *packages, flush=True)
    prefix = [] if os.geteuid() == 0 else ["sudo", "-n"]
    # ipxe-qemu and the like are recommended only, and needed by no device that the board has.
    commands = [["apt-get", "update"], ["apt-get", "install", "-y", "--no-install-recommends", *packages]]
    try:
        return all(
            subprocess.run([*prefix, *command], stdout=subprocess.DEVNULL, check=False).returncode == 0
            for command in commands
        )
    except FileNotFoundError:  # no apt-get, or no sudo
        return False


def install_programs():
    """Installs what is missing of the programs that drive the board; ends with 77 where that does not work."""
    os.environ["PATH"] += ":/usr/sbin:/sbin"
    missing = sorted({package for program, package in PROGRAMS.items() if not shutil.which(program)})
    if missing and not install(missing):
        print("cannot run here: missing", *missing)
        raise SystemExit(CANNOT_RUN_HERE)


def can_show_a_window():
    """Whether the machine's screen can be a window; what it takes is installed if need be."""

    def has_windows():
        done = subprocess.run(["qemu-system-arm", "-display", "help"], capture_output=True, text=True, check=True)
        return "gtk" in done.stdout.split()

    return has_windows() or (install(["qemu-system-gui"]) and has_windows())


def temporary_folder():
    """For sockets too, whose paths have to be short."""
    return tempfile.mkdtemp(prefix="zul-board-", dir="/tmp" if os.path.isdir("/tmp") else None)


def remove_folder(folder):
    shutil.rmtree(folder, ignore_errors=True)


def end_in_order():
    """Lets a signal that ends the script run what cleans up behind it."""
    for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(number, lambda received, _: sys.exit(128 + received))
