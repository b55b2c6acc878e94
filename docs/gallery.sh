#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Runs every example and takes their pictures into docs/images. The module is built before, by
# demo.sh for instance.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../cmake/setup.sh"

require_packages octave "${picture_packages[@]}"

for example in examples/example[0-9]*_*.m; do
  say "running $example"
  octave-cli --no-history --no-init-file --no-window-system "$example"
  name=${example#*_}
  picture=build/demo/${name%.m}.png
  if [[ -e $picture ]]; then
    cp -- "$picture" docs/images/
  fi
done
