# SPDX-FileCopyrightText: 2026 The zul_upgrade authors
# SPDX-License-Identifier: MIT
#
# What is made while it is installed, because it names files below the prefix. Used through zul_at_install().

# zul_absolute(VARIABLE DIRECTORY): where a directory of directories.cmake is on the system that it is installed for.
function(zul_absolute variable directory)
    if(NOT IS_ABSOLUTE "${directory}")
        get_filename_component(directory "${CMAKE_INSTALL_PREFIX}/${directory}" ABSOLUTE)
    endif()
    set(${variable} "${directory}" PARENT_SCOPE)
endfunction()

# Outside the build folder, in which root would otherwise leave files that the builder cannot replace.
function(zul_make_staging_directory variable)
    execute_process(COMMAND mktemp -d OUTPUT_VARIABLE staged OUTPUT_STRIP_TRAILING_WHITESPACE RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "there is no room for temporary files")
    endif()
    set(${variable} ${staged} PARENT_SCOPE)
endfunction()

# zul_install_text(FILE DIRECTORY NAME [PERMISSION...]): FILE, of packaging/, with the directories as they are.
function(zul_install_text file directory name)
    foreach(variable PROGRAM SBIN SYSCONF SHARE CACHE DOC LIBEXEC)
        zul_absolute(ZUL_${variable}_DIR "${ZUL_${variable}_DIR}")
    endforeach()
    zul_absolute(directory "${directory}")
    file(READ ${ZUL_SOURCE_DIR}/packaging/${file} text)
    # The settings and the script are no templates, because tests and the simulated controller have them as they are.
    string(REPLACE /opt/zul/ ${ZUL_PROGRAM_DIR}/ text "${text}")
    string(REPLACE /usr/share/doc/zul-upgrade ${ZUL_DOC_DIR} text "${text}")
    string(REPLACE /usr/share/zul-upgrade ${ZUL_SHARE_DIR} text "${text}")
    string(CONFIGURE "${text}" text @ONLY)
    zul_make_staging_directory(staged)
    file(WRITE ${staged}/${name} "${text}")
    file(INSTALL ${staged}/${name} DESTINATION ${directory}
        PERMISSIONS OWNER_READ OWNER_WRITE GROUP_READ WORLD_READ ${ARGN})
    file(REMOVE_RECURSE ${staged})
endfunction()

# zul_install_program(FILE DIRECTORY NAME): the same for what is to be run.
function(zul_install_program file directory name)
    zul_install_text(${file} ${directory} ${name} OWNER_EXECUTE GROUP_EXECUTE WORLD_EXECUTE)
endfunction()

# zul_install_link(TARGET DIRECTORY NAME): a link, unless a file of the owner's is in its place.
function(zul_install_link target directory name)
    zul_absolute(directory "${directory}")
    set(link $ENV{DESTDIR}${directory}/${name})
    if(EXISTS ${link} AND NOT IS_SYMLINK ${link})
        message(STATUS "Left as it is: ${link}")
        return()
    endif()
    zul_make_staging_directory(staged)
    file(CREATE_LINK ${target} ${staged}/${name} SYMBOLIC)
    file(INSTALL ${staged}/${name} DESTINATION ${directory})
    file(REMOVE_RECURSE ${staged})
endfunction()

# zul_install_fonts_into(DIRECTORY CACHE): as packaging/fonts/install-fonts makes them.
function(zul_install_fonts_into directory cache)
    zul_absolute(directory "${directory}")
    zul_absolute(cache "${cache}")
    zul_make_staging_directory(staged)
    execute_process(COMMAND ${ZUL_SOURCE_DIR}/packaging/fonts/install-fonts ${directory} ${cache} ${staged} ${ZUL_FONTS}
        RESULT_VARIABLE failed)
    if(failed)
        message(FATAL_ERROR "the fonts cannot be put into ${directory}")
    endif()
    get_filename_component(parent ${directory} DIRECTORY)
    file(INSTALL ${staged}${directory} DESTINATION ${parent}
        DIR_PERMISSIONS OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
    file(REMOVE_RECURSE ${staged})
endfunction()
