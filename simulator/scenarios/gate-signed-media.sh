# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# shellcheck disable=SC2154 # state: controller-isolated.sh
# What is signed is accepted, whatever else is on the medium. What was verified is what runs, also when the medium is
# another one by then, and only the folder for results is the medium's.

controller_is_up
on_controller killall -STOP zul_upgrade
must "each medium that has to be is accepted, or mounted as it is" judge accepted mounted
on_controller killall -CONT zul_upgrade
let_pass 1
must "a medium with a catalogue in its results is accepted" judge --plug sda1 results-beside-a-planted-catalogue
medium_taken_up /media/sda1
must "the medium is another one by now" replaced_by_a_hostile_one "$state/devices/sda1"
choose 1 3
check "the list is the signed one" fails logged ' tool +append item \[Hostile'
confirm_choice
must "the batch ends" within 60 batch_over
check "what was signed has run" logged ' command +updated$'
check "what is there now has not" fails logged ' command +hostile$'
check "nothing was restarted" fails logged ' stand-in +reboot'
must "the medium has the report" within 10 test -s "$state/devices/sda1/zul_results/report"
check "of what was signed" grep -qx 'echo updated' "$state/devices/sda1/zul_results/report"
must "it is pulled" zul_media unmount sda1
given_back
