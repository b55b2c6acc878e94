# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Finds GNU Octave: Octave_EXECUTABLE, and the target Octave::Mex for modules of its MEX interface.

find_program(Octave_EXECUTABLE octave-cli)
find_program(Octave_MKOCTFILE mkoctfile)

if(Octave_MKOCTFILE AND NOT Octave_INCLUDE_DIR)
  execute_process(COMMAND ${Octave_MKOCTFILE} -p OCTINCLUDEDIR
    OUTPUT_VARIABLE octave_include OUTPUT_STRIP_TRAILING_WHITESPACE)
  execute_process(COMMAND ${Octave_MKOCTFILE} -p OCTLIBDIR
    OUTPUT_VARIABLE octave_library OUTPUT_STRIP_TRAILING_WHITESPACE)
  find_path(Octave_INCLUDE_DIR mex.h HINTS ${octave_include})
  find_library(Octave_LIBRARY octinterp HINTS ${octave_library})
endif()

include(FindPackageHandleStandardArgs)
find_package_handle_standard_args(Octave
  REQUIRED_VARS Octave_EXECUTABLE Octave_MKOCTFILE Octave_INCLUDE_DIR Octave_LIBRARY
  REASON_FAILURE_MESSAGE "install GNU Octave and its development files (Debian: octave, octave-dev)")

if(Octave_FOUND AND NOT TARGET Octave::Mex)
  add_library(Octave::Mex UNKNOWN IMPORTED)
  set_target_properties(Octave::Mex PROPERTIES
    IMPORTED_LOCATION ${Octave_LIBRARY}
    INTERFACE_INCLUDE_DIRECTORIES "${Octave_INCLUDE_DIR};${Octave_INCLUDE_DIR}/..")
endif()
mark_as_advanced(Octave_EXECUTABLE Octave_MKOCTFILE Octave_INCLUDE_DIR Octave_LIBRARY)
