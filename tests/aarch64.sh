#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Compiles the library and its tests for aarch64, in build-aarch64/, and runs them in qemu's user mode.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../cmake/setup.sh"

require_packages "${module_packages[@]}" "${test_packages[@]}" "${aarch64_packages[@]}"

say "building GoogleTest for aarch64 from its sources"
googletest=$PWD/build-aarch64/googletest
cmake -S /usr/src/googletest -B "$googletest" -G Ninja --toolchain "$PWD/cmake/aarch64.cmake" \
  -D CMAKE_BUILD_TYPE=Release -D CMAKE_INSTALL_PREFIX="$googletest/installed"
cmake --build "$googletest" --target install

say "building the library and its tests in build-aarch64/"
programs=(ReferenceTest core_test parallel_test lanes_test cuda_runtime_test FastNearfieldTest method_test field_test arrays_test beam_test signals_test
  NearFieldRoundingTest gpu_test kernels_test matlab_src_test)
cmake --preset aarch64 -D GTest_ROOT="$googletest/installed"
cmake --build --preset aarch64 --target "${programs[@]}"

say "running the tests in qemu"
tests=$(IFS='|' && echo "${programs[*]}")
# Left out are those whose program starts itself again, which qemu cannot without help of the kernel, or
# ends by a signal, to which qemu adds a line of its own.
ctest --preset aarch64 --parallel "$(nproc)" --tests-regex "^($tests)\." --exclude-regex \
  'DefaultErrorHandlerDeathTest|ServesTheStaticDefaultHandler|DoubleStorageOnTheGpuEndsTheProcess'
