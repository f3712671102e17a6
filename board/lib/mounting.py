# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What becomes of what is plugged in: mounted, left alone, or refused. By zul-media as its package has installed it."""

import glob
import hashlib
import os
import re
import shutil
import subprocess
import tempfile

from controller import BATCH, LIMIT, Controller, shows_application, shows_unplug_message
from media import make_drive, make_file_system
from registry import EVERYDAY, FULL, scenario
from signing import Signer
from waiting import wait_until

DOCUMENT = os.path.join(os.path.dirname(os.path.realpath(__file__)), "../../docs/signing.md")
SETTINGS = "/etc/zul/media.conf"
NO_MEDIUM = "left alone: not FAT, exFAT or ext4"


# --- What is looked at --------------------------------------------------------------------------------------


def said(c: Controller, after: str, boot: str = "0") -> list[str]:
    """What zul_media has written since a mark."""
    fields = "SYSLOG_IDENTIFIER=zul_media + SYSLOG_IDENTIFIER=board-mark"
    lines = c.board.shell(f"journalctl -b {boot} {fields} -o cat --no-pager").splitlines()
    return lines[lines.index(after) + 1 :]


def expect_said(c: Controller, wanted: list[str], after: str) -> None:
    """These lines, in any order, and no other one."""
    wait_until(lambda: len(said(c, after)) >= len(wanted), LIMIT, f"zul_media writes: {wanted}")
    assert sorted(said(c, after)) == sorted(wanted), f"not {wanted}: {said(c, after)}"


def options_of(c: Controller, directory: str) -> set[str]:
    return set(c.board.shell(f"findmnt -no OPTIONS {directory}").split(","))


def expect_nothing_failed(c: Controller) -> None:
    assert c.board.shell("systemctl --failed --no-legend --plain") == "", "a unit has failed"
    assert not c.board.holds(
        "journalctl -b -o cat --no-pager | grep -E '^media-.*mount: .*(Failed|exited)'"
    ), "systemd's own unmounting has met the service's"


def expect_unit_gone(c: Controller, device: str) -> None:
    c.board.wait_for(f"test $(systemctl is-active zul-media@{device}) = inactive")


# --- Whoever made it ----------------------------------------------------------------------------------------


@scenario(EVERYDAY)
def each_partition_is_mounted_or_left_alone_with_one_line(c: Controller) -> None:
    """And goes with its device, though a command has a file of it open."""
    image = os.path.join(c.folder, "partitions.img")
    kinds = [("vfat", c.folder_of("continue"), 40), ("swap", None, 4), ("luks", None, 1), ("ntfs", None, 1)]
    make_drive(image, kinds)
    start = c.mark()
    c.plug_usb_image(image)
    c.expect_list()
    left_alone = [f"sda{number}: {NO_MEDIUM}" for number in (2, 3, 4)]
    expect_said(c, ["sda1: mounted", *left_alone], start)
    assert {"rw", "nosuid", "nodev", "nosymfollow"} <= options_of(c, "/media/sda1"), "the medium can do harm"
    assert c.board.shell("systemctl show -P ActiveState 'zul-media@*'").split() == ["active"] * 4
    c.board.start("exec sleep 10000 </media/sda1/zul_install/system.ini")
    c.pull()
    c.expect_rest()
    c.expect_link_gone()
    expect_said(c, ["sda1: mounted", *left_alone, "sda1: unmounted"], start)
    for number in range(1, 5):
        expect_unit_gone(c, f"sda{number}")
    assert "system.ini" in c.board.shell("readlink /proc/$(pidof sleep)/fd/0; killall sleep"), "its file is not open"
    expect_nothing_failed(c)


