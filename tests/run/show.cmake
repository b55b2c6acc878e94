# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
add_test(NAME run.show
  COMMAND ${CMAKE_CURRENT_SOURCE_DIR}/show.sh $<TARGET_FILE:pistonfield-run>)
