# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What the checker draws is, pixel for pixel, what the controller's screen shows with the same medium.

pictures=$(mktemp -d /mnt/pictures-XXXXXX)

# shows PICTURE - whether the screen is like it, but for the countdown's digits.
shows() {
    screenshot "$pictures/screen.png" || return 1
    without_countdown "$pictures/screen.png" "$pictures/a.png"
    without_countdown "$pictures/preview/$1.png" "$pictures/b.png"
    compare -metric AE "$pictures/a.png" "$pictures/b.png" null: 2>/dev/null
}

without_countdown() { # PICTURE RESULT
    # shellcheck disable=SC2154 # countdown_area: facts.sh
    convert "$1" -region "$countdown_area" -fill black -colorize 100 +region "$2"
}

controller_is_up
# shellcheck disable=SC2154 # build: common.sh
must "the preview is drawn" "$build/catalogue/zul_catalogue" preview "${examples:?}/chinese-names" -o "$pictures/preview" \
    --mounted-at /media/mmcblk1p1
plug sd "$examples/chinese-names"
medium_taken_up /media/mmcblk1p1
must "the list page is shown" within 10 list_page_shown
check "the list" within 10 shows 01-list
choose 1 2
check "everything selected" within 10 shows 02-selected
tap confirm
must "the question comes up" within 10 window_visible Attention
check "the question" within 10 shows 03-question
answer yes
must "the batch ends" within 60 batch_over
check "the status page at the end" within 10 shows 06-finished
tap details
check "the details" within 10 shows 07-details
check "it can tell a difference" fails shows 04-start
