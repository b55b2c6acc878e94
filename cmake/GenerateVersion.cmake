# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Writes version.h: cmake -D SOURCE_DIR=... -D OUTPUT=... -P GenerateVersion.cmake
#
# The revision comes from git, or from what `git archive` wrote into archive-revision.txt. A tree
# that has neither says "unknown".

set(stamp "unknown unknown unknown unknown unknown")
file(READ ${SOURCE_DIR}/cmake/archive-revision.txt archived)
string(STRIP "${archived}" archived)

if(EXISTS ${SOURCE_DIR}/.git)
  find_package(Git QUIET)
  if(Git_FOUND)
    execute_process(
      COMMAND ${GIT_EXECUTABLE} -C ${SOURCE_DIR} log -1 "--format=%H %ci %cl"
      OUTPUT_VARIABLE logged OUTPUT_STRIP_TRAILING_WHITESPACE ERROR_QUIET)
    if(logged)
      set(stamp "${logged}")
    endif()
  endif()
elseif(NOT archived MATCHES "Format:")
  set(stamp "${archived}")
endif()

# The stamp: hash, date, time, time zone, committer.
string(REPLACE " " ";" stamp "${stamp}")
list(GET stamp 0 REVISION)
list(GET stamp 1 DATE)
list(GET stamp 2 TIME)
list(GET stamp 4 COMMITTER)
string(SUBSTRING "${REVISION}" 0 12 REVISION)
string(REPLACE "-" "/" DATE "${DATE}")

configure_file(${SOURCE_DIR}/cmake/version.h.in ${OUTPUT} @ONLY)
