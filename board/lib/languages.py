# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What the operator reads: the same on the controller and in the preview, in English and in other languages."""

from comparison import SAME, difference, is_same
from controller import (
    BATCH,
    CANCEL,
    COUNTDOWN,
    DETAILS,
    ROWS_SHOWN,
    Controller,
    selected_rows,
    shows_digits,
    shows_list,
    shows_time_left,
)
from recording import Catalogue
from registry import EVERYDAY, FULL, scenario

LANGUAGE_IS = "sed -i 's|^ZUL_LANGUAGE=.*|ZUL_LANGUAGE={}|' /etc/default/zul_upgrade"
TRANSLATIONS = "/usr/share/zul-upgrade/translations"
DRIVE = "/media/sda1"

# Names in letters of every kind.
MEDIUM = "every-script"

# What the system writes by itself, whatever the tool does.
WRITTEN_BY_THE_SYSTEM = ("/var/log", "/var/lib/systemd")


def image_of(c: Controller) -> str:
    return c.medium_with(MEDIUM, {"operation.sh": c.contents("waiting", "operation.sh").encode()})


# --- The same picture everywhere ----------------------------------------------------------------------------


@scenario(EVERYDAY)
def every_screen_is_the_one_that_the_preview_draws(c: Controller) -> None:
    preview = c.preview(MEDIUM, DRIVE)
    c.plug_usb_image(image_of(c))
    c.expect_same(preview, "list")
    c.choose(0, 1, 2, 3)
    c.expect_same(preview, "selected")
    c.ask()
    c.expect_same(preview, "question")
    c.answer(True)
    c.expect_operation("cyrillic begins")
    c.expect_same(preview, "running")

    # A batch that waits for the command of an earlier one stands still where it starts.
    c.pull()
    c.expect_rest()
    c.plug_usb_image(image_of(c))
    c.expect_screen(lambda s: shows_list(s) and selected_rows(s) == 0, "a list without a selection")
    c.ask(CANCEL)
    c.expect_same(preview, "abort")
    c.answer(False)
    c.choose(0, 1, 2, 3)
    c.confirm()
    c.expect_same(preview, "start")
    c.let_go("cyrillic")
    c.expect_same(preview, "finished")
    c.board.tap(*DETAILS)
    c.expect_same(preview, "details")


@scenario(EVERYDAY)
def another_style_is_another_picture(c: Controller) -> None:
    """What Qt takes where nobody names a style and there is no frame buffer."""
    c.board.shell("echo QT_STYLE_OVERRIDE=fusion >/run/other-style")
    c.with_service_settings("EnvironmentFile=/run/other-style")
    c.plug_usb_image(image_of(c))
    c.expect_screen(shows_time_left, "the countdown")
    found = difference(c.board.screen(), c.preview(MEDIUM, DRIVE).screen("list"), [COUNTDOWN])
    c.say(f"list: {found}")
    assert not is_same(found), "the comparison does not see the style"


# --- The language of the setting ----------------------------------------------------------------------------


def set_language(c: Controller, language: str) -> None:
    """As docs/installing.md tells. Comes back when the tool waits."""
    c.board.shell(LANGUAGE_IS.format(language))
    c.clean_up = LANGUAGE_IS.format("")
    c.board.shell("touch /run/before && systemctl restart zul_upgrade")
    c.expect_tool_waiting()


def written(c: Controller) -> str:
    """What has been written since the tool was restarted, but into /run."""
    left_out = " -o ".join(f"-path {path}" for path in ("/run", *WRITTEN_BY_THE_SYSTEM))
    return c.board.shell(f"find / -xdev \\( {left_out} \\) -prune -o -newer /run/before -print")


def told_of_the_language(c: Controller) -> list[str]:
    """What was said before the start of the tool that runs now."""
    number = c.board.shell("systemctl show -P InvocationID zul_upgrade")
    fields = f"_SYSTEMD_INVOCATION_ID={number} SYSLOG_IDENTIFIER=choose-language"
    return c.board.shell(f"journalctl -b {fields} -o cat --no-pager -q").splitlines()


def expect_language(c: Controller, language: str) -> None:
    assert c.board.shell("readlink /opt/zul/en.qm") == "/run/zul_upgrade/en.qm"
    assert c.board.shell("readlink /run/zul_upgrade/en.qm") == f"{TRANSLATIONS}/{language}.qm"
    assert told_of_the_language(c) == [], "something is said of a language that is there"


def expect_every_text(c: Controller, language: str) -> None:
    """From the list to the request to unplug."""
    preview = c.preview(MEDIUM, DRIVE, language)
    c.let_go("cyrillic")
    c.plug_usb_image(image_of(c))
    c.expect_same(preview, "list")
    c.expect_screen(shows_digits, "the countdown")  # wide captions hide what tells a list
    c.photograph(f"language-{language}-1-list")
    c.choose(0, 1, 2, 3)
    c.ask()
    c.expect_same(preview, "question")
    c.photograph(f"language-{language}-2-question")
    c.answer(True)
    c.expect_same(preview, "finished")
    c.photograph(f"language-{language}-3-unplug")


@scenario(EVERYDAY)
def chinese_by_its_setting(c: Controller) -> None:
    set_language(c, "zh_CN")
    assert not (files := written(c)), f"written at the start: {files}"
    c.board.shell("touch /var/tmp/planted")
    assert written(c).split() == ["/var/tmp", "/var/tmp/planted"], "what is written is not found"
    c.board.shell("rm /var/tmp/planted")
    expect_language(c, "zh_CN")
    expect_every_text(c, "zh_CN")


@scenario(FULL)
def german_by_its_setting(c: Controller) -> None:
    set_language(c, "de")
    expect_language(c, "de")
    expect_every_text(c, "de")


@scenario(FULL)
def russian_by_its_setting(c: Controller) -> None:
    set_language(c, "ru")
    expect_language(c, "ru")
    expect_every_text(c, "ru")


@scenario(EVERYDAY)
def a_name_that_is_no_language_is_told_and_is_english(c: Controller) -> None:
    set_language(c, "../zh_CN")
    [line] = told_of_the_language(c)
    assert line.startswith('ZUL_LANGUAGE="../zh_CN" is no language of this controller'), line
    c.plug_usb_image(image_of(c))
    c.expect_same(c.preview(MEDIUM, DRIVE), "list")


# --- The language of a medium -------------------------------------------------------------------------------

SCROLL_BAR = (343, 395)  # of the left list, where it is below its handle


@scenario(EVERYDAY)
def language_chosen_from_a_medium(c: Controller) -> None:
    """As an operator does who reads nothing else."""
    codes = Catalogue(c.folder_of("choose-language")).keys
    c.plug_usb("choose-language")
    c.expect_list()
    for _ in range((len(codes) - 1) // ROWS_SHOWN):
        before = c.board.screen()
        c.board.tap(*SCROLL_BAR)
        c.expect_screen(lambda s: difference(s, before, [COUNTDOWN]) != SAME, "the list is scrolled")
    c.choose(codes.index("zh_CN") - (len(codes) - ROWS_SHOWN))
    c.photograph("10-language")
    start = c.board.monitor.count()
    c.confirm()
    c.board.wait_for_reset(BATCH, start)
    c.pull()
    c.board.wait_for_system()
    c.clean_up = LANGUAGE_IS.format("")
    c.expect_rest()
    c.expect_tool_waiting()
    expect_language(c, "zh_CN")
    c.plug_usb_image(image_of(c))
    c.expect_same(c.preview(MEDIUM, DRIVE, "zh_CN"), "list")
