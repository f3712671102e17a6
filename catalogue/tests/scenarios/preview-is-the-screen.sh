# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What the checker draws is, pixel for pixel, what the controller's screen shows with the same medium.

pictures=$(mktemp -d /mnt/pictures-XXXXXX)

# shows PICTURE AREA - whether the screen is like the picture within the area. The countdown and the message, which
# depends on where the medium is plugged in, are outside.
shows() {
    screenshot "$pictures/screen.png" || return 1
    convert "$pictures/screen.png" -crop "$2" +repage "$pictures/a.png"
    convert "$pictures/preview/$1.png" -crop "$2" +repage "$pictures/b.png"
    compare -metric AE "$pictures/a.png" "$pictures/b.png" null: 2>/dev/null
}

controller_is_up
# shellcheck disable=SC2154 # build: common.sh
must "the preview is drawn" "$build/catalogue/zul_catalogue" preview "${examples:?}/chinese-names" -o "$pictures/preview"
plug sd "$examples/chinese-names"
medium_taken_up /media/mmcblk1p1
must "the list page is shown" within 10 list_page_shown
check "the list" within 10 shows 01-list 800x425+0+55
choose 1 2
check "everything selected" within 10 shows 02-selected 800x425+0+55
confirm_choice
must "the batch ends" within 60 batch_over
check "the status page at the end" within 10 shows 06-finished 800x415+0+62
check "it can tell a difference" fails shows 04-start 800x415+0+62
