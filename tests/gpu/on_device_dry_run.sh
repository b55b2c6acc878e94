#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# on_device.sh with programs that stand in for the tests and the benchmark: what it packs and refuses to
# pack, what it runs, and what its summary says of programs that pass, fail, hang, and find no GPU.
# Usage: on_device_dry_run.sh FOLDER
set -euo pipefail

script=$(realpath -- "$(dirname -- "${BASH_SOURCE[0]}")/on_device.sh")
work=$1
rm -rf -- "$work"
mkdir -p -- "$work/bin"
cd -- "$work"
export PISTONFIELD_REVISION=of-this-test

fail() {
    printf '%s\n' "$*" >&2
    cat -- "$work/output" >&2 || true
    exit 1
}

# The exit status of a command, whose output goes to a file.
status_of() {
    local status=0
    "$@" >output 2>&1 || status=$?
    printf '%d' "$status"
}

expect() {
    local expected=$1 status
    shift
    status=$(status_of "$@")
    [[ $status == "$expected" ]] || fail "status $status and not $expected: $*"
}

says() {
    grep --quiet --extended-regexp -- "$1" "${2:-output}" || fail "'$1' is not in ${2:-output}"
}

# A program of the build that prints its name and arguments, and then does what is given.
stand_in() {
    mkdir -p -- "build/$(dirname -- "$1")"
    printf '#!/bin/sh\necho "this is %s, called with $*"\n%s\n' "${1##*/}" "${2:-true}" >"build/$1"
    chmod +x "build/$1"
}

stand_in_for_all() {
    local program
    for program in tests/FastNearfield/kernels/kernels_test tests/gpu/gpu_process_test \
        tests/field/field_test tests/capi/static_interface_test bench/device/device_bench; do
        stand_in "$program"
    done
    echo "no library" >build/libpistonfield.so
}

stand_in_for_all
rm build/tests/field/field_test
expect 2 "$script" pack build packed
says 'there is no build/tests/field/field_test'

stand_in tests/field/field_test
truncate --size=61M build/tests/field/field_test
expect 2 "$script" pack build packed
says 'has [0-9]+ bytes, of at most 62914560'

stand_in_for_all
rm build/libpistonfield.so
expect 2 "$script" pack build packed
says 'there is no build/libpistonfield.so'

stand_in_for_all
expect 0 "$script" pack build packed
says '^packed: [0-9]+ bytes in 5 programs$'
wanted=(device_arrays.py device_bench field_test gpu_process_test kernels_test on_device.sh pistonfield revision
    static_interface_test)
[[ $(cd packed && echo *) == "${wanted[*]}" ]] ||
    fail "something else is packed: $(ls packed)"

# From here on only what is packed is used. A machine without a GPU has no nvidia-smi that works.
printf '#!/bin/sh\nexit 9\n' >bin/nvidia-smi
chmod +x bin/nvidia-smi
PATH=$work/bin:$PATH
expect 2 packed/on_device.sh run
says 'nvidia-smi finds no GPU here'

expect 0 packed/on_device.sh run --dry-run
for line in '^revision  of-this-test$' '^GPU       none: a dry run$' '^kernels +passed ' '^memcheck +passed ' \
    '^bench +skipped ' '^python +skipped ' 'kernels_test, called with --gtest_list_tests' 'would run device_bench 100'; do
    says "$line" packed/summary.txt
done

printf '#!/bin/sh\necho "a GPU, 580.1"\n' >bin/nvidia-smi
printf '#!/bin/sh\necho "checked: $*"\n' >bin/compute-sanitizer
chmod +x bin/compute-sanitizer
# The package is tried where Python has NumPy.
# shellcheck disable=SC2016
printf '#!/bin/sh\n[ "$1" = -c ] || echo "tried: $*"\n' >bin/python3
chmod +x bin/python3
expect 0 packed/on_device.sh run
for line in '^GPU       a GPU, 580.1$' '^python +passed ' 'tried: .*/packed/device_arrays.py$' '^racecheck +passed ' 'checked: --tool memcheck --error-exitcode 1 ' \
    '^bench +passed ' 'device_bench, called with 1000000000$'; do
    says "$line" packed/summary.txt
done

stand_in tests/FastNearfield/kernels/kernels_test 'echo "a wrong number"; exit 1'
stand_in tests/gpu/gpu_process_test 'echo "no GPU"'
stand_in tests/capi/static_interface_test 'exit 77'
"$script" pack build packed >output
expect 1 packed/on_device.sh run
for line in '^kernels +FAILED ' 'a wrong number' '^process +FAILED ' '^field +passed ' '^interface +FAILED '; do
    says "$line" packed/summary.txt
done

stand_in tests/FastNearfield/kernels/kernels_test 'exec sleep 30'
"$script" pack build packed >output
expect 1 env PISTONFIELD_SECONDS=1 packed/on_device.sh run
for line in '^kernels +too long ' '^process +left out ' '^bench +left out '; do
    says "$line" packed/summary.txt
done
