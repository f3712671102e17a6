# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT

SUMMARY = "upgrade tool of a touch-screen controller"
DESCRIPTION = "Waits, invisible, for an SD card or a USB drive that carries a command catalogue. It then takes the \
controller's 800 x 480 screen from the application programs, offers the operations of the catalogue or runs them at \
once, reports each one, and gives the screen back when the medium is removed."
SECTION = "admin"
LICENSE = "MIT"
LIC_FILES_CHKSUM = "file://LICENSE;md5=d6e117f02b58904d72793551b5255920"

inherit cmake_qt5 systemd externalsrc

EXTERNALSRC = "${ZUL_UPGRADE_SOURCE}"

# libcrypto is for zul-media alone.
DEPENDS = "openssl qtbase qttools qttools-native"

# The directory of zul_watchdog, and where the fonts are installed; change them in local.conf or a .bbappend. There is
# neither WenQuanYi Micro Hei, but its sister font, nor Liberation Sans Narrow: docs/installing.md, "Fonts", says what
# the second means for English.
ZUL_PROGRAM_DIR ?= "/opt/zul"
ZUL_FONTS ?= "${datadir}/fonts/ttf/LiberationSans-Regular.ttf;${datadir}/fonts/ttf/LiberationSans-Bold.ttf;${datadir}/fonts/truetype/wqy-zenhei.ttc"

ZUL_UNIT_DIR = "${@bb.utils.contains('DISTRO_FEATURES', 'systemd', d.getVar('systemd_system_unitdir'), '', d)}"

EXTRA_OECMAKE = " \
    -DBUILD_TESTING=OFF \
    -DZUL_CATALOGUE=OFF \
    -DZUL_STRIP=OFF \
    -DZUL_PROGRAM_DIR=${ZUL_PROGRAM_DIR} \
    -DZUL_UNIT_DIR=${ZUL_UNIT_DIR} \
    -DZUL_UDEV_DIR=${nonarch_base_libdir}/udev/rules.d \
    '-DZUL_FONTS=${ZUL_FONTS}' \
"

# What mounts media, for the images that want it.
PACKAGES =+ "zul-media"
SUMMARY:zul-media = "mounts upgrade media of a touch-screen controller, or only signed ones"

do_install:append() {
    DESTDIR='${D}' cmake --install '${B}' --component media
}

SYSTEMD_SERVICE:${PN} = "zul_upgrade.service"

FILES:${PN} += "${ZUL_PROGRAM_DIR} ${datadir}/zul-upgrade"
CONFFILES:${PN} = "${sysconfdir}/default/zul_upgrade"
FILES:zul-media = " \
    ${sbindir}/zul_media \
    ${sysconfdir}/zul \
    ${systemd_system_unitdir}/zul-media@.service \
    ${nonarch_base_libdir}/udev/rules.d/90-zul-media.rules \
"
CONFFILES:zul-media = "${sysconfdir}/zul/media.conf"

RDEPENDS:${PN} = "fontconfig liberation-fonts psmisc qtbase-plugins ttf-wqy-zenhei"
