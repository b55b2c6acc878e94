#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Times fields of discs in a medium with losses, as convolutions and element by element. The table
# is shown and kept in bench/results/contours.txt. Takes some minutes.
#   bench/contours.sh
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

build_benchmarks

{
  describe_run bench/contours.sh
  build-bench/bench/contours_bench
} | tee bench/results/contours.txt
say "kept in bench/results/contours.txt"
