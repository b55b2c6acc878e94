#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# configurations.sh CMAKE SOURCE CXX: how the library is compiled where a user configures the project
# in one way or another.
set -euo pipefail

cmake=$1
source=$2
export CXX=$3
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"
unset CMAKE_BUILD_TYPE CMAKE_GENERATOR CXXFLAGS

# The command that compiles the library's GaussLegendre.cpp in the folder build.
command_in_build() { grep -h -e '-c .*/GaussLegendre\.cpp"' build/compile_commands.json; }

# command_after OPTION...: that command where the project is configured with the options.
command_after() {
  rm -rf -- build
  "$cmake" -S "$source" -B build -D PISTONFIELD_OCTAVE=OFF -D PISTONFIELD_TESTS=OFF "$@" >/dev/null
  command_in_build
}

# has TEXT OPTION...; lacks TEXT OPTION...
has() { command_after "${@:2}" | grep --quiet -e " $1 "; }
lacks() { command_after "${@:2}" >command.txt && ! grep --quiet -e " $1 " command.txt; }

echo "optimised where no type of build is given, else as it is given"
has -O3
has -O3 -G Ninja
lacks '-O[^ ]*' -D CMAKE_BUILD_TYPE=Debug
lacks '-O[^ ]*' -D CMAKE_BUILD_TYPE=None
has -O2 -D CMAKE_BUILD_TYPE=RelWithDebInfo

echo "a warning ends a build where that is asked for, as the presets do"
lacks -Werror
has -Werror -D PISTONFIELD_WARNINGS_AS_ERRORS=ON
grep --quiet '"PISTONFIELD_WARNINGS_AS_ERRORS": "ON"' "$source/CMakePresets.json"

echo "every operation is rounded by itself, whatever the processor"
has -ffp-contract=off
has -ffp-contract=off -D CMAKE_CXX_FLAGS=-march=native

echo "a part of another project has that project's type, and builds neither tests nor module"
mkdir outer
cd outer
cat >CMakeLists.txt <<'END'
cmake_minimum_required(VERSION 3.25)
project(outer LANGUAGES CXX)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
add_subdirectory(pistonfield)
END
ln -s "$source" pistonfield
"$cmake" -S . -B build >/dev/null
command_in_build >command.txt
if grep -e ' -O' -e ' -Werror' command.txt || grep -e '/tests/' -e OctaveHost build/compile_commands.json; then
  exit 1
fi
