#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Times calls for one point from Octave, next to calls of a module that does nothing. The table is
# shown and kept in bench/results/overhead.txt.
#   bench/overhead.sh
set -euo pipefail

# shellcheck source=bench/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/setup.sh"

build_benchmarks
{
  describe_run bench/overhead.sh
  # Progress lines of the module come on standard output, the table on standard error.
  octave-cli --no-history --no-init-file --no-window-system --path bench/overhead \
    --eval "overhead('$PWD')" 2>&1 >/dev/null
} | tee bench/results/overhead.txt
say "kept in bench/results/overhead.txt"
