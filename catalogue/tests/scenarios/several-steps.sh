# shellcheck shell=bash
# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Both ways to do several steps in one operation do all of them.

controller_is_up
on_controller sh -c 'cd /opt/zul && mkdir -p logs cache && touch logs/a cache/b && echo old >settings.old && echo new >settings'
plug sd "${examples:?}/several-steps"
medium_taken_up /media/mmcblk1p1
choose 1 2
confirm_choice
must "the batch ends" within 60 batch_over
check "the logs are gone" fails on_controller test -e /opt/zul/logs
check "the old settings are back" test "$(on_controller cat /opt/zul/settings)" = old
check "the cache is empty" fails on_controller test -e /opt/zul/cache/b
check "reboot comes last" in_order ' tool +#+ Restore settings$' ' tool +#+ Save data$' ' stand-in +reboot$'
