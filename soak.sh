#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Runs the long checks whole and prints their figures. Takes about half an hour on two cores, and on top
# some 20 minutes for aarch64, and two hours and a half for the attacks on pistonfield-run, more than one of
# them for metadata.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/cmake/setup.sh"

require_test_packages
require_packages "${memory_check_packages[@]}" "${slurm_packages[@]}" "${mutation_packages[@]}" \
  "${aarch64_packages[@]}"

say "building everything in build/"
cmake --preset default -D PISTONFIELD_TESTS=ON -D PISTONFIELD_RUN=ON
cmake --build --preset default

say "checking that the known survivors of mutations are mutants of these sources"
/usr/bin/python3 tests/mutation/mutate.py --check build

say "running the tests on aarch64"
tests/aarch64.sh

say "running the long checks"
ctest --preset default --build-config soak --label-regex '^soak$' --verbose \
  --parallel "$(nproc)" --output-log build/soak.log

say "calling the gateway ten million times with arguments of the fuzzer"
build_fuzzer
export -f fuzz say die
seq 40 | xargs -P "$(nproc)" -I SEED bash -euc 'fuzz 250000 SEED'
