#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# mutation.sh [OPTION ...] [FILE ...]: puts small faults into the sources and counts how many the tests
# notice, as tests/mutation/mutate.py says.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../cmake/setup.sh"

require_packages "${module_packages[@]}" "${test_packages[@]}" "${run_packages[@]}" \
  "${mutation_packages[@]}"
/usr/bin/python3 tests/mutation/mutate.py "$@"