@scenario(FULL)
def disk_without_partitions_is_a_medium_where_it_has_a_file_system(c: Controller) -> None:
    """The kernel loads what it needs for that; what is not mounted goes without a word."""
    assert not c.board.holds("lsmod | grep -w ^exfat"), "exFAT is loaded already"
    for kind, outcome in (("exfat", "mounted"), ("ext4", "mounted"), ("blank", NO_MEDIUM)):
        image = os.path.join(c.folder, f"{kind}.img")
        make_file_system(image, kind, c.folder_of("continue") if kind == "ext4" else None, 40)
        start = c.mark()
        c.plug_usb_image(image)
        expect_said(c, [f"sda: {outcome}"], start)
        if kind == "ext4":
            c.expect_list()
        c.pull()
        c.expect_rest()
        expect_unit_gone(c, "sda")
        expect_said(c, [f"sda: {outcome}", *(["sda: unmounted"] if outcome == "mounted" else [])], start)
    expect_nothing_failed(c)


@scenario(FULL)
def card_of_a_reader_that_stays_comes_and_goes(c: Controller) -> None:
    """The system keeps a disk for the reader, and partitions of the card as long as one is mounted."""
    whole = os.path.join(c.folder, "whole.img")
    make_file_system(whole, "vfat", c.folder_of("continue"), 40)
    partitioned = c.medium("continue")
    c.plug_usb_image(partitioned)
    devices = {partitioned: "sda1", whole: "sda"}
    cards = [partitioned, partitioned, whole, partitioned]
    for image, after in zip(cards, cards[1:]):
        device = devices[image]
        wait_until(lambda: c.media_listed() == [f"/media/{device}"], LIMIT, f"{device} of {image} is mounted")
        c.expect_list()
        c.board.take_card_out()
        c.expect_rest()
        c.expect_link_gone()
        expect_unit_gone(c, device)
        c.board.put_card_in(after)
    c.expect_list()
    expect_nothing_failed(c)


@scenario(FULL)
def locked_card_is_mounted_for_reading(c: Controller) -> None:
    start = c.mark()
    c.plug_locked_usb("continue")
    c.expect_list()
    expect_said(c, ["sda1: mounted, read-only: it is locked"], start)


@scenario(FULL)
def what_the_system_runs_from_is_no_medium(c: Controller) -> None:
    """A drive that the system uses one partition of; the other is as /boot on a controller's card."""
    image = os.path.join(c.folder, "systems.img")
    make_drive(image, [("ext4", None, 40), ("vfat", c.folder_of("continue"), 40)])
    c.board.shell("systemctl mask --runtime zul-media@.service")
    c.clean_up = "systemctl unmask --runtime zul-media@.service && umount /srv"
    c.plug_usb_image(image)
    c.board.wait_for("test -b /dev/sda2")
    c.board.shell("mount /dev/sda1 /srv && systemctl unmask --runtime zul-media@.service")
    start = c.mark()
    c.board.shell("systemctl restart systemd-udev-trigger")
    reason = "left alone: the system runs from this disk"
    expect_said(c, [f"sda1: {reason}", f"sda2: {reason}"], start)
    c.let_polls_pass(1)
    assert shows_application(c.board.screen()) and c.media_listed() == ["/srv"]


# --- Only what is signed ------------------------------------------------------------------------------------

LAMP = """#!/bin/sh
echo "$@" >>/run/lamp.said
echo 1 >/run/lamp.lit
exec >>/run/lamp.can 2>/dev/null
echo mounts $(readlink /proc/self/ns/mnt)
echo net $(readlink /proc/self/ns/net)
grep -E '^(CapBnd|NoNewPrivs|Seccomp):' /proc/self/status
dd if=/dev/vda of=/dev/null count=1 && echo read the disk
mknod /run/disk b 254 0 && echo made a device
unshare -n true && echo a network of its own
true
"""


def lines_of_the_document() -> list[str]:
    """The three that docs/signing.md has for a controller."""
    with open(DOCUMENT, encoding="utf-8") as file:
        blocks = re.findall(r"^```sh\n(.*?)^```$", file.read(), re.MULTILINE | re.DOTALL)
    [block] = [block for block in blocks if SETTINGS in block]
    lines: list[str] = block.splitlines()
    assert [line.split()[0] for line in lines] == ["apt", "cp", "sed"], f"other lines than these were known: {lines}"
    return lines


