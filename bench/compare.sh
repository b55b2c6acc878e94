#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Compares the module with what a user would do without it, on one field and in one run. The table
# is shown and kept in bench/results/compare.txt. Takes some minutes.
#   bench/compare.sh
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

require_packages "${comparison_packages[@]}"
build_benchmarks
scratch=$(mktemp --directory)
trap 'rm -rf -- "$scratch"' EXIT

{
  describe_run bench/compare.sh
  echo "octave:   $(octave-cli --version | head -n 1)"
  echo "numpy:    $(/usr/bin/python3 -c 'import numpy; print(numpy.__version__)')"
  echo
} >"$scratch/table"
# Progress lines of the module come on standard output, the table on standard error.
octave-cli --no-history --no-init-file --no-window-system --path bench/compare \
  --eval "compare('$PWD', '$scratch')" 2>&1 >/dev/null | tee -a "$scratch/table"
cp -- "$scratch/table" bench/results/compare.txt
say "kept in bench/results/compare.txt"
