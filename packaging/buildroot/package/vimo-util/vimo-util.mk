################################################################################
#
# vimo-util
#
# SPDX-License-Identifier: MIT
#
################################################################################

VIMO_UTIL_VERSION = 7.0.0
VIMO_UTIL_SITE = $(BR2_EXTERNAL_VIMO_UTIL_PATH)/../..
VIMO_UTIL_SITE_METHOD = local
VIMO_UTIL_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build
VIMO_UTIL_LICENSE = MIT
VIMO_UTIL_LICENSE_FILES = LICENSE
VIMO_UTIL_INSTALL_STAGING = YES

$(eval $(cmake-package))