def take_signed_only(c: Controller, owner: Signer, *settings: str) -> None:
    """As the document has it, with the owner's key at hand and more settings. Everything is taken back afterwards."""
    with open(owner.public, encoding="ascii") as file:
        c.board.shell(f"mkdir -p /var/tmp/owner && cat >/var/tmp/owner/owner.pub.pem <<'END'\n{file.read()}END")
    c.board.shell(f"cp -p {SETTINGS} /var/tmp/owner/")
    # Kept where a restart leaves it, and an error where it is not.
    written = "/var/tmp/owner /run/lamp* /var/lib/zul_media/* /etc/zul/keys.d/*"
    c.clean_up = f"cp -p /var/tmp/owner/media.conf {SETTINGS} && rm -rf {written}"
    _, copy, change = lines_of_the_document()
    c.board.shell(f"cd /var/tmp/owner && {copy}\n{change}")
    for setting in settings:
        c.board.shell(f"echo '{setting}' >>{SETTINGS}")
    assert c.board.shell("zul_media settings") == "Only what is signed is mounted."


def expect_untouched(c: Controller, mark: str, programs: list[str]) -> None:
    """The tool knows of no medium: nothing is mounted, shown, told or stopped."""
    c.let_polls_pass(2)
    assert shows_application(c.board.screen()), "something is on the screen"
    assert c.media_listed() == [], "it is mounted"
    assert c.running_programs() == programs, "a program was stopped"
    assert c.lines(after=mark) == [], "the tool has noticed something"
    assert c.lines("zul_watchdog", after=mark) == [], "the watchdog was told something"


def on_the_card(image: str, name: str) -> str:
    """A file in the first partition of a FAT."""
    read = ["mtype", "-i", f"{image}@@1M", f"::/{name}"]
    return subprocess.run(read, check=True, capture_output=True, text=True).stdout


@scenario(EVERYDAY)
def only_what_the_owner_has_signed_reaches_the_tool(c: Controller) -> None:
    owner = Signer(c.folder)
    c.board.shell(f"cat >/run/lamp <<'END'\n{LAMP}END\nchmod +x /run/lamp")
    take_signed_only(c, owner, "Results=yes", "OnRefused=/run/lamp")
    programs = c.running_programs()
    mark = c.mark()
    c.plug_sd("typical")
    refusal = "mmcblk0p1: refused: no manifest"
    expect_said(c, [refusal], mark)
    expect_untouched(c, mark, programs)
    expect_confined(c)
    c.pull()
    expect_said(c, [refusal, "mmcblk0p1: removed"], mark)
    lamp = ["refused mmcblk0p1 no manifest", "removed mmcblk0p1"]
    wait_until(lambda: c.board.shell("cat /run/lamp.said").split("\n") == lamp, LIMIT, "the lamp is told of both")
    use_signed_medium(c, owner)


def expect_confined(c: Controller) -> None:
    """Of the owner's program, which can do no more than the service."""
    c.board.wait_for("grep Seccomp /run/lamp.can && test -s /run/lamp.lit")
    can = dict(line.split(None, 1) for line in c.board.shell("cat /run/lamp.can").splitlines())
    assert can.pop("mounts") == c.board.shell("readlink /proc/1/ns/mnt"), "its mounts stay with it"
    assert can.pop("net") != c.board.shell("readlink /proc/1/ns/net"), "it has the network"
    # CAP_DAC_OVERRIDE, CAP_DAC_READ_SEARCH, CAP_SYS_CHROOT, CAP_SYS_ADMIN
    assert can == {"CapBnd:": "0000000000240006", "NoNewPrivs:": "1", "Seccomp:": "2"}, f"it can do more: {can}"


