#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Builds and runs the benchmarks of the library. The figures are shown and kept in
# bench/results/field.txt and field.json, of five repetitions each the least, and drawn in
# docs/images. Takes some minutes.
#   bench/run.sh [options of field_bench, such as --limit=all or --benchmark_repetitions=1]
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

require_packages "${chart_packages[@]}"
build_benchmarks

results=bench/results
{
  describe_run bench/run.sh "$@"
  build-bench/bench/field_bench --benchmark_repetitions=5 --benchmark_min_time=0.1 \
    --benchmark_report_aggregates_only=true \
    --benchmark_counters_tabular=true --benchmark_format=console \
    --benchmark_out="$results/field.json" --benchmark_out_format=json "$@" 2>/dev/null |
    grep --invert-match --extended-regexp '_(mean|median|stddev|cv) '
  echo
  bench/limit_instructions.sh
} | tee "$results/field.txt"
# The machine's name says nothing about the figures.
sed -i '/"host_name"/d' "$results/field.json"
/usr/bin/python3 bench/plot.py "$results/field.json" docs/images
say "kept in $results/field.txt and field.json, drawn in docs/images"
