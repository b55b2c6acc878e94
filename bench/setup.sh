# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=bash

# What the benchmarks' scripts share. Sourcing it leads to the project's folder.

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../cmake/setup.sh"

build_benchmarks() {
  require_packages "${module_packages[@]}" "${benchmark_packages[@]}"
  say "building in build-bench/"
  cmake --preset bench >/dev/null
  cmake --build --preset bench --parallel "$(nproc)" >/dev/null
}

# The revision, with "-changed" where the working tree differs from it outside the results.
revision() {
  local hash
  hash=$(git rev-parse --short HEAD 2>/dev/null) || { echo unknown; return; }
  git diff --quiet HEAD -- . ':!bench/results' ':!docs' || hash+=-changed
  echo "$hash"
}

# What the figures of a file depend on. The arguments are the command.
describe_run() {
  local field
  echo "command:  $*"
  echo "date:     $(date --utc '+%Y-%m-%d %H:%M UTC')"
  echo "revision: $(revision)"
  for field in 'Model name' 'CPU family' 'Model' 'CPU(s)' 'Thread(s) per core'; do
    lscpu | sed -n "s/^$field: */lscpu:    $field: /p"
  done
  echo "lscpu:    instruction sets: $(lscpu | grep --only-matching --word-regexp \
    --extended-regexp 'sse2|avx2|fma|avx512(f|dq)' | sort -u | tr '\n' ' ')"
  echo "load:     $(cut -d ' ' -f 1 /proc/loadavg) in the minute before"
  echo "compiler: $(c++ --version | head -n 1)"
  echo
}
