#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# matlab.sh BUILD SOURCE: builds the preset `matlab` where the substitutes of MATLAB's libraries are
# installed as MATLAB would be, and looks at what the module asks of its host.
set -euo pipefail

build=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

host=$build/tests/matlab_host
root=$work/matlab
libraries=$root/bin/glnxa64
mkdir -p "$libraries" "$root/extern/include"
cp "$host/libmx.so" "$host/libmex.so" "$libraries/"
cp "$source/tests/matlab_host/interface/mex.h" "$root/extern/include/"
printf '#!/bin/sh\necho mexa64\n' >"$root/bin/mexext"
chmod +x "$root/bin/mexext"
echo '<version>9.3.0</version>' >"$root/VersionInfo.xml"

cmake --preset matlab -S "$source" -B "$work/build" -D Matlab_ROOT_DIR="$root"
cmake --build "$work/build" --target pistonfield_matlab
grep -q 'built with the backend emulated' "$work/build/matlab/pistonfield.m"
for module in pistonfield pistonfield_internal; do
  cmake -D NM=nm -D MODULE="$work/build/matlab/$module.mexa64" \
    -D MX="$libraries/libmx.so" -D MEX="$libraries/libmex.so" \
    -D OPERATIONS="$source/tests/matlab_host/operations.txt" \
    -P "$source/tests/matlab_host/CheckSymbols.cmake"
done
