#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Times fields with a tolerance next to those of an order that keeps it, and draws the nodes a point.
# The table is shown and kept in bench/results/tolerance.txt. Takes some minutes.
#   bench/tolerance.sh
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

require_packages "${chart_packages[@]}"
build_benchmarks
{
  describe_run bench/tolerance.sh
  build-bench/bench/tolerance_bench
} | tee bench/results/tolerance.txt
build-bench/bench/nodes_map >build-bench/nodes.csv
/usr/bin/python3 bench/plot_nodes.py build-bench/nodes.csv docs/images/nodes.png
say "kept in bench/results/tolerance.txt, drawn in docs/images"
