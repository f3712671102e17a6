# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Qt's tools run on this computer, so they are its own: the same release makes the same files.

foreach(TOOL qmake moc rcc uic lrelease lupdate lconvert)
    add_executable(Qt5::${TOOL} IMPORTED GLOBAL)
    set_target_properties(Qt5::${TOOL} PROPERTIES IMPORTED_LOCATION /usr/lib/qt5/bin/${TOOL})
endforeach()
set(QT_MOC_EXECUTABLE /usr/lib/qt5/bin/moc)
