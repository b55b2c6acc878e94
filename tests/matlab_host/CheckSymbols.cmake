# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# cmake -D NM=... -D MODULE=... -D MX=... -D MEX=... -D OPERATIONS=... -P CheckSymbols.cmake
#
# The module exports its entry alone and takes nothing from MATLAB but the listed operations; the
# substitute libraries offer exactly these. The C++ library that MATLAB brings along must do for it.

file(STRINGS ${OPERATIONS} operations)

function(read_symbols result file which)
  execute_process(COMMAND ${NM} --dynamic --format=posix ${which} ${file}
    OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
  string(REGEX MATCHALL "[^\n]+" lines "${listed}")
  list(TRANSFORM lines REPLACE "[ @].*" "")
  set(${result} "${lines}" PARENT_SCOPE)
endfunction()

function(expect_equal what actual expected)
  list(SORT actual)
  list(SORT expected)
  if(NOT actual STREQUAL expected)
    message(SEND_ERROR "${what}: '${actual}' instead of '${expected}'")
  endif()
endfunction()

read_symbols(exported ${MODULE} --defined-only)
expect_equal("exported by the module" "${exported}" mexFunction)

read_symbols(imported ${MODULE} --undefined-only)
list(FILTER imported INCLUDE REGEX "^(mx|mex|mat|eng|ut)[A-Z]")
expect_equal("used by the module" "${imported}" "${operations}")

# That of GCC 12.
set(newest 3.4.30)
execute_process(COMMAND ${NM} --dynamic --undefined-only ${MODULE}
  OUTPUT_VARIABLE listed COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "@GLIBCXX_[0-9.]+" versions "${listed}")
list(REMOVE_DUPLICATES versions)
if(NOT versions)
  message(SEND_ERROR "no version of the C++ library is asked for")
endif()
foreach(version ${versions})
  string(REPLACE "@GLIBCXX_" "" version ${version})
  if(version VERSION_GREATER newest)
    message(SEND_ERROR "the C++ library has to be of version ${version}, newer than ${newest}")
  endif()
endforeach()

read_symbols(mx ${MX} --defined-only)
read_symbols(mex ${MEX} --defined-only)
expect_equal("offered by the libraries" "${mx};${mex}" "${operations}")
