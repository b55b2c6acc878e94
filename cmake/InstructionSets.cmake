# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Reads lanes/instructionSets.h: sets PISTONFIELD_INSTRUCTION_SETS, the names of the processor's
# sets, the plainest first, and for each of them PISTONFIELD_OPTIONS_<name>, which compile for it.
block()
  set(header ${PROJECT_SOURCE_DIR}/lanes/instructionSets.h)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${header})
  file(READ ${header} text)
  set(processor ${CMAKE_SYSTEM_PROCESSOR})
  if(NOT text MATCHES "\\(__${processor}__\\)\n#define PISTONFIELD_INSTRUCTION_SETS([^#]*)")
    message(FATAL_ERROR "There are no instruction sets for '${processor}' in ${header}")
  endif()
  string(REPLACE " SET(" ";" entries "${CMAKE_MATCH_1}")
  list(POP_FRONT entries)  # the macro's parameters

  set(names)
  set(options)
  foreach(entry IN LISTS entries)
    string(REGEX MATCH "^[a-z0-9]+" name "${entry}")
    string(REGEX MATCHALL "HAS\\([a-z0-9]+" features "${entry}")
    list(TRANSFORM features REPLACE "HAS\\(" "-m")
    list(APPEND names ${name})
    list(APPEND options ${features})
    set(PISTONFIELD_OPTIONS_${name} ${options} PARENT_SCOPE)
  endforeach()
  set(PISTONFIELD_INSTRUCTION_SETS ${names} PARENT_SCOPE)
endblock()

if(v4 IN_LIST PISTONFIELD_INSTRUCTION_SETS)
  # The compiler would take registers of half the size.
  list(APPEND PISTONFIELD_OPTIONS_v4 -mprefer-vector-width=512)
endif()
