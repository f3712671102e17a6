# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The counterpart itself: it restarts what dies, and does what it is told and nothing else.

send() {
    on_controller "$programs/send_command" "$@"
}

controller_programs=(zul_watchdog)
watchdog_settings=()
install -m 755 "$build/simulator/send_command" /mnt/send_command
start_controller
must "the application programs run" within 20 all_applications_run
on_controller sh -c 'cat >/opt/zul/send_command && chmod 755 /opt/zul/send_command' </mnt/send_command

on_controller killall zul_main
must "a program that dies is noticed" wait_for_log ' watchdog +zul_main was killed by signal 15$' 5
must "and started again" within 20 in_order ' watchdog +zul_main was killed by signal 15$' ' watchdog +started zul_main$'

mark
send syscmd_suspend@600
must "a suspension is received" wait_for_log ' watchdog +received syscmd_suspend@600$' 5
on_controller killall zul_main zul_gui_cn
let_pass 2
check "nothing is started again during it" fails logged ' watchdog +started '
send syscmd_suspend@1
must "a shorter one takes its place and ends by itself" wait_for_log ' watchdog +the suspension is over$' 10
must "and the programs run again" within 20 all_applications_run

mark
send syscmd_stop
must "a stop is received" wait_for_log ' watchdog +received syscmd_stop$' 5
on_controller killall zul_gui_jk
let_pass 2
check "nothing is started again after it" fails logged ' watchdog +started '
for command in "" hello syscmd_suspend syscmd_suspend@ syscmd_suspend@x syscmd_suspend@-1 syscmd_suspend@4294967296 \
    syscmd_apprestart2 " syscmd_resume"; do
    mark
    send "$command"
    must "\"$command\" is printed and ignored" within 20 in_order " watchdog +received $command\$" ' watchdog +ignored: '
done
send --long
must "a text without a zero byte ends with the record" wait_for_log " watchdog +received x{512}\$" 5
check "none of them has started anything" test "$(count_applications)" = 4
send syscmd_resume
must "it resumes" within 20 all_applications_run

send syscmd_suspend@4294967295
on_controller killall zul_main
send syscmd_apprestart
must "a restart ends the longest suspension" within 20 all_applications_run
check "the watchdog has lived through all of it" running zul_watchdog
