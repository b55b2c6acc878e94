#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# octave.sh TARBALL SOURCE OCTAVE [MODULE...]: installs the package for GNU Octave in a folder of its own
# and uses it. With MODULEs the package has these in place of the sources to compile; that these are
# complete is then only looked at.
set -euo pipefail

tarball=$1
source=$2
octave=$3
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

if (($# > 3)); then
  tar -xzf "$tarball" -C "$work"
  package=$(basename -- "$tarball" .tar.gz)
  make --dry-run --directory "$work/$package/src" >"$work/commands.txt"
  rm -r -- "$work/$package/src"
  cp -- "${@:4}" "$work/$package/inst/"
  tarball=$work/$package.tar.gz
  tar -czf "$tarball" -C "$work" "$package"
fi

# The time that a module which is compiled here has to tell.
(($# > 3)) || export SOURCE_DATE_EPOCH=1699146123

export HOME=$work TMPDIR=$work LC_ALL=C.UTF-8 PISTONFIELD_TARBALL=$tarball
cd -- "$work"
"$octave" --no-history --no-init-file --no-window-system --path "$source/tests/octave/support" \
  "$source/tests/packages/octave.m"
