#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# show.sh PROGRAM: what `show` says of a file is a request file for the same field, to the last bit.
set -euo pipefail

program=$1
folder=$(mktemp --directory)
trap 'rm -rf -- "$folder"' EXIT
cd "$folder"

# No number here has few binary digits.
request=(--transform 1e-4 0.1 0 -5e-3  0.7 1e-4 0 -4e-3  0 0 0.3 1e-3  0 0 0 1.1
  --sizes 7 6 5 -l 5.1e-3 -s 7.7e-3 -k 4188.79)
printf '%s\n' '-0.7745966692414834 0.1' '0 0.88888888888888884' '0.3 1e-20' >rule.txt

# same_again OPTION...: a field with these options, and that of the request which is shown of it.
same_again() {
  rm -f -- *.h5 values again request.toml
  "$program" "${request[@]}" "$@" field.h5
  "$program" show field.h5 >request.toml
  cat request.toml
  "$program" --request request.toml again.h5
  "$program" extract field.h5 values
  "$program" extract again.h5 again
  cmp values again
  # Every line but those of the account is the same, too.
  diff <(grep -v '^#' request.toml) <("$program" show again.h5 | grep -v '^#')
}

same_again --order 23
grep --quiet '^order = 23$' request.toml
grep --quiet '^# complete = true$' request.toml
grep --quiet '^l = 0.0051000000000000004$' request.toml
same_again --mode cpusp
grep --quiet '^mode = "cpusp"$' request.toml
same_again --table rule.txt
grep --quiet '^# order = 3$' request.toml
same_again --tolerance 1e-5 --relative local
grep --quiet '^tolerance = 1.0000000000000001e-05$' request.toml
grep --quiet '^relative = "local"$' request.toml
grep --quiet '^precision = "double"$' request.toml
grep --quiet '^device = "cpu"$' request.toml
grep --quiet '^behind = false$' request.toml
grep --quiet '^# error_points = [1-9]' request.toml
same_again --tolerance 1e-3 --precision single --device gpu
grep --quiet '^precision = "single"$' request.toml
grep --quiet '^device = "gpu"$' request.toml
same_again --tolerance 1e-3 --precision single --behind
grep --quiet '^precision = "single"$' request.toml
grep --quiet '^behind = true$' request.toml
same_again --tolerance 1e-4 --attenuation 0.7 --baffle free
grep --quiet '^attenuation = 0.69999999999999996$' request.toml
grep --quiet '^baffle = "free"$' request.toml

# Of a part it is the request of the whole field.
"$program" "${request[@]}" --part 2/2 cut.h5
"$program" show cut.part-2-of-2.h5 >part.toml
grep --quiet '^sizes = \[7, 6, 5\]$' part.toml
grep --quiet '^# first_point = \[0, 0, 3\]$' part.toml
grep --quiet '^# points = \[7, 6, 2\]$' part.toml
