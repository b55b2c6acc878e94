#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# submit_array.sh [PARTS [OPTION OF SBATCH ...]]: hands in the parts of a field, ten unless it is said
# otherwise, and a job that joins them when all of them are complete.
set -euo pipefail

parts=${1:-10}
array=$(sbatch --parsable --array="1-$parts" "${@:2}" field_array.sbatch)

# --parsable adds ";<cluster>" where there are several.
sbatch --dependency="afterok:${array%%;*}" --kill-on-invalid-dep=yes --ntasks=1 --time=00:10:00 \
  --job-name=field-join --output=%x-%j.log "${@:2}" \
  --wrap="pistonfield-run join field.h5 field.part-*-of-$parts.h5"
