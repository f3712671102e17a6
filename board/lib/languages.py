# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

"""What the operator reads: the same on the controller and in the preview, in English and in other languages."""

from comparison import difference, is_same
from controller import (
    CANCEL,
    COUNTDOWN,
    DETAILS,
    Controller,
    selected_rows,
    shows_list,
    shows_time_left,
)
from registry import EVERYDAY, scenario

DRIVE = "/media/sda1"

# Names in letters of every kind.
MEDIUM = "every-script"


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
