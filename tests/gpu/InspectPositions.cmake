# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# The positions of lattice points are rounded as the CPU's: three coordinates of three products and three
# additions in each precision, and none of them fused. Looks at the code before assembly, and where
# NVDISASM is there at the machine code of sm_90.

execute_process(
  COMMAND ${NVCC} -std=c++17 -arch=sm_90 -ptx -I${INCLUDE} -o - ${SOURCE}
  OUTPUT_VARIABLE code COMMAND_ERROR_IS_FATAL ANY)

function(expect count pattern where text)
  string(REGEX MATCHALL "${pattern}" found "${text}")
  list(LENGTH found times)
  if(NOT times EQUAL count)
    message(SEND_ERROR "${where}: ${times} instructions ${pattern} and not ${count}")
  endif()
endfunction()

foreach(type f32 f64)
  expect(9 "mul\\.rn\\.${type}" "before assembly" "${code}")
  expect(9 "add\\.rn\\.${type}" "before assembly" "${code}")
  expect(0 "(fma|mad)[a-z.]*\\.${type}" "before assembly" "${code}")
endforeach()

if(NOT NVDISASM)
  message("without nvdisasm: the machine code is not looked at")
  return()
endif()
execute_process(
  COMMAND ${NVCC} -std=c++17 -arch=sm_90 -cubin -I${INCLUDE} -o ${CUBIN} ${SOURCE}
  COMMAND_ERROR_IS_FATAL ANY)
execute_process(
  COMMAND ${NVDISASM} -c ${CUBIN} OUTPUT_VARIABLE machine_code COMMAND_ERROR_IS_FATAL ANY)
foreach(instruction FMUL FADD DMUL DADD)
  expect(9 "[ \t]${instruction}[. ]" "machine code" "${machine_code}")
endforeach()
foreach(instruction FFMA DFMA)
  expect(0 "[ \t]${instruction}[. ]" "machine code" "${machine_code}")
endforeach()
