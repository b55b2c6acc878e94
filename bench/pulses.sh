#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Times the fields of a pulse, frequencies that share what they can and a plan for each. The table
# is shown and kept in bench/results/pulses.txt. Takes some minutes.
#   bench/pulses.sh
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

build_benchmarks

{
  describe_run bench/pulses.sh
  build-bench/bench/pulses_bench
} | tee bench/results/pulses.txt
say "kept in bench/results/pulses.txt"
