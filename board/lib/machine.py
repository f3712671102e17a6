"""The virtual board as a machine: power, serial console, screen, touch and media, all from outside.

Everything that waits takes a limit in seconds and raises Timeout when it is over. How long things take depends on
how fast the emulation is, so the limits are generous and nothing sleeps for a fixed time before it looks.
"""

import contextlib
import json
import os
import re
import select
import shutil
import signal
import socket
import subprocess
import sys
import tempfile
import time

PAUSE_BETWEEN_LOOKS = 0.2
# From power to a system that has started everything: half a minute on an idle computer, much more on a busy one.
START_LIMIT = 1200
COMMAND_LIMIT = 300
INTERRUPT_LIMIT = 60
TABLET_MAXIMUM = 0x7FFF
WIDTH, HEIGHT = 800, 480


class Timeout(Exception):
    """A condition did not come true within its limit."""


def wait_until(condition, limit, what):
    """Returns the condition's value as soon as it is true."""
    end = time.monotonic() + limit
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Timeout(f"not within {limit} s: {what}")
        time.sleep(PAUSE_BETWEEN_LOOKS)


def connect(path, limit=30):
    def attempt():
        connection = socket.socket(socket.AF_UNIX)
        try:
            connection.connect(path)
            return connection
        except (FileNotFoundError, ConnectionRefusedError):
            connection.close()
            return None

    return wait_until(attempt, limit, f"connection to {os.path.basename(path)}")


class Monitor:
    """The machine protocol."""

    def __init__(self, path):
        self.connection = connect(path)
        self.lines = self.connection.makefile("rw", encoding="utf-8")
        self.events = []
        self._read()
        self.command("qmp_capabilities")

    def _read(self):
        line = self.lines.readline()
        if not line:
            raise ConnectionError("the machine has ended")
        return json.loads(line)

    def command(self, name, **arguments):
        message = {"execute": name}
        if arguments:
            message["arguments"] = {key.replace("_", "-"): value for key, value in arguments.items()}
        self.lines.write(json.dumps(message) + "\n")
        self.lines.flush()
        while True:
            answer = self._read()
            if "event" in answer:
                self.events.append(answer)
            elif "error" in answer:
                raise RuntimeError(f"{name}: {answer['error']['desc']}")
            else:
                return answer["return"]

    def count(self):
        """How many events there have been so far."""
        self.command("query-status")
        return len(self.events)

    def happened(self, event, since=0):
        """How often an event has happened after the first `since` events."""
        self.command("query-status")
        return sum(1 for entry in self.events[since:] if entry["event"] == event)

    def close(self):
        with contextlib.suppress(BrokenPipeError):  # what was still to be said to a machine that has ended
            self.lines.close()
        self.connection.close()


class Console:
    """A root shell on the serial line. What comes over it is kept in a file as well."""

    def __init__(self, path, log):
        self.connection = connect(path)
        self.connection.setblocking(False)
        self.log = open(log, "ab", buffering=0)
        self.text = ""
        self.count = 0
        self.is_at_work = False  # with a command that was given up

    def _receive(self):
        try:
            data = self.connection.recv(65536)
        except BlockingIOError:
            return
        if not data:
            raise ConnectionError("the serial line is closed")
        self.log.write(data)
        self.text += data.decode("utf-8", "replace").replace("\r", "")

    def _send(self, text):
        data = text.encode()
        while data:
            try:
                data = data[self.connection.send(data) :]
            except BlockingIOError:
                time.sleep(PAUSE_BETWEEN_LOOKS)

    def _wait_for(self, pattern, limit, what):
        """Looks whenever something comes: the line holds a few hundred bytes, and stands still when it is full."""
        end = time.monotonic() + limit
        while True:
            self._receive()
            found = re.search(pattern, self.text)
            if found:
                return found
            if time.monotonic() > end:
                raise Timeout(f"not within {limit} s: {what}")
            select.select([self.connection], [], [], PAUSE_BETWEEN_LOOKS)

    def wait_for_shell(self, limit):
        """Returns when the shell of a new start says that it is there. Nothing is typed before: what the serial
        line receives while nobody reads it can block it for good."""
        self._wait_for("console ready\n", limit, "a shell on the serial line")
        self.is_at_work = False

    def run(self, command, limit=COMMAND_LIMIT):
        """Runs a command; returns its exit code and what it printed. One that does not end within the limit is
        interrupted when the next one comes."""
        if self.is_at_work:
            self._interrupt()
        self.is_at_work = True
        self._type(f"{{ {command}\n}} </dev/null 2>&1; echo \"<$?=$((1000 + {self.count + 1}))>\"\n")
        end = self._wait_for(rf"<(\d+)={1000 + self.count}>\n", limit, f"end of: {command}")
        self.is_at_work = False
        return int(end.group(1)), self.text[: end.start()]

    def _type(self, text):
        self.count += 1
        self.text = ""
        self._send(text)

    def _interrupt(self):
        """Returns when the shell listens again."""
        self._type(f"\x03\necho \"<listens=$((1000 + {self.count + 1}))>\"\n")
        self._wait_for(f"<listens={1000 + self.count}>\n", INTERRUPT_LIMIT, "the shell after an interrupted command")

    def wait_for_text(self, pattern, limit):
        """Everything that has come since the last command, once the pattern is in it."""
        self._wait_for(pattern, limit, f"on the serial line: {pattern}")
        return self.text

    def read_rest(self):
        """What has come before the machine ended."""
        try:
            while True:
                self._receive()
                select.select([self.connection], [], [], PAUSE_BETWEEN_LOOKS)
        except ConnectionError:
            pass

    def close(self):
        self.connection.close()
        self.log.close()


