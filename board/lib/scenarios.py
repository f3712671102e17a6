# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What happens to a controller in its life, one function a scenario, asserted from outside.

A scenario starts at rest: no medium, the application on the screen, a tool that has just been started.
"""

import glob
import os
import re
import shutil
from collections.abc import Callable

import facts
import figures
import powercuts
import traces
from controller import (
    BATCH,
    CANCEL,
    DETAILS,
    FIRST_ROW,
    LIMIT,
    OPERATIONS_COLUMN,
    Controller,
    question_buttons,
    selected_rows,
    shows_application,
    shows_calibration,
    shows_details,
    shows_list,
    shows_status,
    shows_time_left,
    shows_unplug_message,
)
from registry import EVERYDAY, FULL, scenario
from recording import Recorder
from screen import HEIGHT, WIDTH
from waiting import Timeout, wait_until

# The countdown, on a clock that the emulation may slow down.
COUNTDOWN = 4 * facts.number("countdown_seconds")
# What the watchdog says when upgrade mode begins.
SUSPENDED = f"received syscmd_suspend@{facts.number('suspension')}"


# --- Power-on -----------------------------------------------------------------------------------------------


@scenario(EVERYDAY)
def power_on_shows_the_application_and_nothing_of_the_tool(c: Controller) -> None:
    c.board.cut_power()
    c.board.new_disk()
    c.board.boot()
    c.expect_rest()
    c.expect_tool_waiting()
    c.photograph("00-application")
    assert c.board.shell("systemctl --failed --no-legend --plain") == "", "a unit has failed"
    assert c.board.shell("systemctl is-enabled zul_upgrade") == "enabled"
    assert "active (running)" in c.board.shell("systemctl status zul_upgrade | cat"), "not as docs/installing.md has it"
    assert shows_application(c.board.screen()), "the tool has drawn something while it started"


# --- SD card ------------------------------------------------------------------------------------------------


@scenario(EVERYDAY)
def sd_card_upgrade_ends_in_a_reboot(c: Controller) -> None:
    c.plug_sd_image(c.medium_that_waits("typical", "check.sh", "find /mnt/upgrade/", "storage"))
    c.expect_list()
    c.expect_upgrade_mode()
    c.expect_line(SUSPENDED, "zul_watchdog")
    c.expect_screen(shows_time_left, "the countdown")
    c.photograph("01-list")

    c.choose(0, 1, 2, 3)
    c.take_out(3)
    c.photograph("02-selection")
    c.ask()
    c.photograph("03-question")
    c.answer(False)
    c.expect_list()
    assert selected_rows(c.board.screen()) == 3, "No has changed the selection"
    start = c.board.monitor.count()
    c.confirm()
    c.expect_operation("storage begins")
    c.photograph("04-running")
    assert not shows_details(c.board.screen()), "the details are there before they are asked for"
    c.board.tap(*DETAILS)
    c.expect_screen(shows_details, "the details")
    c.photograph("05-details")
    c.let_go("storage")
    c.board.wait_for_reset(BATCH, start)
    c.pull()
    c.board.wait_for_system()
    c.expect_rest()

    earlier = c.lines(boot="-1")
    for name in ("Update application", "Update language packs", "Check storage", "Save data", "Reboot system"):
        assert f"################# {name}" in earlier, f"{name} was not run"
    assert c.board.shell("/opt/zul/zul_version") == "application 2.1.0", "the application was not replaced"
    assert c.board.holds("test -s /opt/zul/languages.txt"), "the language packs were not copied"
    assert c.board.holds("journalctl -b -1 --no-pager | grep -q 'Reached target.*reboot.target'"), "no orderly reboot"


# --- USB drive ----------------------------------------------------------------------------------------------


@scenario(EVERYDAY)
def usb_drive_without_endgame_gives_the_controller_back(c: Controller) -> None:
    c.plug_usb("continue")
    c.expect_list()
    c.expect_upgrade_mode()
    assert ",nosuid,nodev," in c.board.shell("findmnt -no OPTIONS /media/sda1"), "the medium could make users root"
    c.choose(0, 2)
    c.confirm()
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    c.photograph("06-unplug-usb")
    assert "################# Reboot system" not in c.lines(), "rebooted against the catalogue"

    watchdog = c.mark()
    c.pull()
    c.expect_rest()
    c.expect_link_gone()
    c.expect_line("received syscmd_apprestart", "zul_watchdog", after=watchdog)
    supervised = c.pid("zul_main")
    c.board.shell("killall zul_main")
    wait_until(lambda: c.pid("zul_main") not in ("", supervised), LIMIT, "the watchdog starts a killed program again")


# --- Direct mode --------------------------------------------------------------------------------------------


def calibrate(c: Controller) -> None:
    """Touches the crosses of the calibration program."""
    c.expect_screen(lambda s: shows_calibration(s, (100, 100)), "the first cross of the calibration", BATCH)
    c.board.tap(100, 100)
    c.expect_screen(lambda s: shows_calibration(s, (700, 380)), "the second cross of the calibration")
    c.board.tap(700, 380)


@scenario(EVERYDAY)
def direct_mode_calibrates_the_touch_screen(c: Controller) -> None:
    c.plug_sd_image(c.medium_that_waits("direct", "zul_install/system.ini", "cksum /mnt", "check"))
    c.expect_screen(shows_status, "the status page")
    c.expect_upgrade_mode()
    c.expect_operation("check begins")
    c.let_go("check")
    c.expect_screen(lambda s: shows_calibration(s, (100, 100)), "the first cross of the calibration", BATCH)
    c.photograph("07-calibration")
    calibrate(c)
    c.expect_screen(shows_status, "the status page after the calibration")
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    c.photograph("08-unplug-sd")
    assert "################# Calibrate touch screen" in c.lines()
    c.pull()
    c.expect_rest()
    c.expect_link_gone()


# --- Media that are not taken, or not as one thinks ---------------------------------------------------------


@scenario(EVERYDAY)
def medium_without_a_catalogue_changes_nothing(c: Controller) -> None:
    running = c.running_programs()
    start = c.mark()
    c.plug_sd("no-catalogue")
    refusal = "/mnt/upgrade/zul_install/system.ini unPresence"
    c.expect_line(refusal, after=start)
    c.let_polls_pass(2)
    assert c.lines(after=start).count(refusal) == 1, "looked at more than once"
    assert c.running_programs() == running, "a program was stopped"
    assert shows_application(c.board.screen()), "something is on the screen"
    assert c.lines("zul_watchdog", after=start) == [], "the watchdog was told something"


def while_the_tool_does_not_look(c: Controller, change: Callable[[], None]) -> None:
    """Changes media between two polls, however slow the board is: the tool stands still meanwhile."""
    tool = c.pid("zul_upgrade")
    c.board.shell(f"kill -STOP {tool}")
    # A look that it had begun would go on without it, and see half of the change.
    wait_until(lambda: not c.board.holds(f"ps --ppid {tool} -o stat= | grep -qv Z"), LIMIT, "no look is under way")
    change()
    c.board.shell(f"kill -CONT {tool}")


def expect_media(c: Controller, count: int) -> None:
    wait_until(lambda: len(c.media_listed()) == count, LIMIT, f"{count} media are mounted")


@scenario(EVERYDAY)
def of_two_media_the_last_in_the_list_is_used(c: Controller) -> None:
    def plug_both() -> None:
        c.plug_usb("continue")
        expect_media(c, 1)
        c.plug_sd("typical")
        expect_media(c, 2)

    while_the_tool_does_not_look(c, plug_both)
    c.expect_list()
    used = c.board.shell("readlink /mnt/upgrade")
    assert used == c.media_listed()[-1], f"{used} is in use, not the last one listed"
    if "mmc" in used:
        c.board.unplug_usb()
        c.usb = None
    else:
        c.board.unplug_sd()
        c.sd = None
    expect_media(c, 1)
    c.let_polls_pass(1)
    assert shows_list(c.board.screen()), "pulling the unused medium ended the upgrade"
    c.pull()
    c.expect_rest()
    c.expect_link_gone()


@scenario(EVERYDAY)
def medium_swapped_for_another_of_its_kind_within_one_poll_is_not_noticed(c: Controller) -> None:
    c.plug_sd("typical")
    c.expect_list()

    def swap() -> None:
        c.pull()
        expect_media(c, 0)
        c.plug_sd("no-catalogue")
        expect_media(c, 1)

    while_the_tool_does_not_look(c, swap)
    c.let_polls_pass(2)
    assert shows_list(c.board.screen()), "the directory is still listed, so the upgrade should go on"
    c.pull()
    c.expect_rest()
    c.expect_link_gone()


@scenario(EVERYDAY)
def medium_swapped_for_one_of_another_kind_starts_a_new_upgrade(c: Controller) -> None:
    c.plug_sd("typical")
    c.expect_list()
    start = c.mark()

    def swap() -> None:
        c.pull()
        c.plug_usb("continue")
        wait_until(lambda: c.media_listed() == ["/media/sda1"], LIMIT, "the drive is mounted instead of the card")

    while_the_tool_does_not_look(c, swap)
    c.expect_line(SUSPENDED, "zul_watchdog", after=start)
    c.expect_list()
    assert c.board.shell("readlink /mnt/upgrade") == "/media/sda1"
    c.pull()
    c.expect_rest()
    c.expect_link_gone()


# --- Pulled too early ---------------------------------------------------------------------------------------


def pull_from_the_controller(c: Controller) -> None:
    """Pulls, and expects the controller to be what it was."""
    start = c.mark()
    c.pull()
    c.expect_rest()
    c.expect_link_gone()
    c.expect_line("received syscmd_apprestart", "zul_watchdog", after=start)


def expect_new_list(c: Controller) -> None:
    """The window is shown before the catalogue is read, so that for a moment the old selection is seen again."""
    c.expect_screen(lambda s: shows_list(s) and selected_rows(s) == 0, "a list without a selection")


@scenario(EVERYDAY)
def pulled_while_the_list_is_shown(c: Controller) -> None:
    c.plug_sd("typical")
    c.expect_list()
    c.choose(0)
    pull_from_the_controller(c)
    c.plug_sd("typical")
    expect_new_list(c)


@scenario(EVERYDAY)
def pulled_while_the_question_is_open(c: Controller) -> None:
    start = c.mark()
    c.plug_usb("continue")
    c.expect_list()
    c.choose(0)
    c.ask()
    pull_from_the_controller(c)
    assert "################# Quick operation" not in c.lines(after=start), "the closed question counted as Yes"
    c.plug_usb("continue")
    c.expect_list()


@scenario(EVERYDAY)
def pulled_while_a_command_runs(c: Controller) -> None:
    c.let_go("rest")
    c.plug_usb("waiting")
    c.expect_list()
    c.choose(0, 1)
    c.confirm()
    c.expect_operation("held begins")
    pull_from_the_controller(c)
    assert c.operations() == ["held begins"], "the command does not run on"
    c.let_go("held")
    c.expect_operation("held ends")
    c.let_polls_pass(2)
    assert c.operations() == ["held begins", "held ends"], "the batch went on without its medium"
    c.plug_usb("waiting")
    expect_new_list(c)


@scenario(EVERYDAY)
def confirmed_while_a_command_of_an_earlier_batch_runs(c: Controller) -> None:
    """Every operation that was confirmed is run, once; nothing more of the batch whose medium is gone."""
    c.let_go("rest", "first")
    c.plug_usb("waiting")
    c.expect_list()
    c.choose(0, 1)
    c.confirm()
    c.expect_operation("held begins")
    pull_from_the_controller(c)
    c.plug_usb("waiting")
    expect_new_list(c)
    c.choose(2, 3)
    c.confirm()
    assert c.operations() == ["held begins"], "the command of the earlier batch does not run on"

    def last_begins() -> bool:
        assert not shows_unplug_message(c.board.screen()), "asked to unplug before everything has run"
        return "second begins" in c.operations()

    c.let_go("held")
    wait_until(last_begins, BATCH, "the last operation begins")
    confirmed = ["held begins", "held ends", "first begins", "first ends", "second begins"]
    assert c.operations() == confirmed, f"not what was confirmed: {c.operations()}"
    c.let_go("second")
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    c.let_polls_pass(2)
    assert c.operations() == [*confirmed, "second ends"], f"not what was confirmed: {c.operations()}"


@scenario(FULL)
def pulled_during_the_calibration(c: Controller) -> None:
    c.plug_sd("direct")
    c.expect_screen(lambda s: shows_calibration(s, (100, 100)), "the first cross of the calibration", BATCH)
    pull_from_the_controller(c)
    assert c.board.holds("pgrep -x ts_calibrate"), "the calibration should end by itself"
    c.board.tap(100, 100)
    c.board.tap(700, 380)
    wait_until(lambda: not c.board.holds("pgrep -x ts_calibrate"), LIMIT, "the calibration ends")
    c.let_polls_pass(1)
    c.plug_sd("direct")
    calibrate(c)
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)


@scenario(FULL)
def pulled_at_the_message_and_plugged_again(c: Controller) -> None:
    c.plug_usb("continue")
    c.expect_list()
    c.choose(0)
    c.confirm()
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    pull_from_the_controller(c)
    c.plug_usb("continue")
    expect_new_list(c)


# --- Abort and countdown ------------------------------------------------------------------------------------


def expect_nothing_but_a_reboot(c: Controller, mark: str) -> None:
    """What the tool has done between a mark and the reboot."""
    lines = c.lines(boot="-1", after=mark)
    assert not any(line.startswith("####") for line in lines), "an operation was run"
    # Ending for a reboot is no failure, so that the service does not bring the tool back.
    assert not any("Scheduled restart job" in line for line in lines), "the tool was started again"


@scenario(FULL)
def abort_reboots(c: Controller) -> None:
    mark = c.mark()
    c.plug_sd("typical")
    c.expect_screen(shows_time_left, "the countdown")
    c.ask(CANCEL)
    c.photograph("09-abort")
    start = c.board.monitor.count()
    c.board.tap(*question_buttons(c.board.screen())[0])
    c.board.wait_for_reset(BATCH, start)
    c.pull()
    c.board.wait_for_system()
    c.expect_rest()
    expect_nothing_but_a_reboot(c, mark)


@scenario(FULL)
def countdown_reboots(c: Controller) -> None:
    mark = c.mark()
    c.plug_sd("typical")
    c.expect_list()
    c.choose(0)
    c.board.wait_for_reset(COUNTDOWN)
    c.pull()
    c.board.wait_for_system()
    c.expect_rest()
    expect_nothing_but_a_reboot(c, mark)


# --- The tool is killed -------------------------------------------------------------------------------------


def kill_tool(c: Controller) -> None:
    killed = c.pid("zul_upgrade")
    c.board.shell("kill -KILL $(pidof zul_upgrade)")
    wait_until(lambda: c.pid("zul_upgrade") not in ("", killed), LIMIT, "the service brings the tool back")


@scenario(FULL)
def killed_while_idle(c: Controller) -> None:
    kill_tool(c)
    c.expect_tool_waiting()
    c.expect_rest()
    c.plug_sd("typical")
    c.expect_list()
    c.expect_upgrade_mode()


@scenario(FULL)
def killed_while_the_list_is_shown(c: Controller) -> None:
    c.plug_sd("typical")
    c.expect_list()
    c.choose(0)
    kill_tool(c)
    expect_new_list(c)
    c.expect_upgrade_mode()
    c.pull()
    c.expect_rest()
    c.expect_link_gone()


@scenario(FULL)
def killed_while_a_command_runs(c: Controller) -> None:
    c.let_go("first")
    c.plug_usb("waiting")
    c.expect_list()
    c.choose(0)
    c.confirm()
    c.expect_operation("held begins")
    kill_tool(c)
    assert not c.board.holds("pgrep -f operation.sh"), "the command goes on beside the next batch"
    expect_new_list(c)
    c.choose(2)
    c.confirm()
    c.expect_screen(shows_unplug_message, "the request to unplug", BATCH)
    assert c.operations() == ["held begins", "first begins", "first ends"]
    c.pull()
    c.expect_rest()
    c.expect_link_gone()


# --- Another user of the controller --------------------------------------------------------------------------

REFUSED = re.compile(r"denied|not permitted|superuser|read-only", re.IGNORECASE)


@scenario(EVERYDAY)
def a_local_user_reaches_the_queue_and_nothing_else(c: Controller) -> None:
    user = "setpriv --reuid=nobody --regid=nogroup --clear-groups"
    tool = c.pid("zul_upgrade")
    queue = c.board.shell("ipcs -q | awk '$1 ~ /^0x/ {print $2}'")
    assert queue.isdigit(), "not one queue"

    for attempt in (
        f"kill {tool}",
        f"dd if=/proc/{tool}/mem count=1",
        f"cat /proc/{tool}/environ",
        f"ipcrm -q {queue}",
        "ln -s /tmp /mnt/upgrade",
        "mount -t tmpfs /dev/sdz1 /media",
        "cp /etc/hostname /opt/zul/en.qm",
        "ln -sf /etc/hostname /opt/zul/en.qm",
        "ln -sf /etc/hostname /run/zul_upgrade/en.qm",
        "ln -sf /etc/hostname /run/zul_upgrade/screen.qss",
        "cp /etc/hostname /etc/default/zul_upgrade",
        "touch /run/zul_upgrade/file",
        "touch /var/cache/zul-upgrade/file",
        "dd if=/dev/zero of=/dev/fb0 count=1",
        "dd if=/dev/input/event0 count=1",
    ):
        code, said = c.board.console.run(f"{user} {attempt} 2>&1")
        assert code != 0 and REFUSED.search(said), f"not refused: {attempt}: {said}"

    sockets = c.board.shell(f"ls -l /proc/{tool}/fd | sed -n 's/.*socket:.\\([0-9]*\\).*/\\1/p'").split()
    tables = " ".join(f"/proc/net/{name}" for name in ("tcp", "tcp6", "udp", "udp6", "raw", "raw6"))
    for socket in sockets:
        assert not c.board.holds(f"grep -hw {socket} {tables}"), "the tool has a socket of the network"

    # What is mounted in namespaces of one's own the controller's "df" does not list.
    own = "mount -t tmpfs /dev/sdz1 /media && mkdir /media/zul_install && df >/tmp/own-mounts; exec sleep 1000"
    programs = c.running_programs()
    c.board.start(f"{user} unshare --user --map-root-user --mount sh -c '{own}'")
    c.board.wait_for("grep /dev/sdz1 /tmp/own-mounts")
    c.let_polls_pass(1)
    assert c.running_programs() == programs, "a user's own mount was taken for a medium"
    c.board.shell("pkill -u nobody sleep; rm /tmp/own-mounts")

    # The queue is everybody's: the watchdog obeys, and what nobody understands does no harm.
    watchdog = c.mark()
    for text in ("--long", SUSPENDED.removeprefix("received "), "syscmd_apprestart"):
        c.board.shell(f"{user} /opt/zul/send_command {text}")
    c.expect_line(SUSPENDED, "zul_watchdog", after=watchdog)
    c.expect_line("received syscmd_apprestart", "zul_watchdog", after=watchdog)
    c.expect_rest()
    assert c.pid("zul_upgrade") == tool, "the tool was started anew"


# --- Touch ---------------------------------------------------------------------------------------------------


@scenario(FULL)
def touch_by_evdev_instead_of_libinput(c: Controller) -> None:
    event = c.board.shell("grep -l 'Board touch screen' /sys/class/input/event*/device/name | cut -d/ -f5")
    settings = f"QT_QPA_FB_NO_LIBINPUT=1 QT_QPA_EVDEV_TOUCHSCREEN_PARAMETERS=/dev/input/{event}"
    with_environment(c, settings)
    c.plug_sd("typical")
    c.expect_list()
    c.choose(0, 2)
    c.take_out(0)


@scenario(FULL)
def touch_turned_by_a_udev_rule(c: Controller) -> None:
    """As docs/installing.md tells for a panel that is mounted upside down."""
    rule = (
        'ACTION=="add|change", KERNEL=="event*", ATTRS{name}=="Board touch screen",'
        ' ENV{LIBINPUT_CALIBRATION_MATRIX}="-1 0 1 0 -1 1"'
    )
    use_rules = "udevadm control --reload && udevadm trigger --action=change --subsystem-match=input --settle"
    c.board.shell(f"mkdir -p /run/udev/rules.d && echo '{rule}' >/run/udev/rules.d/99-touch.rules && {use_rules}")
    c.clean_up = f"rm /run/udev/rules.d/99-touch.rules && {use_rules}"
    c.board.shell("systemctl restart zul_upgrade")
    c.expect_tool_waiting()
    c.plug_sd("typical")
    c.expect_list()
    c.board.tap(WIDTH - 1 - OPERATIONS_COLUMN, HEIGHT - 1 - FIRST_ROW)
    c.expect_screen(lambda s: selected_rows(s) == 1, "the first row is chosen")


def with_environment(c: Controller, settings: str) -> None:
    """A tool with other settings, until the board is started again."""
    c.with_service_settings(*(f"Environment={setting}" for setting in settings.split()))


# --- The package --------------------------------------------------------------------------------------------


# What a running system and its package database write by themselves.
WRITTEN_BY_THE_SYSTEM = ("/var/log", "/var/lib/dpkg", "/var/lib/systemd/timers", "/var/cache", "/var/tmp", "/tmp")

# What Debian's scripts write when they enable the service, and take away again.
SERVICE_ENABLED = {
    "/etc/systemd/system/multi-user.target.wants/zul_upgrade.service",
    "/var/lib/systemd/deb-systemd-helper-enabled/multi-user.target.wants/zul_upgrade.service",
    "/var/lib/systemd/deb-systemd-helper-enabled/zul_upgrade.service.dsh-also",
}


def list_files(c: Controller, name: str) -> None:
    """Every file of the system with its type, owner and mode, kept on the board: the serial line is slow."""
    left_out = " -o ".join(f"-path {path}" for path in WRITTEN_BY_THE_SYSTEM)
    lines = "-printf '%p %y %u:%g %m\\n'"
    c.board.shell(f"find / -xdev \\( {left_out} \\) -prune -o {lines} | LC_ALL=C sort >/run/{name}", BATCH)
    assert int(c.board.shell(f"wc -l </run/{name}")) > 1000, "that cannot be the whole system"


def only_in(c: Controller, one: str, other: str) -> set[str]:
    """The lines of one list of files that the other has not."""
    return set(c.board.shell(f"LC_ALL=C comm -23 /run/{one} /run/{other}").splitlines())


@scenario(FULL)
def package_upgrades_and_leaves_nothing_behind(c: Controller) -> None:
    [package] = glob.glob(os.path.join(c.board.image, "zul-upgrade_*.deb"))
    with open(package, "rb") as file:
        c.plug_sd_image(c.medium_with("no-catalogue", {"tool.deb": file.read()}))
    expect_media(c, 1)
    c.board.shell("mkdir -p /var/tmp/package && cp /media/mmcblk0p1/tool.deb /var/tmp/package/tool.deb")
    c.pull()
    expect_media(c, 0)
    # By their real directories: /lib is a link, and links are in the package, too.
    real_names = "while read -r file; do echo $(realpath -m $(dirname $file))/$(basename $file); done"
    contents = set(c.board.shell(f"dpkg -L zul-upgrade | {real_names}", BATCH).splitlines())
    list_files(c, "installed")

    before = c.pid("zul_upgrade")
    c.board.shell("dpkg -i /var/tmp/package/tool.deb", BATCH)
    assert c.pid("zul_upgrade") not in ("", before), "the new version does not run"
    c.expect_tool_waiting()
    list_files(c, "upgraded")
    assert not (added := only_in(c, "upgraded", "installed")), f"an upgrade leaves behind: {added}"
    assert not (lost := only_in(c, "installed", "upgraded")), f"an upgrade removes: {lost}"

    c.board.shell("dpkg --purge zul-upgrade", BATCH)
    assert c.pid("zul_upgrade") == "", "the tool still runs"
    list_files(c, "purged")
    gone = {line.split(" ")[0] for line in only_in(c, "installed", "purged")}
    assert not (added := only_in(c, "purged", "installed")), f"left behind: {added}"
    assert gone <= contents | SERVICE_ENABLED, f"removed, and never part of the package: {gone - contents}"
    assert "/opt/zul/zul_upgrade" in gone and c.board.holds("test -x /opt/zul/zul_watchdog"), "not the tool and only it"

    c.board.shell("dpkg -i /var/tmp/package/tool.deb", BATCH)
    c.expect_tool_waiting()
    list_files(c, "again")
    different = only_in(c, "again", "installed") | only_in(c, "installed", "again")
    assert not different, f"installing again gives something else: {different}"


# --- Power cuts ---------------------------------------------------------------------------------------------

FILES = 4
MOMENTS = ("begins", "copied", "durable")


def copying_medium(c: Controller) -> str:
    """The medium of the power cuts, with something to copy on it."""
    return c.medium_with("files", {"payload": os.urandom(3_000_000)})


def check_after_cut(c: Controller, durable: dict[str, str]) -> None:
    """A clean start, and everything that was reported as saved is there as it was saved."""
    c.expect_rest()
    c.expect_tool_waiting()
    assert c.board.shell("systemctl --failed --no-legend --plain") == "", "a unit has failed"
    assert not c.board.holds("dmesg | grep -E 'EXT4-fs (error|warning)'"), "the file system is damaged"
    for number, checksum in durable.items():
        found = c.board.shell(f"md5sum </opt/zul/data/{number}").split()[0]
        assert found == checksum, f"file {number} was saved and is not what was saved"


def cut(c: Controller, number: int, moment: str, saved: dict[str, str]) -> None:
    """One batch up to a moment of one of its steps, and no power then. `saved` keeps what was reported as saved."""
    image = copying_medium(c)
    c.board.console.text = ""
    c.plug_sd_image(image)
    c.board.console.wait_for_text(rf"step {number} {moment}[^\n]*\n", BATCH)
    c.board.cut_power()
    told = c.board.console.text  # the board went on for a moment: what it told then counts too
    for step, checksum in re.findall(r"step (\d) durable (\w{32})", told):
        saved[step] = checksum
    for step in re.findall(r"step (\d) copied", told):
        # From here on the new file may or may not have taken the old one's place.
        if f"step {step} durable" not in told:
            saved.pop(step, None)
    c.sd = None
    c.board.boot()
    check_after_cut(c, saved)


def power_cuts(c: Controller, moments: list[tuple[int, str]]) -> None:
    recovered = 0
    saved: dict[str, str] = {}
    for number, moment in moments:
        cut(c, number, moment, saved)
        recovered += 1
        c.say(f'cut after "step {number} {moment}": recovered, {len(saved)} saved files intact')
    c.say(f"{len(moments)} power cuts, {recovered} recovered")
    assert recovered == len(moments)


@scenario(EVERYDAY)
def three_power_cuts(c: Controller) -> None:
    power_cuts(c, [(1, "begins"), (2, "copied"), (3, "durable")])


@scenario(FULL)
def twenty_power_cuts(c: Controller) -> None:
    every = [(number, moment) for number in range(1, FILES + 1) for moment in MOMENTS]
    power_cuts(c, every + every[:8])


# --- Every power cut ----------------------------------------------------------------------------------------

SEED = 1
FAULTY = ("no-sync", "writes-in-place", "renames-before-it-syncs")


@scenario(EVERYDAY)
def power_cuts_at_every_write_of_an_upgrade(c: Controller) -> None:
    """Bounded by time: at every report and flush, then at as many writes as it lasts for."""
    recorder = Recorder(c)
    upgrades = {os.path.basename(upgrade.medium): upgrade for upgrade in powercuts.shipped(calibrate)}
    recordings = powercuts.record(recorder, upgrades["collect-logs"], card=True)
    recordings += powercuts.record(recorder, upgrades["update-program"], busy=True)
    powercuts.replay_all(c, recordings, 60, SEED)


@scenario(EVERYDAY)
def power_cuts_find_every_faulty_medium(c: Controller) -> None:
    """Each makes a mistake of its own: the replay is not always content."""
    recorder = Recorder(c)
    for name in FAULTY:
        powercuts.expect_bad(c, recorder, powercuts.faulty(c, name), 60, SEED)


@scenario(FULL)
def power_cuts_at_every_write_of_every_example(c: Controller) -> None:
    recorder = Recorder(c)
    recordings = []
    for upgrade in powercuts.shipped(calibrate):
        for busy in (False, True):
            recordings += powercuts.record(recorder, upgrade, busy, card=not busy)
    powercuts.replay_all(c, recordings, None, SEED)
    on_the_disk = [recording for recording in recordings if recording.kind == "ext4"]
    for number, recording in enumerate(on_the_disk[1::3][:5]):
        [cut] = powercuts.some_states(recording, 1, SEED + number)
        powercuts.boot_state(c, recording, cut)


# --- Traces -------------------------------------------------------------------------------------------------


def expect_traces(c: Controller, mark: str) -> None:
    """What is kept of a scenario that fails now holds what was in the journal before."""
    folder = traces.keep(c, "provoked")
    try:
        with open(os.path.join(folder, "journal.txt"), encoding="utf-8") as journal:
            assert re.search(rf"board-mark\S*: {mark}\n", journal.read()), "no mark in the kept journal"
        assert os.path.getsize(os.path.join(folder, "console.log")), "nothing is kept of the serial line"
    finally:
        shutil.rmtree(folder)


@scenario(EVERYDAY)
def traces_of_a_command_that_does_not_end_hold_the_journal(c: Controller) -> None:
    mark = c.mark()
    try:
        c.board.shell("sleep 6000", limit=1)
    except Timeout:
        expect_traces(c, mark)
    else:
        raise AssertionError("the command has ended")
    assert not c.board.holds("pgrep -x sleep"), "the command goes on"


@scenario(FULL)
def traces_of_a_reboot_hold_the_journal(c: Controller) -> None:
    mark = c.mark()
    start = c.board.monitor.count()
    c.board.start("sleep 1; reboot")
    c.board.wait_for_reset(BATCH, start)
    expect_traces(c, mark)


@scenario(FULL)
def traces_of_a_machine_that_has_ended_hold_the_journal(c: Controller) -> None:
    mark = c.mark()
    c.board.shell("journalctl --sync && sync")
    c.board.kill()
    expect_traces(c, mark)


# --- Figures ------------------------------------------------------------------------------------------------


@scenario(FULL)
def figures_beside_their_baselines(c: Controller) -> None:
    figures.measure(c)


@scenario(FULL)
def figures_of_the_gate(c: Controller) -> None:
    figures.gate(c)
