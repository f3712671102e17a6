# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The same with ENDGAME: the operations that were confirmed last, then "sync" and "reboot", each once.

medium=$(variant held 's/^ENDGAME=.*/ENDGAME=true/')
controller_is_up
chosen_at_work "$medium" 1 2 3
confirmed_anew "$medium" 2
the_new_batch_waits
check "nothing was restarted yet" fails logged ' stand-in '
let_go held
ended_without_a_word
must "reboot is called" wait_for_log ' stand-in +reboot$' 60
check "the operation ran once, and none of the old batch" notes_are "held begins" "held ends" first
check "sync was called once" logged_times 1 ' stand-in +sync$'
check "in their order" in_order ' tool +#+ First operation$' ' tool +#+ Save data$' ' tool +#+ Reboot system$'
controller_restarts
