# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
################################################################################
#
# zul-upgrade
#
################################################################################

# The external tree is part of the sources.
ZUL_UPGRADE_VERSION = 2.0.1
ZUL_UPGRADE_SITE = $(BR2_EXTERNAL_ZUL_UPGRADE_PATH)/../..
ZUL_UPGRADE_SITE_METHOD = local
ZUL_UPGRADE_OVERRIDE_SRCDIR_RSYNC_EXCLUSIONS = --exclude /build --exclude /demo-output
ZUL_UPGRADE_LICENSE = MIT
ZUL_UPGRADE_LICENSE_FILES = LICENSE
ZUL_UPGRADE_DEPENDENCIES = fontconfig liberation psmisc qt5base qt5tools wqy-zenhei

# Buildroot has no WenQuanYi Micro Hei: Chinese, Japanese and Korean are drawn with the sister font that it has. It has no
# Liberation Sans Narrow either; what that means for English says docs/installing.md, "Fonts".
ZUL_UPGRADE_FONTS = \
	/usr/share/fonts/liberation/LiberationSans-Regular.ttf \
	/usr/share/fonts/liberation/LiberationSans-Bold.ttf \
	/usr/share/fonts/wqy-zenhei/wqy-zenhei.ttc

# Without systemd there is no service, see docs/installing.md.
ZUL_UPGRADE_UNIT_DIR = $(if $(BR2_INIT_SYSTEMD),/usr/lib/systemd/system)

ZUL_UPGRADE_CONF_OPTS = \
	-DBUILD_TESTING=OFF \
	-DZUL_CATALOGUE=OFF \
	-DZUL_STRIP=OFF \
	-DZUL_PROGRAM_DIR=$(call qstrip,$(BR2_PACKAGE_ZUL_UPGRADE_PROGRAM_DIR)) \
	-DZUL_UNIT_DIR=$(ZUL_UPGRADE_UNIT_DIR) \
	-DZUL_UDEV_DIR=/lib/udev/rules.d \
	-DZUL_FONTS='$(subst $(space),;,$(strip $(ZUL_UPGRADE_FONTS)))'

ifeq ($(BR2_PACKAGE_ZUL_UPGRADE_MEDIA),y)
ZUL_UPGRADE_DEPENDENCIES += openssl
ZUL_UPGRADE_CONF_OPTS += -DZUL_GATE=ON
define ZUL_UPGRADE_INSTALL_MEDIA
	DESTDIR=$(TARGET_DIR) $(BR2_CMAKE) --install $(ZUL_UPGRADE_BUILDDIR) --component media
endef
ZUL_UPGRADE_POST_INSTALL_TARGET_HOOKS += ZUL_UPGRADE_INSTALL_MEDIA
else
ZUL_UPGRADE_CONF_OPTS += -DZUL_GATE=OFF
endif

$(eval $(cmake-package))
