# shellcheck shell=bash
# Pulled, plugged in again and confirmed twice while one command runs: only what was confirmed last is run.

board_is_up
plug sd held
medium_taken_up /media/mmcblk1p1
choose 1 2
confirm_choice
must "the held command is at work" within 20 holds held
pulled_and_plugged_again held
must "the list page is shown" within 10 list_page_shown
choose 2 3
confirm_choice
pulled_and_plugged_again held
must "the list page is shown again" within 10 list_page_shown
choose 3
confirm_choice
the_new_batch_waits
let_go held
ended_without_a_word
must "the last choice runs" within 60 notes_are "held begins" "held ends" second
must "the batch ends" within 30 batch_over
check "the message asks for the SD card" within 20 message_is sd
let_pass 5
check "nothing else runs" notes_are "held begins" "held ends" second
