#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Times the fields of arrays within a tolerance, next to what one would do without them. The table
# is shown and kept in bench/results/arrays.txt. Takes some minutes.
#   bench/arrays.sh
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

require_packages "${comparison_packages[@]}"
build_benchmarks
scratch=$(mktemp --directory)
trap 'rm -rf -- "$scratch"' EXIT

{
  describe_run bench/arrays.sh
  build-bench/bench/arrays_bench "$scratch"
  /usr/bin/python3 bench/arrays.py "$scratch"
} | tee bench/results/arrays.txt
say "kept in bench/results/arrays.txt"
