#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# exports.sh SHARED SONAME STATIC C_HEADER HEADER...: what the shared library exports is declared in the
# headers that are installed, and what these declare is exported where the static library has it.
set -euo pipefail

shared=$1
soname=$2
static=$3
c_header=$4
headers=("${@:5}")
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"

# The names that a list by nm has, without versions and tags.
names() { sed -E 's/^[^ ]* +. //; s/@.*//; s/\[abi:[^]]*\]//g'; }

# For each name the class or function outside all namespaces of programs, a tab, and the name.
owners() {
  awk '{
    owner = $0
    sub(/^(vtable|typeinfo|typeinfo name) for /, "", owner)
    sub(/\(.*/, "", owner)
    while (sub(/<[^<>]*>/, "", owner)) { }
    sub(/.* /, "", owner)
    sub(/^(pistonfield|cuda_runtime)::/, "", owner)
    sub(/::.*/, "", owner)
    print owner "\t" $0
  }'
}

{
  sed -nE 's/^(class|struct) ([A-Za-z0-9_]+).*/\2/p' "${headers[@]}"
  sed -nE 's/^[A-Za-z][^(]*[ *&]([A-Za-z0-9_]+)\(.*/\1/p' "${headers[@]}" "$c_header"
  sed -nE 's/^extern .* ([A-Za-z0-9_]+);/\1/p' "${headers[@]}"
} | sort -u >declared.txt
nm --dynamic --demangle --defined-only "$shared" | grep -v ' A ' | names | sort -u >exported.txt

echo "its name says which interface it has"
readelf --dynamic --wide "$shared" | grep -F "soname: [$soname]"

echo "nothing is exported that no header declares"
owners <exported.txt | sort -t $'\t' -k 1,1 | join -t $'\t' -v 1 - declared.txt >undeclared.txt
if [[ -s undeclared.txt ]]; then
  cat undeclared.txt
  exit 1
fi

echo "all functions of the header for C are exported, and no others of such names"
diff <(grep '^pistonfield_[a-z_]*$' exported.txt) <(grep '^pistonfield_[a-z_]*$' declared.txt)

echo "all that headers declare is exported"
nm --demangle --defined-only "$static" 2>/dev/null | grep ' [TBD] ' | names | sort -u | owners |
  sort -t $'\t' -k 1,1 | join -t $'\t' -o 1.2 - declared.txt | sort -u >wanted.txt
grep -c '' wanted.txt
comm -23 wanted.txt exported.txt >missing.txt
if [[ -s missing.txt ]]; then
  cat missing.txt
  exit 1
fi
