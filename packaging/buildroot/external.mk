include $(sort $(wildcard $(BR2_EXTERNAL_ZUL_UPGRADE_PATH)/package/*/*.mk))
