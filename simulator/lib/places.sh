# shellcheck shell=bash
# shellcheck disable=SC2034 # the names are for the scripts that source this
# Where an operator's finger goes on the 800 x 480 screen. Everything that knows coordinates is here.

operation_x=190   # middle of the left list, 11 to 369 on a screenshot
selected_x=610    # middle of the right list, 431 to 789
first_row_y=132   # middle of the first row: the lists begin at 113, below a border of 1
row_height=35     # the height that the form's style sheet gives an item

at_confirm="248 434"     # middle of the left button on a screenshot of the list page
at_cancel="551 434"      # middle of the right one
at_details="730 30"      # middle of the form's rectangle 670, 10, 121 x 41
at_question_yes="340 266" # the question boxes are centred and differ in size: a point inside both boxes' Yes
at_question_no="448 266"  # and inside both boxes' No
at_rest="799 479"        # the corner, where nothing reacts: a finger that is lifted leaves no pointer behind

between_lists="400 350"       # below the arrows on a screenshot of the list page; in the table on the status page
low_in_list="200 390"         # in the left list, below the last row that a medium here fills
countdown_area=60x45+735+5    # the form's rectangle of the countdown
message_area=661x60+0+0       # the form's rectangle of the message, without the row that touches the table
