#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Counts the instructions in the bare integrand loops of bench/LimitLoops.cpp, by kind and for one
# pack of lanes, from the disassembly.
#   bench/limit_instructions.sh [v4|v3|baseline]
set -euo pipefail
cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.."

instruction_set=${1:-v4}
object=build-bench/bench/CMakeFiles/limit_loops_$instruction_set.dir/LimitLoops.cpp.o
if [[ ! -e $object ]]; then
  echo "${0##*/}: there is no $object; run bench/run.sh first" >&2
  exit 1
fi

# A function's loop is the shortest stretch between the target of a backward jump and that jump with
# as many square roots as packs.
objdump --disassemble --demangle --no-show-raw-insn "$object" | awk '
  /^[0-9a-f]+ <.*limitLoop<.*Nothing, [0-9]+>.*>:$/ {
    name = $0
    sub(/.*limitLoop<[^,]*::/, "", name)
    packs = name
    sub(/,.*/, "", name)
    sub(/.*Nothing, /, "", packs)
    sub(/>.*/, "", packs)
    count = roots = from = to = 0
    inside = 1
    next
  }
  inside && /^ *[0-9a-f]+:\t/ {
    address = $1
    sub(/:/, "", address)
    count++
    at[address] = count
    text[count] = $2
    rootsBefore[count] = roots
    if ($2 ~ /^v?sqrt/) roots++
    if ($2 ~ /^j/ && ($3 in at) && roots - rootsBefore[at[$3]] == packs &&
        (to == 0 || count - at[$3] < to - from)) {
      from = at[$3]
      to = count
    }
  }
  inside && /^$/ && to > 0 {
    split("", kinds)
    for (i = from; i <= to; i++) {
      op = text[i]
      kind = "moves, logic, conversions, integers"
      if (op ~ /fmadd|fnmadd|fmsub|fnmsub/) kind = "fused multiply-add"
      else if (op ~ /^v?mul[ps]/) kind = "multiplication"
      else if (op ~ /^v?(add|sub)[ps]/) kind = "addition"
      else if (op ~ /^v?sqrt/) kind = "square root"
      else if (op ~ /^v?div/) kind = "division"
      kinds[kind]++
    }
    printf "%s, %d side by side: %.1f instructions a pack\n", name, packs, (to - from + 1) / packs
    for (kind in kinds) printf "  %6.1f  %s\n", kinds[kind] / packs, kind | "sort -k2"
    close("sort -k2")
    split("", at)
    inside = 0
  }'
