#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# development.sh BUILD SOURCE CXX: installs the library, moves it to another place, builds a user's
# program there, through CMake and through pkg-config, and runs it; and uninstalls a library.
set -euo pipefail

build=$1
source=$2
export CXX=$3
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

cmake --install "$build" --component development --prefix "$work/first" >"$work/installed.txt"
prefix=$work/moved
mv "$work/first" "$prefix"

echo "no installed file knows where it was built"
if grep -rlF -e "$build" -e "$source" -e "$work/first" "$prefix"; then
  exit 1
fi

echo "the headers are those for programs and no others"
program=$source/tests/packages/consumer
diff <(cd "$prefix/include/pistonfield" && find . -type f -printf '%P\n' | sort) \
  <(sed -n 's/^#include <\(.*\.h\)>$/\1/p' "$program/consumer.cpp" | sort)

echo "the library has the hot loops for every instruction set"
nm --demangle --defined-only "$prefix"/lib*/libpistonfield.a >"$work/symbols.txt" 2>/dev/null
for set in baseline v3 v4; do
  grep -q "::$set::" "$work/symbols.txt"
done

echo "a program finds it through CMake"
cmake -S "$program" -B "$work/program" -G Ninja -D CMAKE_PREFIX_PATH="$prefix" >"$work/configured.txt"
cmake --build "$work/program"
"$work/program/consumer"

echo "and the shared library, which has all that the headers need"
"$work/program/shared_consumer"
readelf --dynamic --wide "$work/program/shared_consumer" | grep -F '[libpistonfield.so.'

echo "a program finds it through pkg-config"
PKG_CONFIG_PATH=$(dirname -- "$(find "$prefix" -name pistonfield.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags pistonfield)
read -ra libraries < <(pkg-config --libs pistonfield)
test -f "$(pkg-config --variable=includedir pistonfield)/core/Grid3DR.h"
"$CXX" -o "$work/linked" "${flags[@]}" "$program/consumer.cpp" "${libraries[@]}"
"$work/linked" >"$work/output.txt"
echo "in a newer C++ than the library's, too, and through each compiler"
for compiler in g++ clang++; do
  ! type -P "$compiler" >/dev/null ||
    "$compiler" -fsyntax-only "${flags[@]}" -std=c++2b "$program/consumer.cpp"
done

echo "what is installed is uninstalled, with the folders that are empty then"
place="$work/a [p]lace"
mkdir -p "$place/include"
touch "$place/include/another.h"
cmake --install "$build" --component development --prefix "$place" >/dev/null
mkdir "$work/build"
mv "$build/install_manifest_development.txt" "$work/build/install_manifest.txt"
cmake -D BUILD_DIR="$work/build" -P "$source/packages/Uninstall.cmake"
diff <(cd "$place" && find . | sort) <(printf '%s\n' . ./include ./include/another.h)
if cmake -D BUILD_DIR="$work/build" -P "$source/packages/Uninstall.cmake" 2>/dev/null; then
  exit 1
fi
