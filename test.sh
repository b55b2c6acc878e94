#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Sets a Debian machine up, builds everything and runs every test.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/cmake/setup.sh"

require_test_packages

say "building everything in build/"
cmake --preset default -D PISTONFIELD_TESTS=ON -D PISTONFIELD_RUN=ON
cmake --build --preset default

say "running the tests"
ctest --preset default --parallel "$(nproc)"

say "testing the package for Python"
python/check.sh
