#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# What there is to be seen on a machine with an NVIDIA GPU that is lent for some minutes: the tests that
# need one, the same under compute-sanitizer, and the benchmarks, with one summary of all.
#
# Usage: tests/gpu/on_device.sh build [FOLDER]         builds here, and packs FOLDER
#        tests/gpu/on_device.sh pack BUILD FOLDER      packs FOLDER from what is built in BUILD
#        FOLDER/on_device.sh run [--dry-run] [FOLDER]  runs what is there, on the machine with the GPU
#        tests/gpu/on_device.sh                        builds and runs here
#
# To build takes the CUDA toolkit, CMake, Ninja and GoogleTest. What is packed needs none of them, nor a
# network: a driver alone. FOLDER is build-gpu/on_device without an argument; the summary is
# FOLDER/summary.txt, to be kept as bench/results/device.txt. --dry-run does without a GPU what can be done
# without one: every program is asked for its name or its tests alone.
#
# PISTONFIELD_SECONDS is the most that a run takes, 450 without it. The exit status is 0 where nothing
# failed, 1 where something did, and 2 where nothing could be tried.
set -euo pipefail
export LC_ALL=C.UTF-8

script=$(realpath -- "${BASH_SOURCE[0]}")
usual=$(realpath -m -- "$(dirname -- "$script")/../../build-gpu/on_device")
readonly script usual
# Each is packed as it is named here, without folders.
readonly programs=(tests/FastNearfield/kernels/kernels_test tests/gpu/gpu_process_test
    tests/field/field_test tests/capi/static_interface_test bench/device/device_bench)
readonly most_bytes=$((60 * 1024 * 1024))
# The modes of a GPU; those of the CPU are tested elsewhere.
readonly device_tests='PlanOfEveryMode*:ToleranceTest/2.*:ToleranceTest/3.*:ArrayTest/2.*:ArrayTest/3.*'
# What is soon done under compute-sanitizer, which takes some hundred times as long.
readonly quick_tests='ContextEndTest*:KernelFormsTest*:SinglePrecisionFormsTest*'

die() {
    printf 'on_device.sh: %s\n' "$*" >&2
    exit 2
}

bytes_of() {
    find "$1" -type f -printf '%s\n' | awk '{ sum += $1 } END { print sum + 0 }'
}

# Copies the programs of a build into a folder, without what only debuggers read.
pack() {
    local build=$1 folder=$2 program
    rm -rf -- "$folder"
    mkdir -p -- "$folder"
    for program in "${programs[@]}"; do
        [[ -x $build/$program ]] || die "there is no $build/$program"
        cp -- "$build/$program" "$folder/"
        strip --strip-debug -- "$folder/${program##*/}" 2>/dev/null || true
        # Not every machine has the arithmetic in 113 bits.
        { ldd "$folder/${program##*/}" 2>/dev/null || true; } | awk '/libquadmath/ { print $3 }' |
            xargs --no-run-if-empty cp --dereference --target-directory="$folder"
    done
    cp -- "$script" "$folder/on_device.sh"
    pack_package "$build" "$folder"
    printf '%s\n' "${PISTONFIELD_REVISION:-$(git describe --always --dirty 2>/dev/null || echo unknown)}" \
        >"$folder/revision"
    local bytes
    bytes=$(bytes_of "$folder")
    ((bytes <= most_bytes)) || die "$folder has $bytes bytes, of at most $most_bytes"
    printf '%s: %d bytes in %d programs\n' "$folder" "$bytes" "${#programs[@]}"
}

