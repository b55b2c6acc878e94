#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# version.sh CMAKE SOURCE CXX: the version header of revisions by committers of any name, of clones of
# any kind, and of archives. Each header is compiled and says what it holds.
set -euo pipefail

cmake=$1
source=$2
compiler=$3
work=$(mktemp -d)
trap 'rm -rf -- "$work"' EXIT

# Nothing of the caller's own git takes part.
unset "${!GIT_@}"
export HOME=$work GIT_CONFIG_NOSYSTEM=1 GIT_AUTHOR_NAME=author GIT_AUTHOR_EMAIL=author@here
export GIT_COMMITTER_NAME=committer GIT_COMMITTER_EMAIL=committer@here
export GIT_COMMITTER_DATE='2023-11-05T01:02:03+0100' GIT_AUTHOR_DATE='2020-01-01T00:00:00Z'

cat >"$work/main.cpp" <<'END'
#include <cstdio>
#include "version.h"
int main() { std::printf("%s\n%s\n%s\n", version::id, version::date, version::revision); }
END

# texts_of FOLDER: the three texts of the version header that the folder's tree gives.
texts_of() {
  "$cmake" -D SOURCE_DIR="$1" -D OUTPUT="$work/version.h" -P "$source/cmake/GenerateVersion.cmake"
  "$compiler" -std=c++20 -Wall -Wextra -Werror -I "$work" -o "$work/main" "$work/main.cpp"
  "$work/main"
}

# expect FOLDER REVISION STAMP COMMITTER
expect() {
  diff <(texts_of "$1") - <<END
\$Id: version.h,v $2 $3 $4 \$
\$Date: $3 \$
\$Revision: $2 \$
END
}

tree=$work/tree
mkdir -p "$tree/cmake"
cp "$source/cmake/version.h.in" "$source/cmake/archive-revision.txt" "$tree/cmake/"
cp "$source/.gitattributes" "$tree/"

echo "a tree without a revision"
expect "$tree" unknown 'unknown unknown' unknown
git -C "$tree" init --quiet
expect "$tree" unknown 'unknown unknown' unknown

git -C "$tree" add .
stamp='2023/11/05 01:02:03'

# expect_committer EMAIL TEXT: how the e-mail address of a revision's committer is told.
expect_committer() {
  GIT_COMMITTER_EMAIL=$1 git -C "$tree" commit --quiet --allow-empty --message "by $1"
  revision=$(git -C "$tree" rev-parse --short=12 HEAD)
  expect "$tree" "$revision" "$stamp" "$2"
}

echo "committers of any name"
expect_committer 'someone@somewhere.org' someone
expect_committer 'a.b-c+d_e@somewhere.org' a.b-c+d_e
expect_committer '' unknown
expect_committer ' ' unknown
expect_committer 'alone' alone
expect_committer '@nowhere' unknown
expect_committer 'two words@x' two_words
expect_committer 'a"b@x' a_b
expect_committer 'a"; int x = "b@x' 'a___int_x_=__b'
expect_committer 'a\n@x' a_n
expect_committer 'back\\@x' back__
expect_committer 'a;b;c@x' a_b_c
expect_committer '[a@x' _a
# shellcheck disable=SC2016
expect_committer '$(whoami)${HOME}@x' '_(whoami)_{HOME}'
expect_committer 'größe@x' größe

echo "clones of any kind"
GIT_COMMITTER_EMAIL='' git -C "$tree" commit --quiet --allow-empty --message last
revision=$(git -C "$tree" rev-parse --short=12 HEAD)
git clone --quiet --depth 1 "file://$tree" "$work/shallow"
expect "$work/shallow" "$revision" "$stamp" unknown
git clone --quiet "$tree" "$work/name with blanks; and [more"
git -C "$work/name with blanks; and [more" checkout --quiet --detach HEAD~1
expect "$work/name with blanks; and [more" \
  "$(git -C "$tree" rev-parse --short=12 HEAD~1)" "$stamp" größe
git -C "$tree" worktree add --quiet --detach "$work/worktree"
expect "$work/worktree" "$revision" "$stamp" unknown

echo "in a hook of another repository, and with signatures shown"
GIT_DIR=$work/shallow/.git expect "$work/worktree" "$revision" "$stamp" unknown
git config --global log.showSignature true
expect "$tree" "$revision" "$stamp" unknown

echo "archives"
# archived REVISION FOLDER: unpacks the archive of a revision.
archived() {
  mkdir -p "$2"
  git -C "$tree" archive "$1" | tar -x -C "$2"
}
archived HEAD "$work/archive"
expect "$work/archive" "$revision" "$stamp" unknown
archived HEAD~1 "$work/older"
expect "$work/older" "$(git -C "$tree" rev-parse --short=12 HEAD~1)" "$stamp" größe
