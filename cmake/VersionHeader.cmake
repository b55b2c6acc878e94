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
