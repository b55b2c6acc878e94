# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# These run pistonfield-run as users do and read its files with another program, h5py.
function(pistonfield_has_h5py result interpreter)
  execute_process(COMMAND ${interpreter} -c "import h5py"
    RESULT_VARIABLE status OUTPUT_QUIET ERROR_QUIET)
  if(NOT status EQUAL 0)
    set(${result} FALSE PARENT_SCOPE)
  endif()
endfunction()
find_program(PISTONFIELD_PYTHON_WITH_H5PY python3 VALIDATOR pistonfield_has_h5py REQUIRED
  DOC "A Python 3 that has h5py")

# Preloaded, it makes writes fail, or ends the process in place of one.
add_library(failing_writes MODULE failingWrites.cpp)
target_link_libraries(failing_writes PRIVATE pistonfield_options)
set_target_properties(failing_writes PROPERTIES CXX_VISIBILITY_PRESET default)

find_package(MPI REQUIRED COMPONENTS CXX)
# Preloaded, it is an MPI for fewer threads.
add_library(low_thread_level MODULE lowThreadLevel.cpp)
target_link_libraries(low_thread_level PRIVATE pistonfield_options MPI::MPI_CXX)
target_compile_definitions(low_thread_level PRIVATE OMPI_SKIP_MPICXX)
set_target_properties(low_thread_level PROPERTIES CXX_VISIBILITY_PRESET default)

# Preloaded, it makes every file system NFS.
add_library(on_nfs MODULE onNfs.cpp)
target_link_libraries(on_nfs PRIVATE pistonfield_options)
set_target_properties(on_nfs PROPERTIES CXX_VISIBILITY_PRESET default)

add_executable(print_rule printRule.cpp)
target_link_libraries(print_rule PRIVATE pistonfield pistonfield_options)

set(modes cpu cpusp)
if(PISTONFIELD_BACKEND STREQUAL "emulated")
  list(APPEND modes cuda cudadp)
endif()
list(JOIN modes " " modes)
set(environment
  "PISTONFIELD_RUN=$<TARGET_FILE:pistonfield-run>" "PISTONFIELD_MPIRUN=${MPIEXEC_EXECUTABLE}"
  "PISTONFIELD_MODES=${modes}" "PISTONFIELD_FAILING_WRITES=$<TARGET_FILE:failing_writes>"
  "PISTONFIELD_LOW_THREAD_LEVEL=$<TARGET_FILE:low_thread_level>"
  "PISTONFIELD_ON_NFS=$<TARGET_FILE:on_nfs>"
  "PISTONFIELD_PRINT_RULE=$<TARGET_FILE:print_rule>" PYTHONDONTWRITEBYTECODE=1)
if(PISTONFIELD_OCTAVE AND PISTONFIELD_BACKEND STREQUAL "emulated")
  list(APPEND environment "PISTONFIELD_OCTAVE=${Octave_EXECUTABLE}"
    "PISTONFIELD_MODULE=$<TARGET_FILE_DIR:pistonfield_octave>")
endif()

# A script that is a test; what follows its name are its arguments.
function(pistonfield_program_test name script)
  add_test(NAME run.${name}
    COMMAND ${PISTONFIELD_PYTHON_WITH_H5PY} ${CMAKE_CURRENT_SOURCE_DIR}/${script}.py ${ARGN})
  set_tests_properties(run.${name} PROPERTIES TIMEOUT 300 ENVIRONMENT "${environment}")
endfunction()

foreach(script values starting processes parts outputs no_room damage interruptions options si_units
    tolerance losses quantities shapes array_fields beam)
  pistonfield_program_test(${script} ${script})
endforeach()
# One of its parts needs root.
set_tests_properties(run.starting PROPERTIES LABELS superuser)

pistonfield_program_test(decimals decimals 100000)

# The argument is the number of fields that are computed in spite of kills.
pistonfield_program_test(kills.quick kills 8)
add_test(NAME run.kills.full
  COMMAND ${PISTONFIELD_PYTHON_WITH_H5PY} ${CMAKE_CURRENT_SOURCE_DIR}/kills.py 50 CONFIGURATIONS soak)
set_tests_properties(run.kills.full PROPERTIES
  LABELS soak TIMEOUT 1200 ENVIRONMENT "${environment}")