def use_signed_medium(c: Controller, owner: Signer) -> None:
    """Its programs run, also by their name; its results are on the card afterwards, and what was there runs not."""
    unsigned = b"#!/bin/sh\necho unsigned >>/run/operations/log\n"
    more = {"zul_results/unsigned": unsigned, "besides.sh": unsigned}
    image = owner.medium(c.folder_of("signed"), "--serial", "7", more=more)
    mark = c.mark()
    c.plug_usb_image(image)
    c.expect_list()
    expect_said(c, ["sda1: accepted: signed by owner.pub.pem, serial 7"], mark)
    c.expect_upgrade_mode()
    assert c.board.shell("readlink /mnt/upgrade; findmnt -no SOURCE,FSTYPE /media/sda1").split() == [
        "/media/sda1", "/dev/sda1", "tmpfs"
    ]  # fmt: skip
    assert {"ro", "nosuid", "nodev"} <= options_of(c, "/media/sda1")
    assert {"rw", "noexec", "nosuid", "nodev", "nosymfollow"} <= options_of(c, "/media/sda1/zul_results")
    c.choose(0, 1, 2)
    c.confirm()
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    assert c.operations() == ["program", "report"], "not what was signed has run"
    c.pull()
    c.expect_rest()
    c.expect_link_gone()
    there = [line.split()[1] for line in on_the_card(image, "zul_results/report").splitlines()]
    listed = ["program", "report.sh", "start.sh", "zul_install/system.ini"]
    assert sorted(there) == [*listed, "zul_results/report", "zul_results/unsigned"], f"not what was signed: {there}"
    expect_nothing_failed(c)


# --- Keys, serials and names --------------------------------------------------------------------------------


def medium_that_runs(signer: Signer, command: str, *options: str, more: dict[str, str] | None = None) -> str:
    """A signed one that runs a command at once, and asks to be pulled then."""
    with tempfile.TemporaryDirectory() as folder:
        os.mkdir(os.path.join(folder, "zul_install"))
        files = {"zul_install/system.ini": "[system]\nCMD_Type=run\n\n[CMD]\nrun=Run@sh /mnt/upgrade/run.sh\n"}
        files["run.sh"] = f"#!/bin/sh\nset -eu\n{command}\nmkdir -p /run/operations\necho run >>/run/operations/log\n"
        for name, contents in {**files, **(more or {})}.items():
            with open(os.path.join(folder, name), "w", encoding="utf-8") as file:
                file.write(contents)
        return signer.medium(folder, *options)


def expect_verdict(c: Controller, image: str, verdict: str) -> None:
    """Plugs it in. What is accepted runs to its end, what is not leaves the controller alone."""
    mark, programs = c.mark(), c.running_programs()
    c.plug_usb_image(image)
    expect_said(c, [f"sda1: {verdict}"], mark)
    if verdict.startswith("accepted"):
        c.expect_operation("run")  # the request of the medium before may still be on the screen
        c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
        assert c.operations() == ["run"], "it has run more than once"
    else:
        expect_untouched(c, mark, programs)
    c.pull()
    c.expect_rest()
    expect_unit_gone(c, "sda1")
    c.board.shell("rm -rf /run/operations")


@scenario(FULL)
def keys_are_changed_with_two_installed_and_then_revoked(c: Controller) -> None:
    """As docs/signing.md has it: the new one comes with a medium of the old one's."""
    owner, successor = Signer(c.folder), Signer(c.folder, "successor")
    unknown = "refused: signature of no known key, or of another manifest"
    take_signed_only(c, owner)
    with open(successor.public, encoding="ascii") as file:
        key = {"successor.pub.pem": file.read()}
    expect_verdict(c, medium_that_runs(successor, "true"), unknown)
    brings = medium_that_runs(owner, "cp /mnt/upgrade/successor.pub.pem /etc/zul/keys.d/\nsync", more=key)
    expect_verdict(c, brings, "accepted: signed by owner.pub.pem")
    expect_verdict(c, medium_that_runs(owner, "true"), "accepted: signed by owner.pub.pem")
    revokes = medium_that_runs(successor, "rm -f /etc/zul/keys.d/owner.pub.pem\nsync")
    expect_verdict(c, revokes, "accepted: signed by successor.pub.pem")
    expect_verdict(c, brings, unknown)
    expect_verdict(c, medium_that_runs(successor, "true"), "accepted: signed by successor.pub.pem")


