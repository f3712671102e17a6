# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What surrounds the installed tool, for the tests and for zul_catalogue: its fonts, its sheets and its settings.
# Included before whatever is tested.

# zul_install_fonts(DIRECTORY CACHE [DESTDIR]): see packaging/fonts/install-fonts.
function(zul_install_fonts)
    execute_process(COMMAND ${PROJECT_SOURCE_DIR}/packaging/fonts/install-fonts ${ARGN} RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "the fonts cannot be put into ${ARGN}")
    endif()
endfunction()
foreach(file english.qss translated.qss fonts/install-fonts fonts/fonts.conf.in zul_upgrade.default)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${PROJECT_SOURCE_DIR}/packaging/${file})
endforeach()

# The settings that the package brings, without those of the frame buffer, with the fonts that the build makes.
set(ZUL_SHARE ${CMAKE_BINARY_DIR}/share/zul-upgrade)
zul_install_fonts(${ZUL_SHARE} ${ZUL_SHARE}/cache)
file(COPY ${PROJECT_SOURCE_DIR}/packaging/english.qss ${PROJECT_SOURCE_DIR}/packaging/translated.qss
    DESTINATION ${ZUL_SHARE})
file(STRINGS ${PROJECT_SOURCE_DIR}/packaging/zul_upgrade.default ZUL_TOOL_ENVIRONMENT REGEX "^[A-Z_]+=")
list(FILTER ZUL_TOOL_ENVIRONMENT EXCLUDE REGEX "^QT_QPA_")
string(REPLACE /usr/share/zul-upgrade ${ZUL_SHARE} ZUL_TOOL_ENVIRONMENT "${ZUL_TOOL_ENVIRONMENT}")
