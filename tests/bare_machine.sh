#!/usr/bin/env bash
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause

# bare_machine.sh [USER:COMMAND ...]: runs commands where nothing is installed that they do not install
# themselves. Each gets a machine of its own: a minimal Debian 12 in a temporary folder, with the clone of
# this revision as its working folder. USER is root, or user: an ordinary one with sudo. Without arguments
# the two commands of README.md are run, by either.
#
# Ends with 0 where all commands do, and with 1 at the first one that fails. Needs root or sudo, mounts of
# its own and the network; without these it says in one line what is missing, and ends with 77. Takes up to
# 6 GB in the folder TMPDIR, or /var/tmp.
set -euo pipefail

# shellcheck source=cmake/setup.sh
source "$(dirname -- "${BASH_SOURCE[0]}")/../cmake/setup.sh"

release=bookworm
namespaces=(--mount --uts --pid --fork)

no_machine() {
  say "no bare machine can be made here: $*"
  exit 77
}

# What apt is told on this machine about reaching its servers, the new machines' apt needs, too.
apt_connection() {
  apt-config dump | grep -E '^Acquire::(https?::|Check-|Retries)' || true
}

# What pip is told on this machine of the certificates of its servers, the new machines' pip needs, too.
pip_connection() { # BASE
  local certificates=${PIP_CERT:-}
  if [[ -z $certificates && -f /etc/pip.conf ]]; then
    certificates=$(sed -n 's/^cert *= *//p' /etc/pip.conf)
  fi
  [[ -f $certificates ]] || return 0
  install -m 644 "$certificates" "$1/etc/pip-certificates.crt"
  printf '[global]\ncert = /etc/pip-certificates.crt\n' >"$1/etc/pip.conf"
}

# isolated COMMAND...: runs it in namespaces, so that its mounts and processes end with it. An interrupt
# is not ignored there as it is by the shell's other background processes.
isolated() {
  local status=0
  env --default-signal unshare "${namespaces[@]}" --kill-child \
    bash -euc 'start "$@"' start "$work/first_process" "$@" &
  wait "$!" || status=$?
  rm -f -- "$work/first_process"
  return "$status"
}

# The namespace's first process, which stays: it takes in the processes whose parents have ended.
start() { # FILE COMMAND...
  local process rest
  # Its number out there, in the processes' file system of the machine around it.
  read -r process rest </proc/self/stat
  echo "$process" >"$1"
  mount -t proc proc /proc
  "${@:2}"
}

# With its first process all of a namespace ends.
clean_up() {
  local process
  if [[ -s $work/first_process ]]; then
    read -r process <"$work/first_process"
    kill -KILL "$process" 2>/dev/null || true
    wait
  fi
  rm -rf --one-file-system -- "$work"
}

make_base() {
  local base=$work/base report=$work/mmdebstrap.txt
  apt_connection >"$work/apt.conf"
  # Nothing here outlives a power failure: dpkg need not wait for the disk.
  isolated mmdebstrap --variant=minbase --include=sudo --aptopt="$work/apt.conf" \
    --dpkgopt=force-unsafe-io "$release" "$base" >"$report" 2>&1 ||
    no_machine "$(grep --max-count=1 '^E: ' "$report" || tail --lines=1 "$report")"
  echo bare >"$base/etc/hostname"
  printf '127.0.0.1 localhost\n127.0.1.1 bare\n' >"$base/etc/hosts"
  pip_connection "$base"
  chroot "$base" useradd --create-home --shell /bin/bash user
  echo 'user ALL=(ALL:ALL) NOPASSWD: ALL' >"$base/etc/sudoers.d/user"
  chmod 440 "$base/etc/sudoers.d/user"
}

make_machine() { # MACHINE USER
  local home=$1/home/user
  cp --archive "$work/base" "$1"
  if [[ $2 == root ]]; then
    home=$1/root
    SUDO_FORCE_REMOVE=yes chroot "$1" dpkg --purge sudo >/dev/null 2>&1
  fi
  cp --archive "$work/clone" "$home/pistonfield"
  chown --recursive --reference="$home" "$home/pistonfield"
}

# Makes the machine's folder the root of all, and has the user run the command in the clone.
boot() { # MACHINE USER COMMAND
  hostname bare
  mount --bind "$1" "$1"
  cd "$1"
  mount -t proc proc proc
  mount --rbind /sys sys
  mount --rbind /dev dev
  mount -t tmpfs -o mode=1777 tmpfs dev/shm
  pivot_root . .
  umount --lazy .
  cd /
  su --login "$2" --command "cd pistonfield && $3" </dev/null
}

run_on_bare_machine() { # USER COMMAND
  local machine=$work/machine start=$SECONDS
  say "as $1 on a bare machine: $2"
  make_machine "$machine" "$1"
  isolated boot "$machine" "$@" || die "as $1 on a bare machine: $2: failed"
  rm -rf --one-file-system -- "$machine"
  say "as $1 on a bare machine: $2: took $((SECONDS - start)) s"
}

(($# > 0)) || set -- root:./demo.sh user:./demo.sh root:./test.sh user:./test.sh
for run in "$@"; do
  [[ $run =~ ^(root|user):. ]] || die "\"$run\" is not root:COMMAND or user:COMMAND"
done

if ((EUID != 0)); then
  sudo true 2>/dev/null || no_machine "not root, and no sudo"
  exec sudo env TMPDIR="${TMPDIR:-/var/tmp}" tests/bare_machine.sh "$@"
fi
{ reason=$(require_packages "${bare_machine_packages[@]}" 2>&1 >&3); } 3>&1 ||
  no_machine "${reason#*: }"
unshare "${namespaces[@]}" mount -t proc proc /proc 2>/dev/null ||
  no_machine "mounts are not permitted"

work=$(mktemp --directory --tmpdir="${TMPDIR:-/var/tmp}" pistonfield-bare.XXXXXX)
chmod 755 "$work"
trap clean_up EXIT
trap 'exit 129' HUP
trap 'exit 130' INT
trap 'exit 143' TERM
export -f start boot

reason=$(git clone --quiet --no-hardlinks . "$work/clone" 2>&1) || no_machine "no clone of it: ${reason%%$'\n'*}"
[[ -z $(git status --porcelain) ]] || say "changes that are not committed are left out"
make_base
for run in "$@"; do
  run_on_bare_machine "${run%%:*}" "${run#*:}"
done
