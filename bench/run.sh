#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Builds and runs the benchmarks of the library. The figures, of five repetitions each the least, are
# shown and kept in bench/results/field.txt; those that are drawn in docs/images stand in field.csv
# too, in full. Takes some minutes.
#   bench/run.sh [options of field_bench, such as --limit=all or --benchmark_repetitions=1]
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

require_packages "${chart_packages[@]}"
build_benchmarks

results=bench/results
json=build-bench/field.json
provenance=$(describe_run bench/run.sh "$@")
{
  printf '%s\n\n' "$provenance"
  build-bench/bench/field_bench --benchmark_repetitions=5 --benchmark_min_time=0.1 \
    --benchmark_report_aggregates_only=true \
    --benchmark_counters_tabular=true --benchmark_format=console \
    --benchmark_out="$json" --benchmark_out_format=json "$@" 2>/dev/null |
    grep --invert-match --extended-regexp '_(mean|median|stddev|cv) '
  echo
  bench/limit_instructions.sh
} | tee "$results/field.txt"
{
  echo "# ${provenance//$'\n'/$'\n# '}"
  /usr/bin/python3 bench/plot.py tabulate "$json"
} > "$results/field.csv"
/usr/bin/python3 bench/plot.py draw "$results/field.csv" docs/images
say "kept in $results/field.txt and field.csv, drawn in docs/images"
