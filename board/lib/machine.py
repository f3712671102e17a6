# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""The virtual board as a machine, all from outside: power, what hangs on it, and what is plugged in."""

import contextlib
import errno
import fcntl
import json
import os
import subprocess
from collections.abc import Callable, Sequence

from blockserver import BlockServer
from console import COMMAND_LIMIT, Console
from monitor import Monitor
from screen import HEIGHT, WIDTH, Screen
from waiting import wait_until

# From power to a system that has started everything: half a minute on an idle computer, much more on a busy one.
START_LIMIT = 1200
TABLET_MAXIMUM = 0x7FFF


# Behind the file system of a recorded disk.
ROOM_FOR_MARKS = 1024 * 1024


def logged(node: dict[str, object], log: str, name: str) -> dict[str, object]:
    """A block device that is written to as it would be, with every write and flush in a log."""
    return {
        "driver": "blklogwrites",
        "node-name": name,
        "file": node,
        "log": {"driver": "file", "filename": log},
        "log-sector-size": 512,
    }


class Machine:
    """The board. Power is off until boot()."""

    monitor: Monitor  # both from the first power-on on
    console: Console

    def __init__(self, image: str, folder: str, display: Sequence[str] = ()) -> None:
        self.image = image
        self.folder = folder
        self.display = list(display) or ["-display", "none"]
        self.process: subprocess.Popen[bytes] | None = None
        self.events_at_start = 0  # how many there had been when the system had started
        self.overlay = os.path.join(folder, "disk.qcow2")
        self.disk_log: str | None = None  # where the disk's writes are recorded, if they are
        self.plugged_usb: str | None = None
        self.pulled_usb: list[str] = []  # those that the machine may still have
        self.usb_count = 0
        self.card_count = 0
        # Other builds forget old images, but none that is locked.
        self.image_in_use = os.open(image, os.O_RDONLY)
        fcntl.flock(self.image_in_use, fcntl.LOCK_SH)
        if not os.path.exists(self.overlay):
            self.new_disk()

    # --- Power ------------------------------------------------------------------------------------------

    def new_disk(self, base: str | None = None) -> None:
        """A disk as it left the factory, or one with the contents of a file."""
        base = base or f"{self.image}/disk.img"
        subprocess.run(["qemu-img", "create", "-q", "-f", "qcow2", "-F", "raw", "-b", base, self.overlay], check=True)
        self.disk_log = None

    def new_recorded_disk(self) -> str:
        """The same, with its writes and flushes in a log from the next power-on on. Returns the log's file. Behind the
        file system there is room for marks."""
        self.new_disk()
        size = os.path.getsize(f"{self.image}/disk.img") + ROOM_FOR_MARKS
        subprocess.run(["qemu-img", "resize", "-q", self.overlay, str(size)], check=True)
        self.disk_log = self._new_log("disk")
        return self.disk_log

    def _disk(self) -> list[str]:
        """Killing the machine's process loses what only the system on it knows. What has been written to the disk
        survives in this computer's memory, flushed or not: what a missing flush costs is shown by a recording."""
        if self.disk_log is None:
            drive = f"if=none,id=disk,format=qcow2,file={self.overlay},cache=writeback"
            return ["-drive", drive, "-device", "virtio-blk-pci,drive=disk"]
        file = {"driver": "file", "filename": self.overlay}
        disk: dict[str, object] = {"driver": "qcow2", "file": file}
        # A queue with room for one request: what the log has in an order has then happened in that order, and what
        # stands before a flush was complete when the flush was asked for.
        return [
            "-blockdev", json.dumps(logged(disk, self.disk_log, "disk")),
            "-device", "virtio-blk-pci,drive=disk,queue-size=4,indirect_desc=off",
        ]  # fmt: skip

    def _command_line(self) -> list[str]:
        monitor, console = self._socket("monitor"), self._socket("console")
        return [
            "setpriv", "--pdeathsig", "KILL", "nice", "-n", os.environ.get("ZUL_BOARD_NICE", "5"),
            "qemu-system-arm", "-M", "virt,highmem=off", "-cpu", "cortex-a15", "-smp", "2", "-m", "768",
            "-accel", "tcg,thread=multi", "-nodefaults", "-no-user-config",
            "-kernel", f"{self.image}/kernel", "-initrd", f"{self.image}/initrd",
            "-append", "console=ttyAMA0 quiet loglevel=1 systemd.show_status=0 vt.global_cursor_default=0 "
            "consoleblank=0 net.ifnames=0 panic=1",
            *self._disk(), "-device", "virtio-rng-pci",
            "-device", f"virtio-gpu-pci,xres={WIDTH},yres={HEIGHT}", "-device", "virtio-tablet-pci",
            "-device", "qemu-xhci,id=usb", "-device", "sdhci-pci",
            "-drive", "if=none,id=card", "-device", "sd-card,id=slot,drive=card",
            "-serial", f"unix:{console},server=on,wait=off", "-qmp", f"unix:{monitor},server=on,wait=off",
            *self.display,
        ]  # fmt: skip

    def _socket(self, name: str) -> str:
        return os.path.join(self.folder, name)

    def power_on(self) -> None:
        for name in ("monitor", "console"):
            if os.path.exists(self._socket(name)):
                os.unlink(self._socket(name))
        with open(os.path.join(self.folder, "qemu.log"), "ab") as log:
            self.process = subprocess.Popen(
                self._command_line(), stdin=subprocess.DEVNULL, stdout=log, stderr=log, start_new_session=True
            )
        self.monitor = Monitor(self._socket("monitor"))
        self.console = Console(self._socket("console"), os.path.join(self.folder, "console.log"))
        self.plugged_usb = None
        self.pulled_usb = []

    def boot(self, limit: float = START_LIMIT) -> None:
        """Power on, and wait for the system to have started everything."""
        self.power_on()
        self.wait_for_system(limit)

    def wait_for_system(self, limit: float = START_LIMIT) -> None:
        self.console.wait_for_shell(limit)
        wait_until(
            lambda: self.console.run("systemctl is-system-running", limit)[1].strip() in ("running", "degraded"),
            limit,
            "the system has started",
        )
        self.wait_for("systemctl is-active board-touchscreen", limit)
        self.events_at_start = self.monitor.count()

    def is_restarting(self) -> bool:
        """Whether there was a reset that nobody has waited for yet."""
        return self.monitor.happened("RESET", self.events_at_start) > 0

    def has_ended(self) -> bool:
        """Whether it did so by itself."""
        return self.process is not None and self.process.poll() is not None

    def kill(self) -> None:
        """Ends the machine's process, and leaves the lines to it open."""
        if self.process is not None:
            self.process.kill()
            self.process.wait()

    def cut_power(self) -> None:
        """Without warning: the machine's process is killed."""
        if self.process is None:
            return
        self.kill()
        self.process = None
        self.console.read_rest()
        self.monitor.close()
        self.console.close()

    def wait_for_reset(self, limit: float, since: int | None = None) -> None:
        """`since` is the count of events at which a reset was still to come; now, when it is not given."""
        first = self.monitor.count() if since is None else since
        wait_until(lambda: self.monitor.happened("RESET", first), limit, "the machine is reset")

    # --- Serial line ------------------------------------------------------------------------------------

    def shell(self, command: str, limit: float = COMMAND_LIMIT) -> str:
        """What a command printed. An exit code other than 0 is an error."""
        code, output = self.console.run(command, limit)
        if code != 0:
            raise RuntimeError(f"exit code {code} of: {command}\n{output}")
        return output.strip()

    def start(self, command: str) -> None:
        """In the background, and not as a job of the shell, which would tell of its end in between."""
        self.shell(f"( ( {command} ) >/dev/null 2>&1 & )")

    def holds(self, command: str, limit: float = COMMAND_LIMIT) -> bool:
        return self.console.run(command, limit)[0] == 0

    def wait_for(self, command: str, limit: float = COMMAND_LIMIT) -> None:
        wait_until(lambda: self.holds(command, limit), limit, command)

    # --- Screen and touch -------------------------------------------------------------------------------

    def screen(self) -> Screen:
        file = os.path.join(self.folder, "screen.ppm")
        self.monitor.command("screendump", filename=file)
        return Screen(file)

    def photograph(self, file: str) -> None:
        self.monitor.command("screendump", filename=os.path.abspath(file), format="png")

    def wait_for_screen(self, condition: Callable[[Screen], bool], limit: float, what: str) -> Screen:
        """Waits for a picture for which the condition is true, and returns it."""

        def look() -> Screen | None:
            picture = self.screen()
            return picture if condition(picture) else None

        return wait_until(look, limit, what)

    def tap(self, x: int, y: int) -> None:
        self._finger(x, y, True)
        self._finger(x, y, False)

    def _finger(self, x: int, y: int, down: bool) -> None:
        def axis(name: str, value: int, size: int) -> dict[str, object]:
            return {"type": "abs", "data": {"axis": name, "value": round(value * TABLET_MAXIMUM / (size - 1))}}

        button = {"type": "btn", "data": {"down": down, "button": "left"}}
        events = [axis("x", x, WIDTH), axis("y", y, HEIGHT), button]
        self.monitor.command("input-send-event", events=events)

    # --- Media ------------------------------------------------------------------------------------------

    def plug_sd(self, image: str) -> None:
        self.monitor.command("blockdev-change-medium", device="card", filename=image, format="raw")

    def plug_recorded_sd(self, image: str) -> str:
        """The same, with what is written to it in a log. Returns the log's file."""
        self.card_count += 1
        name = f"card{self.card_count}"
        log = self._new_log(name)
        self.monitor.command("blockdev-add", **logged(self._medium(image), log, name))
        self.monitor.command("blockdev-insert-medium", id="slot", node_name=name)
        return log

    def unplug_sd(self) -> None:
        self.monitor.command("eject", device="card", force=True)

    def plug_usb(self, image: str, unreadable: Sequence[int] = ()) -> None:
        """A drive whose sectors of these numbers cannot be read, if any."""
        file = self._medium(image)
        if unreadable:
            errors = [{"event": "none", "errno": errno.EIO, "sector": sector} for sector in unreadable]
            file = {"driver": "blkdebug", "image": file, "inject-error": errors}
        self._plug_usb_node({"driver": "raw", "file": file})

    def plug_locked_usb(self, image: str) -> None:
        """A drive that takes no writes, as a card reader with a locked card."""
        locked: dict[str, object] = {"read-only": True}
        file = {**self._medium(image), **locked}
        self._plug_usb_node({"driver": "raw", "file": file, **locked})

    def plug_recorded_usb(self, image: str) -> str:
        """The same, with what is written to it in a log. Returns the log's file."""
        log = self._new_log(f"usb{self.usb_count + 1}")
        self._plug_usb_node(logged(self._medium(image), log, ""))
        return log

    def plug_usb_server(self, server: BlockServer) -> None:
        """A drive whose answers somebody else gives."""
        self._plug_usb_node({"driver": "raw", "file": server.node()})

    def _new_log(self, name: str) -> str:
        log = os.path.join(self.folder, name + ".log")
        open(log, "wb").close()
        return log

    @staticmethod
    def _medium(image: str) -> dict[str, object]:
        return {"driver": "file", "filename": image, "locking": "off"}  # a pulled drive may still have it open

    def _plug_usb_node(self, node: dict[str, object]) -> None:
        self.usb_count += 1
        name = f"stick{self.usb_count}"
        self._forget_pulled_drives()
        arguments: dict[str, object] = {**node, "node-name": name}
        self.monitor.command("blockdev-add", **arguments)
        self.monitor.command("device_add", driver="usb-storage", id=f"{name}-drive", drive=name, removable=True)
        self.plugged_usb = name

    def unplug_usb(self) -> None:
        """The system sees it at once; the machine itself lets go of the drive when it likes."""
        assert self.plugged_usb, "no drive is plugged in"
        name, self.plugged_usb = self.plugged_usb, None
        self.monitor.command("device_del", id=f"{name}-drive")
        self.pulled_usb.append(name)

    def take_card_out(self) -> None:
        """Of the card reader that is plugged in, and stays."""
        self.monitor.command("blockdev-open-tray", id=self._reader(), force=True)
        self.monitor.command("blockdev-remove-medium", id=self._reader())

    def put_card_in(self, image: str) -> None:
        """Into the same reader."""
        self.card_count += 1
        name = f"card{self.card_count}"
        self.monitor.command("blockdev-add", **{"driver": "raw", "file": self._medium(image), "node-name": name})
        self.monitor.command("blockdev-insert-medium", id=self._reader(), node_name=name)
        self.monitor.command("blockdev-close-tray", id=self._reader())

    def _reader(self) -> str:
        """The disk within the USB drive, by the machine's own name."""
        return f"/machine/peripheral/{self.plugged_usb}-drive/{self.plugged_usb}-drive.0/legacy[0]"

    def _forget_pulled_drives(self) -> None:
        for name in list(self.pulled_usb):
            with contextlib.suppress(RuntimeError):  # still in use: the next time, then
                self.monitor.command("blockdev-del", node_name=name)
                self.pulled_usb.remove(name)
