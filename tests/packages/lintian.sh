#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# lintian.sh BUILD: makes the packages for Debian and has Debian's own checker look at them.
set -euo pipefail

build=$1
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT
cd -- "$work"

cpack --config "$build/CPackConfig.cmake" -B made >made.txt
# A first version in Debian's archive closes a wish for it; a package beside the archive has none.
# Who builds on a machine without an e-mail address is told by the machine's name.
lintian --allow-root --fail-on error,warning \
  --suppress-tags initial-upload-closes-no-bugs,bogus-mail-host,bogus-mail-host-in-debian-changelog \
  made/*.deb
