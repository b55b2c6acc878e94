# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# The header with the revision that a build is made from.
set(PISTONFIELD_VERSION_HEADER ${PROJECT_BINARY_DIR}/generated/version.h)
add_custom_target(pistonfield_version
  COMMAND ${CMAKE_COMMAND} -D SOURCE_DIR=${PROJECT_SOURCE_DIR}
          -D OUTPUT=${PISTONFIELD_VERSION_HEADER} -P ${PROJECT_SOURCE_DIR}/cmake/GenerateVersion.cmake
  BYPRODUCTS ${PISTONFIELD_VERSION_HEADER}
  COMMENT "Writing the version header")

# Lets the sources of a target include "version.h".
function(pistonfield_use_version target)
  add_dependencies(${target} pistonfield_version)
  target_include_directories(${target} PRIVATE ${PROJECT_BINARY_DIR}/generated)
endfunction()

# Lets the sources of a target include "buildTime.h", with the time when one of the files that are
# named was last new.
function(pistonfield_use_build_time target)
  set(header ${PROJECT_BINARY_DIR}/generated/buildTime.h)
  add_custom_command(OUTPUT ${header}
    COMMAND ${CMAKE_COMMAND} -D SOURCE_DIR=${PROJECT_SOURCE_DIR} -D OUTPUT=${header}
            -P ${PROJECT_SOURCE_DIR}/cmake/GenerateBuildTime.cmake
    COMMAND ${CMAKE_COMMAND} -E touch ${header}
    DEPENDS ${PISTONFIELD_VERSION_HEADER} ${ARGN} ${PROJECT_SOURCE_DIR}/cmake/buildTime.h.in
            ${PROJECT_SOURCE_DIR}/cmake/GenerateBuildTime.cmake
    COMMENT "Writing the time of the build"
    VERBATIM)
  target_sources(${target} PRIVATE ${header})
  target_include_directories(${target} PRIVATE ${PROJECT_BINARY_DIR}/generated)
endfunction()
