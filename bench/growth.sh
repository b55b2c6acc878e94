#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Time and peak memory of calls from Octave with more and more points and nodes, each call in a
# process of its own. The table is shown and kept in bench/results/growth.txt.
#   bench/growth.sh [million points of the largest grid]
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

largest=${1:-200}
build_benchmarks

row() {
  # Progress lines of the module come on standard output, the row on standard error.
  { octave-cli --no-history --no-init-file --no-window-system --path bench/growth \
    --eval "growth('$PWD', '$1', $2, $3)" >/dev/null; } 2>&1
}

{
  describe_run bench/growth.sh "$@"
  echo 'mode     10^6 points  order         s   ns/point  peak bytes/point'
  for mode in cpu cpusp cuda cudadp; do
    for million in 1 10 100; do row "$mode" "$million" 4; done
    for order in 8 16 32 64 128; do row "$mode" 1 "$order"; done
  done
  row cpu "$largest" 4
} | tee bench/results/growth.txt
say "kept in bench/results/growth.txt"
