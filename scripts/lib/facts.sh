# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2034 # the names are for the scripts that source this
# What the simulator, the virtual board and the benchmarks have to know of the tool. Shell scripts source it, Python reads
# it with board/lib/facts.py: a line is a name and a number or a text in double quotes.
#
# None of it has its home here: tests/facts holds the first part to the sources, tests/tst_widget_places.cpp the places to
# the real window. Both name the line that differs.

screen_width=800
screen_height=480
application_programs="zul_main zul_gui_en zul_gui_cn zul_gui_jk zul_gui_lan"
suspension=600        # what the watchdog is asked for
countdown_seconds=302 # from the list to the restart
queue_project_id=143  # of the watchdog's queue, for ftok(3)

# Where an operator's finger goes, and where something is to be seen. A list is touched in its middle.
operation_x=189             # the left list
selected_x=609              # the right one
first_row_y=131             # the middle of the first row of both
row_height=35
at_confirm="248 433"
at_cancel="551 433"
at_details="730 30"
at_question_yes="336 283"   # the question boxes are centred and differ in size: the middle of what both boxes' Yes share
at_question_no="443 283"    # and both boxes' No
at_rest="799 479"           # the corner, where nothing reacts: a finger that is lifted leaves no pointer behind
between_lists="400 350"     # below the arrows, on the status page in the table
low_in_list="200 390"       # in the left list, below the last row that a medium of the tests fills
countdown_area="60x45+735+5"
message_area="661x60+0+0"   # without the row that touches the table
