# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

include $(sort $(wildcard $(BR2_EXTERNAL_ZUL_UPGRADE_PATH)/package/*/*.mk))
