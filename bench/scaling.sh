#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# What pistonfield-run costs beside the library (overhead), how it scales on this machine's cores
# (processes), how fast it writes (disk) and what memory it takes (memory). Needs 10 GB of disk and a
# quarter of an hour for all; each table is shown and kept in bench/results/scaling_<table>.txt. Fields
# are computed in the folder TMPDIR, or build-bench.
#   bench/scaling.sh [overhead|processes|disk|memory ...]
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

require_packages "${module_packages[@]}" "${benchmark_packages[@]}" "${run_packages[@]}" \
  "${reader_packages[@]}"
cmake --preset bench -D PISTONFIELD_RUN=ON >/dev/null
build_benchmarks

# mpirun asks for these where it is called by root.
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
fields=$(mktemp --directory --tmpdir="${TMPDIR:-build-bench}" fields.XXXXXX)
trap 'rm -rf -- "$fields"' EXIT
(($# > 0)) || set -- overhead processes disk memory
for table in "$@"; do
  {
    describe_run bench/scaling.sh "$table"
    /usr/bin/python3 bench/scaling/measure.py build-bench "$fields" "$table"
  } | tee "bench/results/scaling_$table.txt"
  say "kept in bench/results/scaling_$table.txt"
done