@scenario(FULL)
def signed_medium_has_to_be_for_this_controller_and_new_enough(c: Controller) -> None:
    owner = Signer(c.folder)
    take_signed_only(c, owner, "Compatible=press-800", "RememberSerial=yes")

    def serial(number: int, *options: str) -> str:
        return medium_that_runs(owner, "true", "--serial", str(number), *options)

    seven = "accepted: signed by owner.pub.pem, serial 7"
    too_old = "refused: serial 6, and 7 is the lowest that is accepted"
    expect_verdict(
        c, serial(8, "--compatible", "press-1024"), "refused: for the controller press-1024, and this is press-800"
    )
    expect_verdict(c, serial(6, "--compatible", "press-800"), "accepted: signed by owner.pub.pem, serial 6")
    c.board.shell("sync")
    mark = c.mark()
    c.plug_usb_image(serial(7))
    expect_said(c, [f"sda1: {seven}"], mark)
    c.board.wait_for("systemctl is-active zul-media@sda1")
    c.board.cut_power()
    c.usb = None
    c.board.boot()
    c.expect_rest()
    c.expect_tool_waiting()
    expect_verdict(c, serial(6), too_old)
    expect_verdict(c, serial(7), seven)
    start = c.board.monitor.count()
    c.board.start("reboot")
    c.board.wait_for_reset(BATCH, start)
    c.board.wait_for_system()
    c.expect_rest()
    c.expect_tool_waiting()
    expect_verdict(c, serial(6), too_old)


# --- File systems -------------------------------------------------------------------------------------------


def sum_of(image: str) -> str:
    with open(image, "rb") as file:
        return hashlib.sha256(file.read()).hexdigest()


@scenario(FULL)
def nothing_is_written_to_a_medium_before_it_is_accepted(c: Controller) -> None:
    """Nor afterwards, without results. An ext4 that was pulled too early has a journal that a mount would write out."""
    owner = Signer(c.folder)
    signed = {kind: owner.medium(c.folder_of("signed"), kind=kind) for kind in ("vfat", "ext4")}
    with_journal(signed["ext4"], "program", b"#!/bin/sh\necho of the journal\n")
    take_signed_only(c, owner)
    for kind, image in (*signed.items(), ("vfat", c.medium("typical"))):
        before, mark = sum_of(image), c.mark()
        c.plug_usb_image(image)
        outcome = "accepted: signed by owner.pub.pem" if image in signed.values() else "refused: no manifest"
        expect_said(c, [f"sda1: {outcome}"], mark)
        c.pull()
        c.expect_rest()
        expect_unit_gone(c, "sda1")
        assert sum_of(image) == before, f"{kind}, {outcome}: something was written to it"
    c.board.shell(f"sed -i s/^Signature=.*/Signature=off/ {SETTINGS}")
    c.plug_usb_image(signed["ext4"])
    c.expect_list()
    assert c.board.shell("sh /media/sda1/program") == "of the journal", "there was nothing in its journal"


def with_journal(image: str, file: str, contents: bytes) -> None:
    """Has the journal of the ext4 in the first partition say that a small file has other contents."""
    with tempfile.TemporaryDirectory() as folder:
        part, block = os.path.join(folder, "part"), os.path.join(folder, "block")
        subprocess.run(["dd", f"if={image}", f"of={part}", "bs=1M", "skip=1", "status=none"], check=True)

        def debugfs(*commands: str) -> str:
            lines = "\n".join(commands)
            done = subprocess.run(
                ["debugfs", "-w", "-f", "-", part], input=lines, capture_output=True, text=True, check=True
            )
            return done.stdout

        [size] = re.findall(r"^Block size: +(\d+)", debugfs("show_super_stats -h"), re.MULTILINE)
        [number] = re.findall(r"^(\d+) *$", debugfs(f"blocks /{file}"), re.MULTILINE)
        with open(block, "wb") as target:
            target.write(contents.ljust(int(size), b"\n"))
        debugfs("journal_open", f"journal_write -b {number} {block}", "journal_close")
        subprocess.run(
            ["dd", f"if={part}", f"of={image}", "bs=1M", "seek=1", "conv=notrunc", "status=none"], check=True
        )


