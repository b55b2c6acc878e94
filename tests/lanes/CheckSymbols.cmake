# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Fails when an object of OBJECTS defines a weak symbol outside the namespace SET.

if(NOT OBJECTS)
  message(FATAL_ERROR "there are no objects to look at")
endif()
foreach(object ${OBJECTS})
  execute_process(COMMAND ${NM} --demangle --defined-only ${object}
    OUTPUT_VARIABLE symbols COMMAND_ERROR_IS_FATAL ANY)
  string(REPLACE "\n" ";" symbols "${symbols}")
  list(FILTER symbols INCLUDE REGEX " [WVu] ")
  list(FILTER symbols EXCLUDE REGEX "::${SET}::")
  # The address of the library's routine for exceptions is no code.
  list(FILTER symbols EXCLUDE REGEX " DW\\.ref\\.__gxx_personality_v0$")
  if(symbols)
    message(SEND_ERROR "${object}: ${symbols}")
  endif()
endforeach()
