# SPDX-License-Identifier: MIT
include $(sort $(wildcard $(BR2_EXTERNAL_VIMO_UTIL_PATH)/package/*/*.mk))
