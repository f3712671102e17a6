# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2154 # simulator, state, looks, build: the other files of lib/
# What the gate refuses is not there for the tool, however it was made: all of it is plugged in while the tool looks. What
# is signed is there at its next look.

controller_is_up
note_looks
must "each hostile medium is refused, with its line" judge refused
before=$(wc -l <"$looks")
must "the tool looks for media while all of them are plugged in" within 30 looked_more_than $((before + 1))
check "at every look there was nothing" test "$(sort -u "$looks")" = "none free"
check "the window stays away" window_hidden
check "it was not there in between" fails logged ' simulator +the tool.s window is visible'
check "there is no link" fails upgrade_link
check "there was none in between" fails logged ' simulator +/mnt/upgrade points at '
check "the application programs go on" all_applications_run
check "none of them was stopped" fails logged ' was killed by '
check "the watchdog was told nothing" fails logged ' watchdog +received '

must "the signed medium is accepted" judge --plug mmcblk1p1 signed
medium_taken_up /media/mmcblk1p1
must "a hostile one beside it is refused" judge --plug sdzz1 unsigned
looked=$(wc -l <"$looks")
must "the tool looks again" within 30 looked_more_than $((looked + 1))
check "it goes on with the signed one" link_points_at /media/mmcblk1p1
check "it was taken up once" within 10 logged_times 1 ' watchdog +received syscmd_suspend@600'
must "the signed one is pulled" zul_media unmount mmcblk1p1
given_back
looked=$(wc -l <"$looks")
must "the tool looks while only refused ones are there" within 30 looked_more_than $((looked + 1))
check "none of them is taken up" fails upgrade_link
