# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# A command that finds the queue full is lost, says so in the log and holds nothing up.

controller_programs=()
start_controller
# Room for one record of 512 bytes, in the controller's own IPC namespace; it holds for queues made from now on.
on_controller sh -c 'echo 600 >/proc/sys/kernel/msgmnb'
start_program zul_upgrade
must "the tool starts" within 30 tool_ready
plug sd continue
must "the window comes up" within 20 window_visible
check "the first command found room and waits in the queue" within 10 queue_holds "$watchdogs_queue" "512 1"
check "no command was lost" fails logged ' tool +msgsnd failed'
unplug sd
must "the window goes" within 20 window_hidden
must "the second command finds none" wait_for_log ' tool +msgsnd failed: ?$' 10
must "the link goes" within 10 fails upgrade_link
check "the queue is as it was" within 10 queue_holds "$watchdogs_queue" "512 1"
plug usb other
must "the tool goes on" within 20 window_visible
check "and loses this command, too" within 10 logged_times 2 ' tool +msgsnd failed: ?$'