# Copies the package for Python, with the shared library of a build, and the script that tries it.
pack_package() {
    local build=$1 folder=$2 root
    root=$(dirname -- "$script")/../..
    [[ -e $build/libpistonfield.so ]] || die "there is no $build/libpistonfield.so"
    mkdir -p -- "$folder/pistonfield/lib"
    cp -- "$root"/python/src/pistonfield/*.py "$folder/pistonfield/"
    cp --dereference -- "$build/libpistonfield.so" "$folder/pistonfield/lib/"
    strip --strip-debug -- "$folder/pistonfield/lib/libpistonfield.so" 2>/dev/null || true
    cp -- "$root/tests/gpu/device_arrays.py" "$folder/"
}

build() {
    local folder=$1
    cd -- "$(dirname -- "$script")/../.."
    cmake --preset gpu
    cmake --build --preset gpu
    pack build-gpu "$folder"
}

# Appends a part's outcome and the end of its output to the summary.
report() {
    local name=$1 outcome=$2 seconds=$3 log=$4
    printf '%-28s %-9s %4d s\n' "$name" "$outcome" "$seconds" >>"$outcomes"
    {
        printf '\n== %s: %s\n' "$name" "$outcome"
        tail -n 60 -- "$log"
    } >>"$details"
}

# Runs one part, unless the time is up, within at most so many seconds.
part() {
    local name=$1 limit=$2
    shift 2
    local log=$logs/$name.txt left=$((deadline - SECONDS)) outcome=passed status=0 begun=$SECONDS
    if ((left < 1)); then
        printf 'the time is up\n' >"$log"
        report "$name" 'left out' 0 "$log"
        failed=1
        return
    fi
    ((limit < left)) || limit=$left
    timeout --kill-after=5 "$limit" "$@" >"$log" 2>&1 || status=$?
    case $status in
    0) ;;
    77)
        outcome=FAILED
        if ((dry)); then outcome=skipped; fi
        ;;
    124 | 137) outcome='too long' ;;
    *) outcome=FAILED ;;
    esac
    # Tests skip themselves without a GPU: on a machine with one they have not found it.
    if ((!dry)) && [[ $outcome == passed ]] &&
        grep --quiet --extended-regexp '(^|: )no (device|GPU)$' "$log"; then
        outcome=FAILED
    fi
    [[ $outcome == passed || $outcome == skipped ]] || failed=1
    report "$name" "$outcome" $((SECONDS - begun)) "$log"
    printf '%-28s %s\n' "$name" "$outcome"
}

describe_machine() {
    printf 'revision  %s\n' "$(cat -- "$folder/revision")"
    printf 'date      %s\n' "$(date --utc '+%Y-%m-%d %H:%M UTC')"
    printf 'processor %s\n' "$(sed -n 's/^model name[^:]*: //p' /proc/cpuinfo | head -n 1)"
    if ((dry)); then
        printf 'GPU       none: a dry run\n'
    else
        nvidia-smi --query-gpu=name,driver_version,memory.total,compute_mode,clocks.max.sm \
            --format=csv,noheader | sed 's/^/GPU       /'
    fi
}

run_parts() {
    local list=()
    local points=(1000000000)
    if ((dry)); then
        list=(--gtest_list_tests)
        points=(1000)
    fi
    part kernels 120 "$folder/kernels_test" "${list[@]}"
    part process 60 "$folder/gpu_process_test" "${list[@]}"
    part interface 60 "$folder/static_interface_test"
    if ((dry)); then
        printf 'would run device_bench %s\n' "${points[@]}" >"$logs/bench.txt"
        report bench skipped 0 "$logs/bench.txt"
    else
        part bench 200 "$folder/device_bench" "${points[@]}"
    fi
    part field 120 "$folder/field_test" "${list[@]}" --gtest_filter="$device_tests"
    if ((dry)) || ! python3 -c 'import numpy' 2>/dev/null; then
        printf 'would run device_arrays.py, which takes Python and NumPy\n' >"$logs/python.txt"
        report python skipped 0 "$logs/python.txt"
    else
        part python 60 python3 "$folder/device_arrays.py"
    fi
    local tool
    for tool in memcheck racecheck; do
        if ((dry)); then
            part "$tool" 120 "$folder/kernels_test" --gtest_list_tests --gtest_filter="$quick_tests"
        elif type -P compute-sanitizer >/dev/null; then
            part "$tool" 120 compute-sanitizer --tool "$tool" --error-exitcode 1 \
                "$folder/kernels_test" --gtest_brief=1 --gtest_filter="$quick_tests"
        else
            printf 'there is no compute-sanitizer here\n' >"$logs/$tool.txt"
            report "$tool" skipped 0 "$logs/$tool.txt"
        fi
    done
}

run() {
    dry=0
    if [[ ${1:-} == --dry-run ]]; then
        dry=1
        shift
    fi
    folder=$(realpath -- "${1:-$(dirname -- "${BASH_SOURCE[0]}")}")
    local program
    for program in "${programs[@]}"; do
        [[ -x $folder/${program##*/} ]] || die "there is no ${program##*/} in $folder"
    done
    ((dry)) || nvidia-smi >/dev/null 2>&1 || die "nvidia-smi finds no GPU here"

    logs=$folder/logs
    outcomes=$logs/outcomes
    details=$logs/details
    mkdir -p -- "$logs"
    : >"$outcomes"
    : >"$details"
    deadline=$((SECONDS + ${PISTONFIELD_SECONDS:-450}))
    failed=0
    export LD_LIBRARY_PATH=$folder${LD_LIBRARY_PATH:+:$LD_LIBRARY_PATH}
    run_parts
    {
        describe_machine
        printf '\n'
        cat -- "$outcomes" "$details"
    } >"$folder/summary.txt"
    printf 'the summary is %s\n' "$folder/summary.txt"
    return "$failed"
}

case ${1:-} in
build) build "$(realpath -m -- "${2:-$usual}")" ;;
pack)
    (($# == 3)) || die "pack takes BUILD and FOLDER"
    pack "$2" "$3"
    ;;
run)
    shift
    run "$@"
    ;;
'')
    build "$usual"
    run "$usual"
    ;;
*) die "the first argument is build, pack or run" ;;
esac