@scenario(FULL)
def kernel_loads_what_a_signed_medium_needs(c: Controller) -> None:
    """FAT and exFAT, which are modules, and the alphabets of their names. The exFAT is filled here."""
    owner = Signer(c.folder)
    fat, exfat = owner.medium(c.folder_of("signed")), os.path.join(c.folder, "exfat.img")
    make_file_system(exfat, "exfat", None, 40)
    c.board.shell("systemctl stop zul_upgrade")
    c.plug_sd_image(fat)
    c.plug_usb_image(exfat)
    c.board.wait_for("mountpoint /media/sda && mountpoint /media/mmcblk0p1")
    c.board.shell("cp -r /media/mmcblk0p1/. /media/sda/ && umount /media/sda /media/mmcblk0p1")
    c.pull()
    for device in ("sda", "mmcblk0p1"):
        expect_unit_gone(c, device)
    take_signed_only(c, owner)
    c.board.shell("systemctl start zul_upgrade")
    c.expect_tool_waiting()
    for image, device, module in ((fat, "sda1", "vfat"), (exfat, "sda", "exfat")):
        c.board.shell("lsmod | awk '/^(vfat|exfat|nls_)/ {print $1}' | xargs -rn1 modprobe -r")
        assert not c.board.holds("lsmod | grep -E '^(fat|exfat|nls)'"), "there is a module already"
        mark = c.mark()
        c.plug_usb_image(image)
        expect_said(c, [f"{device}: accepted: signed by owner.pub.pem"], mark)
        c.expect_list()
        assert c.board.holds(f"grep -w {module} /proc/filesystems")
        c.choose(0)
        c.confirm()
        c.expect_operation("program")
        c.pull()
        c.expect_rest()
        expect_unit_gone(c, device)
        c.board.shell("rm -rf /run/operations; systemctl restart zul_upgrade")
        c.expect_tool_waiting()


# --- The judge ----------------------------------------------------------------------------------------------

# Stops the process of zul_media that is shut into a root of its own.
STOP_THE_JUDGE = """until test -s /run/judge; do
    for pid in $(pgrep -x zul_media); do
        test "$(readlink /proc/$pid/root)" = / || { kill -STOP $pid; echo $pid >/run/judge; }
    done
done"""


@scenario(FULL)
def power_cut_while_a_medium_is_judged_leaves_nothing(c: Controller) -> None:
    """The judge can do nothing but read, and nobody else sees what it does. After the cut the medium, which is still in
    its slot, is judged anew."""
    owner = Signer(c.folder)
    folder = os.path.join(c.folder, "large")
    shutil.copytree(c.folder_of("signed"), folder, dirs_exist_ok=True)
    with open(os.path.join(folder, "payload"), "wb") as file:
        file.write(os.urandom(30_000_000))
    take_signed_only(c, owner)
    clean_up = c.clean_up
    c.board.shell("sync")
    mark, programs = c.mark(), c.running_programs()
    c.board.start(STOP_THE_JUDGE)
    image = owner.medium(folder)
    c.plug_sd_image(image)
    c.board.wait_for("test -s /run/judge")
    judge = c.board.shell("cat /run/judge")
    status = c.board.shell(f"grep -E '^(CapEff|CapPrm|NoNewPrivs|Seccomp):' /proc/{judge}/status").split()
    reads = f"{1 << 2:016x}"  # CAP_DAC_READ_SEARCH
    assert status == ["CapPrm:", reads, "CapEff:", reads, "NoNewPrivs:", "1", "Seccomp:", "2"], status
    main = c.board.shell("systemctl show -P MainPID zul-media@mmcblk0p1")
    same = "test $(readlink /proc/1/ns/mnt) = $(readlink /proc/%s/ns/mnt)"
    assert c.board.holds(same % main) and not c.board.holds(same % judge), "in whose mounts it is judged"
    assert c.board.shell("ls /run/zul_media/stage") == "", "the stage is seen"
    expect_untouched(c, mark, programs)
    c.board.cut_power()
    c.board.power_on()
    c.board.plug_sd(image)
    c.board.wait_for_system()
    c.clean_up = clean_up
    c.expect_list()
    assert c.board.shell("journalctl -b -t zul_media -o cat") == "mmcblk0p1: accepted: signed by owner.pub.pem"
    c.pull()
    c.expect_rest()
    expect_nothing_failed(c)
    assert c.board.shell("ls -A /media/mmcblk0p1; ls -A /run/zul_media/stage") == "", "something is left"


