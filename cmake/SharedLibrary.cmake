# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# The library as a shared one, from what the rooms have made the static one of. Its sources are
# compiled once more, because what is hidden in an object cannot be exported; sources for instruction
# sets export nothing and are not.
foreach(property SOURCES LINK_LIBRARIES COMPILE_DEFINITIONS)
  get_target_property(${property} pistonfield ${property})
  if(NOT ${property})
    set(${property} "")
  endif()
endforeach()
add_library(pistonfield_shared SHARED ${SOURCES})
add_library(pistonfield::shared ALIAS pistonfield_shared)
target_link_libraries(pistonfield_shared PRIVATE ${LINK_LIBRARIES})
target_compile_definitions(pistonfield_shared PRIVATE ${COMPILE_DEFINITIONS})
target_compile_features(pistonfield_shared PRIVATE cxx_std_20)
# Calls within the library stay within it.
target_compile_options(pistonfield_shared PRIVATE -fno-semantic-interposition)
target_include_directories(pistonfield_shared
  PUBLIC $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}>
  INTERFACE $<BUILD_INTERFACE:${PROJECT_SOURCE_DIR}/capi>)

# The first two numbers of the version stand for the interface of the classes.
set(interface ${PROJECT_VERSION_MAJOR}.${PROJECT_VERSION_MINOR})
set(map ${PROJECT_BINARY_DIR}/generated/SharedLibrary.map)
configure_file(${PROJECT_SOURCE_DIR}/cmake/SharedLibrary.map.in ${map} @ONLY)
target_link_options(pistonfield_shared PRIVATE
  -Wl,--version-script=${map} -Wl,--exclude-libs,ALL)
if(NOT PISTONFIELD_SANITIZE)
  # The sanitizers' runtime may be the program's.
  target_link_options(pistonfield_shared PRIVATE -Wl,--no-undefined)
endif()
set_target_properties(pistonfield_shared PROPERTIES
  OUTPUT_NAME pistonfield EXPORT_NAME shared VERSION ${PROJECT_VERSION} SOVERSION ${interface}
  CXX_VISIBILITY_PRESET default LINK_DEPENDS ${map}
  # Analysers read each source once, as the static library's.
  EXPORT_COMPILE_COMMANDS OFF)
