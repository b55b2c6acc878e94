# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# The job scripts in a Slurm that the test starts and ends, where that can be. It has its own clock and
# daemons, and so runs under soak.sh alone.
add_test(NAME run.slurm
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/slurm.sh $<TARGET_FILE:pistonfield-run>
          ${PROJECT_SOURCE_DIR}/examples/slurm
  CONFIGURATIONS soak)
set_tests_properties(run.slurm PROPERTIES
  LABELS "soak;slurm" TIMEOUT 300 SKIP_RETURN_CODE 77 PROCESSORS 2)
