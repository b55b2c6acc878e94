#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# buildTime.sh CMAKE SOURCE: the time of the build that the build's header tells.
set -euo pipefail

cmake=$1
source=$2
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

build_time() {
  "$cmake" -D SOURCE_DIR="$source" -D OUTPUT="$work/buildTime.h" \
    -P "$source/cmake/GenerateBuildTime.cmake" &&
  sed -n 's/.*buildTime = "\(.*\)";$/\1/p' "$work/buildTime.h"
}

# expect SECONDS TEXT: what is told of a build at these seconds since 1970.
expect() {
  diff <(SOURCE_DATE_EPOCH=$1 build_time) - <<<"$2"
}

echo "SOURCE_DATE_EPOCH is told in UTC, wherever the build is, with the day on two places"
export TZ=Asia/Tokyo LC_ALL=C
expect 0 'Jan  1 1970 00:00:00'
expect 951782399 'Feb 28 2000 23:59:59'
expect 951868799 'Feb 29 2000 23:59:59'
expect 1699146123 'Nov  5 2023 01:02:03'
expect 1700000000 'Nov 14 2023 22:13:20'
expect 4102444799 'Dec 31 2099 23:59:59'

echo "without it the clock is told, in the time zone of the build"
unset SOURCE_DATE_EPOCH
told=$(date --date="$(build_time)" +%s)
(($(date +%s) - told < 60))

echo "what is no number is refused"
if SOURCE_DATE_EPOCH=yesterday build_time 2>"$work/refusal.txt"; then
  exit 1
fi
