#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# debian.sh BUILD SOURCE OCTAVE CXX: makes the packages for Debian, looks into them, unpacks them in a
# folder of their own, and uses there what they hold.
set -euo pipefail

build=$1
source=$2
octave=$3
compiler=$4
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"

cpack --config "$build/CPackConfig.cmake" -B "$work/made" >made.txt
library=$(echo made/libpistonfield-dev_*.deb)
module=$(echo made/octave-pistonfield_*.deb)

packages=("$library" "$module")
if [[ -x $build/run/pistonfield-run ]]; then
  program=$(echo made/pistonfield-run_*.deb)
  packages+=("$program")
fi

echo "they ask for what they use"
dpkg-deb --field "$library" Depends | grep -E '\blibstdc\+\+'
dpkg-deb --field "$module" Depends | grep -E '\boctave-abi-[0-9]+\b.*\blibstdc\+\+6\b.*\boctave \(>= '

[[ -z ${program:-} ]] ||
  dpkg-deb --field "$program" Depends | grep -E '\blibhdf5-openmpi-.*\blibopenmpi3\b'

architecture=$(dpkg-architecture --query DEB_HOST_MULTIARCH)
echo "they are installed into the system's folders alone, with licence and changes"
for package in "${packages[@]}"; do
  dpkg-deb --contents "$package" | awk '$6 !~ "/$" { print $6 }' >contents.txt
  grep -q '/usr/share/doc/.*/copyright$' contents.txt
  grep -q '/usr/share/doc/.*/changelog.gz$' contents.txt
  grep -q '/usr/share/doc/.*/changelog.Debian.gz$' contents.txt
  grep -q '/usr/share/doc/.*/docs/install.md$' contents.txt
  if grep -vE "^\./usr/(bin|include/pistonfield|lib/$architecture|share/(doc|man/man1|octave/packages))/" \
    contents.txt; then
    exit 1
  fi
  dpkg-deb --extract "$package" root
done
if grep -rlF -e "$build" -e "$source" root; then
  exit 1
fi

echo "a program is built with the library"
PKG_CONFIG_PATH=$(dirname -- "$(find root -name pistonfield.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs pistonfield)
"$compiler" -o consumer "$source/tests/packages/consumer/consumer.cpp" "${flags[@]}"
./consumer >consumer.txt

echo "its examples are built with it"
CXX=$compiler cmake -S root/usr/share/doc/libpistonfield-dev/examples -B examples -G Ninja \
  -D CMAKE_PREFIX_PATH="$work/root/usr" >examples.txt
cmake --build examples
examples/beam_profile >examples.txt
examples/field_plane >examples.txt

if [[ -n ${program:-} ]]; then
  echo "the program runs"
  root/usr/bin/pistonfield-run --version
fi

echo "Octave finds and loads the module"
export HOME=$work TMPDIR=$work LC_ALL=C.UTF-8
"$octave" --no-history --no-init-file --no-window-system \
  --path "$source/tests/octave/support" "$source/tests/packages/octave.m"
