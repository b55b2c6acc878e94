# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# The parts of pistonfield-run, in one process.
pistonfield_test(run_test
  CommandTest.cpp
  DamagedFilesTest.cpp
  DigestTest.cpp
  FieldFileTest.cpp
  FileLockTest.cpp
  InterruptionTest.cpp
  ProgressTest.cpp
  ReadingGuardTest.cpp
  SilenceTest.cpp
  SlabValuesTest.cpp
  TemporaryFileTest.cpp
  compressTest.cpp
  computeTest.cpp
  launcherTest.cpp
  leftoversTest.cpp
  notesTest.cpp
  numbersTest.cpp
  openFilesTest.cpp
  readTextTest.cpp
  slabsTest.cpp
  streamsTest.cpp
  formattingTest.cpp
  xdmfTest.cpp)
target_link_libraries(run_test PRIVATE pistonfield_run_parts PkgConfig::XXHASH)
target_compile_definitions(run_test PRIVATE PISTONFIELD_BACKEND="${PISTONFIELD_BACKEND}")
