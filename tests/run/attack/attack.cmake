# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# pistonfield-run under attack: a short share of each part in every run, all of it under soak.sh. Parts
# use as many processes as are said here.
function(pistonfield_attack part processes)
  foreach(share quick full)
    set(configurations "")
    # Damages that HDF5 reads without end take seconds each of a processor that others may keep busy.
    set(properties TIMEOUT 900)
    if(share STREQUAL "full")
      set(configurations CONFIGURATIONS soak)
      # The longest, metadata, reads some 90,000 damaged files.
      set(properties TIMEOUT 28800 LABELS soak)
    endif()
    add_test(NAME run.attack.${part}.${share}
      COMMAND ${PISTONFIELD_PYTHON_WITH_H5PY} ${CMAKE_CURRENT_SOURCE_DIR}/attack/${part}.py ${share}
      ${configurations})
    set_tests_properties(run.attack.${part}.${share} PROPERTIES
      PROCESSORS ${processes} ENVIRONMENT "${environment};PYTHONPATH=${CMAKE_CURRENT_SOURCE_DIR}"
      ${properties})
  endforeach()
endfunction()

foreach(part metadata damages crowds hosts)
  pistonfield_attack(${part} 2)
endforeach()
# Who may make no hosts of namespaces sees that these were left out.
set_tests_properties(run.attack.hosts.quick run.attack.hosts.full PROPERTIES
  SKIP_REGULAR_EXPRESSION "skipped 'no hosts: ")
set_property(TEST run.attack.hosts.quick run.attack.hosts.full APPEND PROPERTY LABELS superuser)
foreach(part streams names joined malformed)
  pistonfield_attack(${part} 1)
endforeach()