# --- From the packages --------------------------------------------------------------------------------------


@scenario(FULL)
def three_lines_lead_from_the_packages_to_signed_media_only(c: Controller) -> None:
    """The document's, as they stand, where neither package is. Before that: the tool without zul-media, as ever."""
    owner = Signer(c.folder)
    files = {}
    for package in (*glob.glob(os.path.join(c.board.image, "*.deb")), owner.public):
        with open(package, "rb") as file:
            files[os.path.basename(package)] = file.read()
    c.plug_usb_image(c.medium_with("no-catalogue", files))
    c.board.wait_for("mountpoint /media/sda1")
    c.board.shell("cp -r /media/sda1 /var/tmp/packages")
    c.pull()
    c.board.wait_for("test ! -b /dev/sda")
    assert c.board.shell("cat /etc/zul/media.conf | grep ^Signature") == "Signature=off"
    c.board.shell("dpkg --purge zul-media", BATCH)
    use_what_is_mounted_by_hand(c)
    c.board.shell("dpkg --purge zul-upgrade", BATCH)
    for line in lines_of_the_document():
        c.board.shell(f"cd /var/tmp/packages && {line}", BATCH)
    put_back = "sed -i -e s/^Signature=.*/Signature=off/ -e /^Results=/d /etc/zul/media.conf"
    c.clean_up = f"{put_back} && rm -r /var/tmp/packages /etc/zul/keys.d/*"
    c.expect_tool_waiting()
    c.board.shell("echo Results=yes >>/etc/zul/media.conf")
    mark, programs = c.mark(), c.running_programs()
    c.plug_usb("continue")
    expect_said(c, ["sda1: refused: no manifest"], mark)
    expect_untouched(c, mark, programs)
    c.pull()
    expect_said(c, ["sda1: refused: no manifest", "sda1: removed"], mark)
    use_signed_medium(c, owner)
    expect_no_more_open_than_ever(c)


def use_what_is_mounted_by_hand(c: Controller) -> None:
    c.plug_usb("continue")
    c.board.wait_for("test -b /dev/sda1")
    c.let_polls_pass(1)
    assert shows_application(c.board.screen()) and c.media_listed() == [], "something still mounts media"
    c.board.shell("mkdir -p /media/sda1 && mount /dev/sda1 /media/sda1")
    c.expect_list()
    c.choose(0)
    c.confirm()
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    c.board.shell("umount -l /media/sda1")
    c.expect_rest()
    c.expect_link_gone()
    c.pull()


def expect_no_more_open_than_ever(c: Controller) -> None:
    """By the exposure that this systemd works out. It fell when the service got its restrictions, and must not rise."""
    told = c.board.shell("systemd-analyze security --no-pager zul-media@sda1.service | tail -n 1", BATCH)
    [level] = re.findall(r"exposure level .*: (\d+\.\d)", told)
    c.say(f"systemd-analyze security: {level}")
    assert float(level) <= 3.5, told
