#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# What pistonfield-run costs beside the library, how it scales on this machine's cores, how fast it
# writes and what memory it takes. Needs 10 GB of disk and some minutes; the tables are shown and kept
# in bench/results/scaling.txt.
#   bench/scaling.sh [folder for the fields, on the disk to measure]
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

need_packages "${run_packages[@]}" "${reader_packages[@]}"
build_benchmarks -D PISTONFIELD_RUN=ON

# mpirun asks for these where it is called by root.
export OMPI_ALLOW_RUN_AS_ROOT=1 OMPI_ALLOW_RUN_AS_ROOT_CONFIRM=1
{
  describe_run bench/scaling.sh
  /usr/bin/python3 bench/scaling/measure.py build-bench "${1:-build-bench/fields}"
} | tee bench/results/scaling.txt
say "kept in bench/results/scaling.txt"
