# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Compiles SOURCE for some architectures with NVCC and reads the assembler's report, which has a
# section for each function that is left in the device code. Then reads the code before assembly.

set(largest_stack 32) # bytes: the digits of an angle in its exact reduction

foreach(architecture 75 80 90 120)
  execute_process(
    COMMAND ${NVCC} -std=c++17 -arch=sm_${architecture} --resource-usage -cubin -I${INCLUDE}
            -o /dev/null ${SOURCE}
    ERROR_VARIABLE report OUTPUT_VARIABLE output RESULT_VARIABLE status)
  if(status)
    message(FATAL_ERROR "sm_${architecture}: ${output}${report}")
  endif()

  string(REGEX MATCHALL "Compiling entry function" entries "${report}")
  string(REGEX MATCHALL "Function properties" functions "${report}")
  list(LENGTH entries entry_count)
  list(LENGTH functions function_count)
  if(NOT entry_count EQUAL KERNELS OR NOT function_count EQUAL KERNELS)
    message(SEND_ERROR "sm_${architecture}: ${entry_count} kernels, ${function_count} functions; "
                       "there should be ${KERNELS} kernels and nothing else")
  endif()

  string(REGEX MATCHALL "[0-9]+ bytes spill (stores|loads)" spills "${report}")
  list(FILTER spills EXCLUDE REGEX "^0 ")
  if(spills)
    message(SEND_ERROR "sm_${architecture}: ${spills}")
  endif()

  string(REGEX MATCHALL "[0-9]+ bytes stack frame" stacks "${report}")
  foreach(stack ${stacks})
    string(REGEX MATCH "^[0-9]+" bytes "${stack}")
    if(bytes GREATER largest_stack)
      message(SEND_ERROR "sm_${architecture}: ${stack}")
    endif()
  endforeach()

  string(REGEX MATCHALL "Used [0-9]+ registers" registers "${report}")
  list(REMOVE_DUPLICATES registers)
  message("sm_${architecture}: ${entry_count} kernels, ${registers}")
endforeach()

# The positions are rounded as the CPU's: additions that name their rounding are not fused with the
# products before them. PLACING kernels have three coordinates of three additions each.
math(EXPR placing_additions "9 * ${PLACING}")
execute_process(
  COMMAND ${NVCC} -std=c++17 -arch=sm_90 -ptx -I${INCLUDE} -o - ${SOURCE}
  OUTPUT_VARIABLE code COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "add\\.rn\\.f(32|64)" additions "${code}")
list(LENGTH additions addition_count)
if(addition_count LESS placing_additions)
  message(SEND_ERROR "${addition_count} of at least ${placing_additions} additions are kept from being fused")
endif()
message("${addition_count} additions are kept from being fused")

# Most GPUs have little arithmetic in double: the sums within a tolerance have none in single precision.
foreach(name compute_partsIf add_farIfLi1E add_farIfLi8E add_nearIf)
  string(FIND "${code}" ${name} begin)
  if(begin EQUAL -1)
    continue()
  endif()
  string(SUBSTRING "${code}" ${begin} -1 kernel)
  string(FIND "${kernel}" ".entry" end)
  string(SUBSTRING "${kernel}" 0 ${end} kernel)
  if(NOT kernel MATCHES "fma\\.rn\\.f32" OR kernel MATCHES "\\.f64")
    message(SEND_ERROR "the sums of ${name} are not in single precision alone")
  endif()
endforeach()
