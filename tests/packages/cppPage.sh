#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# cppPage.sh BUILD SOURCE CXX [subproject]: does what docs/cpp.md says, with the text of its blocks: builds
# its programs with the installed library, through CMake and pkg-config, and runs them. With
# `subproject` the library is a part of the program's project instead.
set -euo pipefail

build=$1
source=$2
export CXX=$3
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# block LANGUAGE NUMBER: the page's block of that number in the language.
block() {
  awk -v opening="\`\`\`$1" -v number="$2" '
    /^```/ { shown = $0 == opening && ++count == number; next }
    shown' "$source/docs/cpp.md"
}

mkdir "$work/program"
cd -- "$work/program"
block cpp 1 >program.cpp

if [[ ${4:-} == subproject ]]; then
  echo "a project with the library in a folder of its own"
  ln -s "$source" pistonfield
  block cmake 2 >CMakeLists.txt
  cmake -S . -B build -G Ninja -D CMAKE_BUILD_TYPE=Release
  cmake --build build
  build/program
  exit
fi

echo "the page shows the example"
diff program.cpp <(sed '1,/^$/d' "$source/examples/field_plane.cpp")

cmake --install "$build" --component development --prefix "$work/place" >/dev/null

echo "a project with the installed library"
block cmake 1 >CMakeLists.txt
cmake -S . -B build -G Ninja -D CMAKE_PREFIX_PATH="$work/place" >/dev/null
cmake --build build
build/program >field.txt
cat field.txt
grep -q '^ *10\.0 *233\.337$' field.txt

block sh 1 | sed "s|^g++|$CXX|" >compile.sh
PKG_CONFIG_PATH=$(dirname -- "$(find "$work/place" -name pistonfield.pc)")
export PKG_CONFIG_PATH

echo "the program with a tolerance, through pkg-config"
block cpp 2 >program.cpp
bash -eu compile.sh
./a.out | tee tolerance.txt
grep -q '^bound 1e-06, measured [0-9.]*e-\(0[789]\|1[0-9]\) at 512 points' tolerance.txt

echo "the program of an array, through pkg-config"
block cpp 3 >program.cpp
bash -eu compile.sh
./a.out | tee array.txt
grep -q '^128 elements fill ' array.txt
# The largest pressure is at the focus.
[[ $(tail -n +2 array.txt | sort -k 3 -g | tail -n 1) == *' 5.0 mm '* ]]

echo "the program of a beam, through pkg-config"
block cpp 4 >program.cpp
bash -eu compile.sh
./a.out | tee beam.txt
grep -q '^Peak pressure ' beam.txt

echo "the program for a device, through pkg-config"
block cpp 5 >program.cpp
bash -eu compile.sh
./a.out | tee device.txt
# The same point: 233.337 kPa are what 1500 kPa/(m/s) * 0.1 m/s make of it.
grep -q '^|p| at 10 mm: 1\.556$' device.txt
