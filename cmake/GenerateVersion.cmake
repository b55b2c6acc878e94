# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Writes version.h: cmake -D SOURCE_DIR=... -D OUTPUT=... -P GenerateVersion.cmake
#
# The revision comes from git, or from what `git archive` wrote into archive-revision.txt. A tree
# that has neither says "unknown", and so does a committer without an e-mail address.

set(stamp "")
file(READ "${SOURCE_DIR}/cmake/archive-revision.txt" archived)

if(EXISTS "${SOURCE_DIR}/.git")
  find_package(Git QUIET)
  if(Git_FOUND)
    # The folder by name: a hook of another repository leads git there through its environment.
    execute_process(
      COMMAND ${GIT_EXECUTABLE} "--git-dir=${SOURCE_DIR}/.git" -c log.showSignature=false
              log -1 "--format=%H %ci %cl"
      OUTPUT_VARIABLE stamp ERROR_QUIET)
  endif()
elseif(NOT archived MATCHES "Format:")
  set(stamp "${archived}")
endif()

set(REVISION unknown)
set(DATE unknown)
set(TIME unknown)
set(COMMITTER unknown)
# The stamp: hash, date, time, time zone, the committer's name in the e-mail address.
if("${stamp}" MATCHES "^([0-9a-f]+) ([0-9]+)-([0-9]+)-([0-9]+) ([0-9:]+) [-+0-9]+ ?([^\n]*)")
  set(REVISION "${CMAKE_MATCH_1}")
  set(DATE "${CMAKE_MATCH_2}/${CMAKE_MATCH_3}/${CMAKE_MATCH_4}")
  set(TIME "${CMAKE_MATCH_5}")
  string(SUBSTRING "${REVISION}" 0 12 REVISION)
  string(STRIP "${CMAKE_MATCH_6}" name)
  if(NOT "${name}" STREQUAL "")
    # One word that a text in C++ and a keyword between dollar signs can hold.
    string(REGEX REPLACE "[][ \t;\"$@\\]" "_" COMMITTER "${name}")
  endif()
endif()

configure_file("${SOURCE_DIR}/cmake/version.h.in" "${OUTPUT}" @ONLY)
