# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Reads lanes/instructionSets.h: sets PISTONFIELD_INSTRUCTION_SETS, the names of the processor's
# sets, the plainest first, and for each of them PISTONFIELD_OPTIONS_<name>, which compile for it.
set(header ${PROJECT_SOURCE_DIR}/lanes/instructionSets.h)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
file(READ ${header} text)
if(NOT text MATCHES "\\(__${CMAKE_SYSTEM_PROCESSOR}__\\)\n#define PISTONFIELD_INSTRUCTION_SETS([^#]*)")
  message(FATAL_ERROR "There are no instruction sets for '${CMAKE_SYSTEM_PROCESSOR}' in ${header}")
endif()
string(REPLACE " SET(" ";" entries "${CMAKE_MATCH_1}")
list(POP_FRONT entries)  # the macro's parameters

set(PISTONFIELD_INSTRUCTION_SETS)
set(options)
foreach(entry IN LISTS entries)
  string(REGEX MATCH "^[a-z0-9]+" name "${entry}")
  string(REGEX MATCHALL "HAS\\([a-z0-9]+" features "${entry}")
  list(TRANSFORM features REPLACE "HAS\\(" "-m")
  list(APPEND options ${features})
  list(APPEND PISTONFIELD_INSTRUCTION_SETS ${name})
  set(PISTONFIELD_OPTIONS_${name} ${options})
endforeach()
# The compiler would take registers of half the size.
list(APPEND PISTONFIELD_OPTIONS_v4 -mprefer-vector-width=512)
