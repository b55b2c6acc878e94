# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
# shellcheck shell=bash
# Some of the packages are other scripts' alone.
# shellcheck disable=SC2034

# What the project's scripts share. Sourcing it leads to the project's folder.

cd -- "$(dirname -- "${BASH_SOURCE[0]}")/.." || exit

# The texts of the programs called here are read below, and plots need UTF-8.
export LC_ALL=C.UTF-8

# What the project's scripts and tests call is in these; tests/bare_machine.sh shows that none is missing.
module_packages=(cmake ninja-build g++ octave octave-dev libkissfft-dev)
picture_packages=(gnuplot-nox ghostscript fonts-freefont-otf)
test_packages=(git libgtest-dev libgmock-dev dpkg-dev file pkg-config)
run_packages=(pkg-config libcli11-dev libopenmpi-dev openmpi-bin libhdf5-openmpi-dev libxxhash-dev
  libtomlplusplus-dev)
reader_packages=(python3-h5py)
python_packages=(cmake ninja-build g++ libkissfft-dev python3-venv unzip)
host_packages=(iproute2 util-linux mount)
slurm_packages=(slurm-wlm munge)
memory_check_packages=(valgrind)
fuzz_packages=(clang libclang-rt-14-dev)
clang_packages=(clang)
aarch64_packages=(g++-aarch64-linux-gnu qemu-user googletest)
package_check_packages=(lintian)
coverage_packages=(gcovr)
mutation_packages=(python3-clang libclang-common-14-dev)
style_packages=(clang-format clang-tidy shellcheck)
benchmark_packages=(libbenchmark-dev)
comparison_packages=(python3-numpy)
chart_packages=(python3-matplotlib)
bare_machine_packages=(mmdebstrap)

# The version header takes the revision from a clone; an unpacked archive carries it along.
if [[ -e .git ]]; then
  module_packages+=(git)
fi

say() {
  printf '%s: %s\n' "${0##*/}" "$*"
}

die() {
  say "$*" >&2
  exit 1
}

is_installed() {
  local status
  status=$(dpkg-query --show --showformat='${db:Status-Status} ' "$1" 2>/dev/null) || return 1
  [[ " $status" == *' installed '* ]]
}

# Runs apt-get without questions; its report goes to the file $apt_report.
run_apt_get() {
  local -a as_root=()
  ((EUID == 0)) || as_root=(sudo)
  "${as_root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get --quiet --yes \
    -o DPkg::Lock::Timeout=300 "$@" </dev/null >"$apt_report" 2>&1
}

# The line of apt-get's report that says what went wrong.
apt_error() {
  grep --max-count=1 '^E: ' "$apt_report" || tail --lines=1 "$apt_report"
}

# In a shell of its own: the caller may have an EXIT trap.
install_packages() (
  apt_report=$(mktemp)
  trap 'rm -f -- "$apt_report"' EXIT
  run_apt_get update || say "apt-get update failed; going on with the package lists that are here"
  run_apt_get install --no-install-recommends "$@" ||
    die "apt-get could not install $*: $(apt_error)"
)

# Installs those of the named packages that are missing.
require_packages() {
  local package
  local -a missing=()
  if ! type -P dpkg-query apt-get >/dev/null; then
    die "no apt here; install what these Debian packages hold and build with cmake: $*"
  fi
  for package in "$@"; do
    [[ " ${missing[*]} " == *" $package "* ]] || is_installed "$package" || missing+=("$package")
  done
  ((${#missing[@]} > 0)) || return 0
  if ((EUID != 0)) && ! type -P sudo >/dev/null; then
    die "not root and no sudo; let root run: apt-get install --no-install-recommends ${missing[*]}"
  fi

  say "installing from Debian (minutes on a fresh machine): ${missing[*]}"
  install_packages "${missing[@]}" || exit
}

require_demo_packages() {
  require_packages "${module_packages[@]}" "${picture_packages[@]}"
}

require_test_packages() {
  require_packages "${module_packages[@]}" "${picture_packages[@]}" "${test_packages[@]}" \
    "${run_packages[@]}" "${reader_packages[@]}" "${python_packages[@]}" "${host_packages[@]}"
}

# Whether the tests' libraries are here; without them only the rest can be configured.
tests_can_be_built() {
  local package
  for package in "${test_packages[@]}"; do
    is_installed "$package" || return 1
  done
}

build_fuzzer() {
  require_packages "${module_packages[@]}" "${fuzz_packages[@]}"
  cmake --preset asan -D PISTONFIELD_TESTS="$(tests_can_be_built && echo ON || echo OFF)"
  cmake --build --preset asan --target gateway_fuzzer
}

# fuzz CALLS SEED: calls the gateway with arguments that the fuzzer makes up from the seed.
fuzz() {
  local log=build-asan/fuzz-$2.log
  build-asan/tests/fuzz/gateway_fuzzer -runs="$1" -seed="$2" -max_len=1024 -len_control=0 \
    -artifact_prefix=build-asan/ 2>"$log" ||
    { tail --lines=50 "$log"; die "the fuzzer has a finding, in build-asan/"; }
  say "the fuzzer, seed $2: $(grep '^Done' "$log")"
}
