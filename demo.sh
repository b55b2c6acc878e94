#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Sets a Debian machine up, builds the module for GNU Octave and computes a first field with it.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/cmake/setup.sh"

require_demo_packages

say "building the module in build/"
options=()
tests_can_be_built || options=(-D PISTONFIELD_TESTS=OFF)
cmake --preset default "${options[@]}"
cmake --build --preset default --target pistonfield_octave

say "running examples/example1_first_field.m in Octave"
octave-cli --no-history --no-init-file --no-window-system examples/example1_first_field.m
