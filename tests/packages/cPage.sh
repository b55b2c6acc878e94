#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# cPage.sh BUILD SOURCE CC: does what docs/c.md says, with the text of its blocks: builds its program with
# the installed library in every way that it shows, and runs it.
set -euo pipefail

build=$1
source=$2
export CC=$3
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"

# block LANGUAGE NUMBER: the page's block of that number in the language.
block() {
  awk -v opening="\`\`\`$1" -v number="$2" '
    /^```/ { shown = $0 == opening && ++count == number; next }
    shown' "$source/docs/c.md"
}

# expect_field PROGRAM...
expect_field() {
  "$@" >field.txt
  grep -q '^ *10\.0 *233\.337$' field.txt
}

block c 1 >program.c
echo "the page shows the example"
diff program.c <(sed '1,/^$/d' "$source/examples/axis_profile.c")

cmake --install "$build" --component development --prefix "$work/place" >/dev/null

echo "a project in C alone with the installed library"
block cmake 1 >CMakeLists.txt
cmake -S . -B build -G Ninja -D CMAKE_PREFIX_PATH="$work/place" >/dev/null
cmake --build build
expect_field build/program

echo "through pkg-config, in C as strict as can be"
PKG_CONFIG_PATH=$(dirname -- "$(find "$work/place" -name pistonfield-c.pc)")
export PKG_CONFIG_PATH
block sh 1 | sed "s|^cc|$CC -Wall -Wextra -pedantic -Werror|" >compile.sh
bash -eu compile.sh
expect_field env LD_LIBRARY_PATH="$(pkg-config --variable=libdir pistonfield-c)" ./a.out
readelf --dynamic --wide a.out | grep -F '[libpistonfield.so.'

echo "static"
block sh 2 | sed "s|^cc|$CC|" >compile.sh
bash -eu compile.sh
expect_field ./a.out
if readelf --dynamic --wide a.out | grep -F libpistonfield; then
  exit 1
fi

echo "in the project's folder"
mkdir tree
ln -s "$source/capi" tree/capi
ln -s "$build" tree/build
cp program.c tree
cd tree
block sh 3 | sed "s|^cc|$CC|" >compile.sh
bash -eu compile.sh
expect_field ./a.out

echo "a list of points"
block c 2 >program.c
bash -eu compile.sh
./a.out >list.txt
grep -q '^ *0 *0\.7889$' list.txt

echo "an array"
block c 3 >program.c
bash -eu compile.sh
./a.out >array.txt
grep -q '^ *20 *1\.9933 *1\.2732$' array.txt

echo "an array that is built and focused"
block c 4 >program.c
bash -eu compile.sh
./a.out >focus.txt
read -r _ _ _ _ found _ _ _ most <focus.txt
[[ $found == "$most" ]]

echo "a disc in a medium with losses"
block c 5 >program.c
bash -eu compile.sh
./a.out >losses.txt
# exp(-jKz) less z/R exp(-jKR) of the rim's distance R, K = k - 5.8j.
grep -q '^ *10 *1\.1089$' losses.txt

echo "rings that are focused, and their beam"
block c 6 >program.c
bash -eu compile.sh
./a.out >beam.txt
# A bowl in the place of the rings has 2 * 2.215/(k a) * 40 mm at -6 dB, 4.2 mm.
awk '/^  lateral 1/ { found = $8 } END { exit !(found > 4.1 && found < 4.5) }' beam.txt
