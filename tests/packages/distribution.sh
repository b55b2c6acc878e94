#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# distribution.sh SOURCE OCTAVE: builds the module as a distribution would, twice at different moments:
# with Debian's flags, which refuse the compiler's own date, and at a time that is given. What the two
# modules tell of their build is the same.
set -euo pipefail

source=$1
octave=$2
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"

flags="$(dpkg-buildflags --get CXXFLAGS) $(dpkg-buildflags --get CPPFLAGS)"
export CXXFLAGS="$flags -Werror=date-time" SOURCE_DATE_EPOCH=1699146123 TZ=Asia/Tokyo
LDFLAGS=$(dpkg-buildflags --get LDFLAGS)
export LDFLAGS
for build in first second; do
  cmake -S "$source" -B $build -G Ninja -D CMAKE_BUILD_TYPE=None -D PISTONFIELD_TESTS=OFF \
    -D PISTONFIELD_SHARED=OFF
  cmake --build $build --target pistonfield_octave
  "$octave" --no-history --no-init-file --no-window-system --path "$work/$build/octave" \
    --eval 'pistonfield info' >$build.txt
done
diff first.txt second.txt
grep -q '^Compiled on Nov  5 2023 01:02:03$' first.txt
