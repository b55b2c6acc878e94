#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# debian.sh BUILD SOURCE OCTAVE CXX CC: makes the packages for Debian, looks into them, unpacks them in a
# folder of their own, and uses there what they hold.
set -euo pipefail

build=$1
source=$2
octave=$3
compiler=$4
c_compiler=$5
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"

cpack --config "$build/CPackConfig.cmake" -B "$work/made" >made.txt
library=$(echo made/libpistonfield-dev_*.deb)
runtime=$(echo made/libpistonfield[0-9]*.deb)
module=$(echo made/octave-pistonfield_*.deb)

packages=("$library" "$runtime" "$module")
if [[ -x $build/run/pistonfield-run ]]; then
  program=$(echo made/pistonfield-run_*.deb)
  packages+=("$program")
fi

echo "they ask for what they use"
dpkg-deb --field "$library" Depends | grep -E '\blibstdc\+\+'
dpkg-deb --field "$library" Depends | grep -E "\b$(dpkg-deb --field "$runtime" Package) \(= "
dpkg-deb --field "$runtime" Depends | grep -E '\blibc6\b.*\blibstdc\+\+6\b'
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
  # Who installs the runtime package has not asked for it.
  [[ $package == "$runtime" ]] || grep -q '/usr/share/doc/.*/docs/install.md$' contents.txt
  if grep -vE "^\./usr/(bin|include/pistonfield|lib/$architecture|share/(doc|man/man1|octave/packages))/" \
    contents.txt; then
    exit 1
  fi
  dpkg-deb --extract "$package" root
done
if grep -rlF -e "$build" -e "$source" root; then
  exit 1
fi

echo "programs that are built with the shared library ask for its package"
dpkg-deb --info "$runtime" shlibs | tee shlibs.txt
read -r name version dependency <shlibs.txt
test -e "root/usr/lib/$architecture/$name.so.$version"
[[ $dependency == "$(dpkg-deb --field "$runtime" Package) (>= "* ]]
dpkg-deb --info "$runtime" triggers | grep -q ldconfig

echo "a program is built with the library"
PKG_CONFIG_PATH=$(dirname -- "$(find root -name pistonfield.pc)")
export PKG_CONFIG_PATH
read -ra flags < <(pkg-config --cflags --libs pistonfield)
"$compiler" -o consumer "$source/tests/packages/consumer/consumer.cpp" "${flags[@]}"
./consumer >consumer.txt

echo "a program in C is built with the shared library"
read -ra flags < <(pkg-config --cflags --libs pistonfield-c)
"$c_compiler" -std=c99 -o c_program root/usr/share/doc/libpistonfield-dev/examples/axis_profile.c \
  "${flags[@]}" -lm
LD_LIBRARY_PATH=root/usr/lib/$architecture ./c_program >c_program.txt

echo "its examples are built with it"
CXX=$compiler cmake -S root/usr/share/doc/libpistonfield-dev/examples -B examples -G Ninja \
  -D CMAKE_PREFIX_PATH="$work/root/usr" >examples.txt
cmake --build examples
examples/beam_profile >examples.txt
examples/field_plane >examples.txt
examples/axis_profile >examples.txt

if [[ -n ${program:-} ]]; then
  echo "the program runs"
  root/usr/bin/pistonfield-run --version
fi

echo "Octave finds and loads the module"
export HOME=$work TMPDIR=$work LC_ALL=C.UTF-8
"$octave" --no-history --no-init-file --no-window-system \
  --path "$source/tests/octave/support" "$source/tests/packages/octave.m"
