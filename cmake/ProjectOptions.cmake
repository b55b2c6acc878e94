# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# How every target of the project is compiled.

# Without a build type CMake would optimise nothing. A project around this one has its own.
if(PROJECT_IS_TOP_LEVEL AND NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
  set(CMAKE_BUILD_TYPE Release CACHE STRING "Release, RelWithDebInfo, MinSizeRel or Debug" FORCE)
endif()

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Every operation is rounded by itself, whatever the processor that a user compiles for: rules and
# positions have the same bits in every build.
set(PISTONFIELD_ROUNDING_OPTIONS -ffp-contract=off)

add_library(pistonfield_options INTERFACE)
target_compile_options(pistonfield_options INTERFACE
  $<$<COMPILE_LANGUAGE:CXX>:${PISTONFIELD_ROUNDING_OPTIONS} -Wall -Wextra -Wconversion>
  $<$<AND:$<COMPILE_LANGUAGE:CXX>,$<BOOL:${PISTONFIELD_WARNINGS_AS_ERRORS}>>:-Werror>)

# How sources that work on packs of SIMD lanes are compiled. Packs are passed within one source only,
# so the convention for passing them is of no consequence.
set(PISTONFIELD_LANES_OPTIONS ${PISTONFIELD_ROUNDING_OPTIONS} -fno-math-errno -fno-trapping-math
    -Wno-psabi)
# For plain x86-64, whatever a user asks for, because each copy is of one instruction set.
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64")
  list(APPEND PISTONFIELD_LANES_OPTIONS -march=x86-64)
endif()

if(PISTONFIELD_SANITIZE)
  add_compile_options($<$<COMPILE_LANGUAGE:C,CXX>:-fsanitize=${PISTONFIELD_SANITIZE}>
                      $<$<COMPILE_LANGUAGE:C,CXX>:-fno-sanitize-recover=all>
                      $<$<COMPILE_LANGUAGE:C,CXX>:-fno-omit-frame-pointer>)
  add_link_options(-fsanitize=${PISTONFIELD_SANITIZE})
endif()

if(PISTONFIELD_BACKEND STREQUAL "toolkit")
  set(CMAKE_CUDA_ARCHITECTURES all CACHE STRING
      "GPU architectures: every one that the compiler has, and PTX for newer ones")
  enable_language(CUDA)
  find_package(CUDAToolkit 13.0 REQUIRED)
endif()
