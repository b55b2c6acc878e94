# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Writes buildTime.h: cmake -D SOURCE_DIR=... -D OUTPUT=... -P GenerateBuildTime.cmake
#
# The time is that of the clock here, or where SOURCE_DATE_EPOCH is set that time in UTC, so that
# what is built twice is the same.

set(zone)
if(NOT "$ENV{SOURCE_DATE_EPOCH}" STREQUAL "")
  set(zone UTC)
endif()
string(TIMESTAMP BUILD_TIME "%b %d %Y %H:%M:%S" ${zone})
string(REGEX REPLACE "^(...) 0" "\\1  " BUILD_TIME "${BUILD_TIME}")

configure_file("${SOURCE_DIR}/cmake/buildTime.h.in" "${OUTPUT}" @ONLY)