class Screen:
    """One picture of the screen."""

    def __init__(self, file):
        with open(file, "rb") as picture:
            header = picture.readline() + picture.readline() + picture.readline()
            self.width, self.height = map(int, header.split()[1:3])
            self.pixels = picture.read()

    def at(self, x, y):
        offset = 3 * (y * self.width + x)
        return tuple(self.pixels[offset : offset + 3])

    def is_near(self, x, y, colour, tolerance=8):
        return all(abs(a - b) <= tolerance for a, b in zip(self.at(x, y), colour))

    def share_of(self, colour, x, y, width, height):
        """How much of a rectangle has the colour, 0 to 1."""
        hits = sum(
            self.is_near(column, line, colour)
            for line in range(y, y + height, 2)
            for column in range(x, x + width, 2)
        )
        return hits / (((height + 1) // 2) * ((width + 1) // 2))


class Machine:
    """The board. Power is off until boot()."""

    def __init__(self, image, folder, display=()):
        self.image = image
        self.folder = folder
        self.display = list(display) or ["-display", "none"]
        self.process = None
        self.monitor = None
        self.console = None
        self.events_at_start = 0  # how many there had been when the system had started
        self.overlay = os.path.join(folder, "disk.qcow2")
        self.plugged_usb = None
        self.pulled_usb = []  # those that the machine may still have
        self.usb_count = 0
        if not os.path.exists(self.overlay):
            self.new_disk()

    # --- Power ------------------------------------------------------------------------------------------

    def new_disk(self):
        """A disk as it left the factory."""
        subprocess.run(
            ["qemu-img", "create", "-q", "-f", "qcow2", "-F", "raw", "-b", f"{self.image}/disk.img", self.overlay],
            check=True,
        )

    def _command_line(self):
        monitor, console = self._socket("monitor"), self._socket("console")
        # The write-back cache is lost with the machine's process, but for what the system has flushed.
        return [
            "setpriv", "--pdeathsig", "KILL", "nice", "-n", os.environ.get("ZUL_BOARD_NICE", "5"),
            "qemu-system-arm", "-M", "virt,highmem=off", "-cpu", "cortex-a15", "-smp", "2", "-m", "768",
            "-accel", "tcg,thread=multi", "-nodefaults", "-no-user-config",
            "-kernel", f"{self.image}/kernel", "-initrd", f"{self.image}/initrd",
            "-append", "console=ttyAMA0 quiet loglevel=1 systemd.show_status=0 vt.global_cursor_default=0 "
            "consoleblank=0 net.ifnames=0 panic=1",
            "-drive", f"if=none,id=disk,format=qcow2,file={self.overlay},cache=writeback",
            "-device", "virtio-blk-pci,drive=disk", "-device", "virtio-rng-pci",
            "-device", f"virtio-gpu-pci,xres={WIDTH},yres={HEIGHT}", "-device", "virtio-tablet-pci",
            "-device", "qemu-xhci,id=usb", "-device", "sdhci-pci",
            "-drive", "if=none,id=card", "-device", "sd-card,drive=card",
            "-serial", f"unix:{console},server=on,wait=off", "-qmp", f"unix:{monitor},server=on,wait=off",
            *self.display,
        ]  # fmt: skip

    def _socket(self, name):
        return os.path.join(self.folder, name)

    def power_on(self):
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

    def boot(self, limit=START_LIMIT):
        """Power on, and wait for the system to have started everything."""
        self.power_on()
        self.wait_for_system(limit)

    def wait_for_system(self, limit=START_LIMIT):
        self.console.wait_for_shell(limit)
        wait_until(
            lambda: self.console.run("systemctl is-system-running", limit)[1].strip() in ("running", "degraded"),
            limit,
            "the system has started",
        )
        self.wait_for("systemctl is-active board-touchscreen", limit)
        self.events_at_start = self.monitor.count()

    def is_restarting(self):
        """Whether there was a reset that nobody has waited for yet."""
        return self.monitor.happened("RESET", self.events_at_start) > 0

    def cut_power(self):
        """Without warning: the machine's process is killed."""
        if self.process is None:
            return
        self.process.kill()
        self.process.wait()
        self.process = None
        self.console.read_rest()
        self.monitor.close()
        self.console.close()

    def wait_for_reset(self, limit, since=None):
        """`since` is the count of events at which a reset was still to come; now, when it is not given."""
        if since is None:
            since = self.monitor.count()
        wait_until(lambda: self.monitor.happened("RESET", since), limit, "the machine is reset")

    # --- Serial line ------------------------------------------------------------------------------------

    def shell(self, command, limit=COMMAND_LIMIT):
        """What a command printed. An exit code other than 0 is an error."""
        code, output = self.console.run(command, limit)
        if code != 0:
            raise RuntimeError(f"exit code {code} of: {command}\n{output}")
        return output.strip()

    def start(self, command):
        """In the background, and not as a job of the shell, which would tell of its end in between."""
        self.shell(f"( ( {command} ) >/dev/null 2>&1 & )")

    def holds(self, command, limit=COMMAND_LIMIT):
        return self.console.run(command, limit)[0] == 0

    def wait_for(self, command, limit=COMMAND_LIMIT):
        wait_until(lambda: self.holds(command, limit), limit, command)

    # --- Screen and touch -------------------------------------------------------------------------------

    def screen(self):
        file = os.path.join(self.folder, "screen.ppm")
        self.monitor.command("screendump", filename=file)
        return Screen(file)

    def photograph(self, file):
        self.monitor.command("screendump", filename=os.path.abspath(file), format="png")

    def wait_for_screen(self, condition, limit, what):
        """Waits for a picture for which the condition is true, and returns it."""

        def look():
            picture = self.screen()
            return picture if condition(picture) else None

        return wait_until(look, limit, what)

    def tap(self, x, y):
        self._finger(x, y, True)
        self._finger(x, y, False)

    def _finger(self, x, y, down):
        def axis(name, value, size):
            return {"type": "abs", "data": {"axis": name, "value": round(value * TABLET_MAXIMUM / (size - 1))}}

        button = {"type": "btn", "data": {"down": down, "button": "left"}}
        events = [axis("x", x, WIDTH), axis("y", y, HEIGHT), button]
        self.monitor.command("input-send-event", events=events)

    # --- Media ------------------------------------------------------------------------------------------

    def plug_sd(self, image):
        self.monitor.command("blockdev-change-medium", device="card", filename=image, format="raw")

    def unplug_sd(self):
        self.monitor.command("eject", device="card", force=True)

    def plug_usb(self, image):
        self.usb_count += 1
        name = f"stick{self.usb_count}"
        self._forget_pulled_drives()
        file = {"driver": "file", "filename": image, "locking": "off"}  # a pulled drive may still have it open
        self.monitor.command("blockdev-add", driver="raw", node_name=name, file=file)
        self.monitor.command("device_add", driver="usb-storage", id=f"{name}-drive", drive=name, removable=True)
        self.plugged_usb = name

    def unplug_usb(self):
        """The system sees it at once; the machine itself lets go of the drive when it likes."""
        name, self.plugged_usb = self.plugged_usb, None
        self.monitor.command("device_del", id=f"{name}-drive")
        self.pulled_usb.append(name)

    def _forget_pulled_drives(self):
        for name in list(self.pulled_usb):
            with contextlib.suppress(RuntimeError):  # still in use: the next time, then
                self.monitor.command("blockdev-del", node_name=name)
                self.pulled_usb.remove(name)


def make_medium(folder, image, megabytes=48):
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


def temporary_folder():
    """For sockets too, whose paths have to be short."""
    return tempfile.mkdtemp(prefix="zul-board-", dir="/tmp" if os.path.isdir("/tmp") else None)


def remove_folder(folder):
    shutil.rmtree(folder, ignore_errors=True)


def end_in_order():
    """Lets a signal that ends the script run what cleans up behind it."""
    for number in (signal.SIGTERM, signal.SIGHUP, signal.SIGINT):
        signal.signal(number, lambda received, _: sys.exit(128 + received))


# --- What has to be there first -----------------------------------------------------------------------------

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


def build_image(package=None):
    """The directory of the image, built when it is not there yet."""
    script = os.path.join(os.path.dirname(os.path.dirname(os.path.realpath(__file__))), "build-image")
    arguments = ["--package", package] if package else []
    done = subprocess.run([script, *arguments], stdout=subprocess.PIPE, text=True, check=False)
    if done.returncode:
        raise SystemExit(done.returncode)
    return done.stdout.strip().splitlines()[-1]
