#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Runs all tests with counters in the code and prints what they ran of each room. Ends with an error
# where that is not every line, or less than 95 % of the branches.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../cmake/setup.sh"

require_test_packages
require_packages "${coverage_packages[@]}"

say "building everything in build-coverage/"
cmake --preset coverage
cmake --build --preset coverage
find build-coverage -name '*.gcda' -delete

# Left out is what only optimised builds have, every hot function inlined, and what packages hold.
say "running the tests"
ctest --preset coverage --parallel "$(nproc)" \
  --exclude-regex '^lanes\.symbols|\.quick$|^packages\.(development|octave|debian)$'

# A source that is compiled several times counts once, with all its counts together.
counts=build-coverage/counts.json
excluded=$(grep --invert-match -e '^#' -e '^$' tests/coverage-exclusions.txt | paste --serial --delimiters '|')
gcovr --root . --filter core/ --filter FastNearfield/ --filter method/ --filter field/ \
  --filter arrays/ --filter beam/ --filter signals/ --filter capi/ --filter matlab_src/ \
  --exclude-throw-branches --exclude-unreachable-branches --exclude-lines-by-pattern "($excluded)\$" \
  --json "$counts" build-coverage

failures=0
for room in core FastNearfield method field arrays beam signals capi matlab_src; do
  say "$room"
  gcovr --add-tracefile "$counts" --filter "$room/" --print-summary \
    --fail-under-line 100 --fail-under-branch 95 || failures=$((failures + 1))
done
exit "$failures"
