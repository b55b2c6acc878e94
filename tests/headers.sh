#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Compiles headers by themselves: each includes what it uses.
#   tests/headers.sh [HEADER...]     all of the library and of pistonfield-run, or those named
set -euo pipefail

cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

if (($# == 0)); then
  # Those of the toolkit backend need the toolkit's own.
  mapfile -t headers < <(git ls-files '*.h' | grep --extended-regexp \
    '^(arrays|beam|capi|core|cuda_runtime|FastNearfield|field|lanes|matlab_src|method|parallel|run|signals)/' | grep --invert-match /toolkit/)
  set -- "${headers[@]}"
fi

read -ra mpi < <(pkg-config --cflags ompi-cxx)
flags=(-std=c++20 -fsyntax-only -Wall -Wextra -Wconversion -Werror -Wno-psabi -DOMPI_SKIP_MPICXX
  -I. -Itests/matlab_host/interface -isystem/usr/include/hdf5/openmpi "${mpi[@]/#-I/-isystem}")
# Included, so that a header is not taken for the main file.
printf '%s\n' "$@" | xargs -P "$(nproc)" -I HEADER \
  "${CXX:-c++}" "${flags[@]}" -include HEADER -x c++ /dev/null
echo "$# headers are complete by themselves"
