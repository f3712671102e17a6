# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# The escaped names reach the tool as they were meant, and their commands run.

controller_is_up
on_controller sh -c 'mkdir -p /opt/zul/logs && touch /opt/zul/logs/app.log'
plug sd "${examples:?}/chinese-names"
medium_taken_up /media/mmcblk1p1
choose 1 2
check "the names are those that were meant" in_order \
    ' tool +append item \[更新语言包\]' ' tool +append item \[清除日志\]'
confirm_choice
must "the batch ends" within 60 batch_over
check "the language packs are there" on_controller cmp /opt/zul/languages.txt /media/mmcblk1p1/languages.txt
check "nothing half done is left" fails on_controller test -e /opt/zul/languages.new
check "the logs are gone" fails on_controller test -e /opt/zul/logs
