# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Removes the files that `cmake --install` has installed from a build, and the folders below the place
# of installation that are empty then: cmake -D BUILD_DIR=... -P Uninstall.cmake

set(manifest "${BUILD_DIR}/install_manifest.txt")
if(NOT EXISTS "${manifest}")
  message(FATAL_ERROR "Nothing is installed from ${BUILD_DIR}")
endif()
file(STRINGS "${manifest}" files)
list(TRANSFORM files PREPEND "$ENV{DESTDIR}")

# The place of installation: the folder that all files have in common.
list(GET files 0 place)
foreach(file IN LISTS files)
  file(REMOVE "${file}")
  cmake_path(IS_PREFIX place "${file}" within)
  while(NOT within)
    cmake_path(GET place PARENT_PATH place)
    cmake_path(IS_PREFIX place "${file}" within)
  endwhile()
endforeach()

foreach(file IN LISTS files)
  cmake_path(GET file PARENT_PATH folder)
  while(NOT folder STREQUAL place)
    # It refuses a folder in which something is left.
    execute_process(COMMAND rmdir "${folder}" RESULT_VARIABLE refused ERROR_QUIET)
    if(refused)
      break()
    endif()
    cmake_path(GET folder PARENT_PATH folder)
  endwhile()
endforeach()
file(REMOVE "${manifest}")
message(STATUS "Removed from ${place}")
