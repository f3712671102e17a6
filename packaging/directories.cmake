# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# Where things are installed. A directory that is not absolute is below the prefix; one that is empty gets nothing.

# Unless one is chosen, the prefix is the root directory, and everything stands where a system has it: GNUInstallDirs
# puts "usr" before what belongs there.
if(CMAKE_INSTALL_PREFIX_INITIALIZED_TO_DEFAULT)
    set(CMAKE_INSTALL_PREFIX / CACHE PATH "Below it everything is installed" FORCE)
endif()

# Strings, because a directory that is not absolute would be taken as one below where cmake was started.
#
# A distribution's own prefix has the controller's programs, settings and caches elsewhere.
set(program_dir opt/zul)
if(CMAKE_INSTALL_PREFIX STREQUAL "/usr")
    set(CMAKE_INSTALL_SYSCONFDIR /etc CACHE STRING "Settings")
    set(CMAKE_INSTALL_LOCALSTATEDIR /var CACHE STRING "Caches")
    set(program_dir /opt/zul)
endif()
include(GNUInstallDirs)

set(ZUL_PROGRAM_DIR ${program_dir} CACHE STRING "The controller's programs, where the tool is installed")
# Not asked of pkg-config, which knows where this computer has them and nothing of the prefix.
set(ZUL_UNIT_DIR lib/systemd/system CACHE STRING "Units of systemd")
set(ZUL_UDEV_DIR lib/udev/rules.d CACHE STRING "Rules of udev")
set(ZUL_FONTS "" CACHE STRING "Files of the system's fonts, absolute paths; where Debian has them when empty")
option(ZUL_STRIP "Strip the programs as they are installed; off for whoever keeps their debugging symbols" ON)

set(ZUL_SHARE_DIR ${CMAKE_INSTALL_DATAROOTDIR}/zul-upgrade)
set(ZUL_CACHE_DIR ${CMAKE_INSTALL_LOCALSTATEDIR}/cache/zul-upgrade)
set(ZUL_DOC_DIR ${CMAKE_INSTALL_DATAROOTDIR}/doc/zul-upgrade)
set(ZUL_LIBEXEC_DIR ${CMAKE_INSTALL_LIBEXECDIR}/zul-upgrade)

# The tool and what surrounds it; zul_catalogue is another component, and left out where none is named.
set(CMAKE_INSTALL_DEFAULT_COMPONENT_NAME tool)
if(ZUL_STRIP)
    foreach(component tool catalogue media rehearsal)
        install(CODE "set(CMAKE_INSTALL_DO_STRIP ON)" COMPONENT ${component})
    endforeach()
endif()

# zul_at_install(COMPONENT COMMAND ARGUMENT...): calls a function of at-install.cmake while the component is installed.
# The prefix is known only then: "cmake --install --prefix" may name another.
function(zul_at_install component command)
    list(JOIN ARGN "]==] [==[" arguments)
    set(unasked)
    if(NOT component STREQUAL CMAKE_INSTALL_DEFAULT_COMPONENT_NAME)
        set(unasked EXCLUDE_FROM_ALL)
    endif()
    install(CODE
"set(ZUL_SOURCE_DIR [==[${PROJECT_SOURCE_DIR}]==])
set(ZUL_SYSCONF_DIR [==[${CMAKE_INSTALL_SYSCONFDIR}]==])
set(ZUL_PROGRAM_DIR [==[${ZUL_PROGRAM_DIR}]==])
set(ZUL_SBIN_DIR [==[${CMAKE_INSTALL_SBINDIR}]==])
set(ZUL_SHARE_DIR [==[${ZUL_SHARE_DIR}]==])
set(ZUL_CACHE_DIR [==[${ZUL_CACHE_DIR}]==])
set(ZUL_FONTS [==[${ZUL_FONTS}]==])
set(ZUL_DOC_DIR [==[${ZUL_DOC_DIR}]==])
set(ZUL_LIBEXEC_DIR [==[${ZUL_LIBEXEC_DIR}]==])
set(PROJECT_VERSION [==[${PROJECT_VERSION}]==])
include([==[${PROJECT_SOURCE_DIR}/packaging/at-install.cmake]==])
${command}([==[${arguments}]==])"
        COMPONENT ${component} ${unasked})
endfunction()
