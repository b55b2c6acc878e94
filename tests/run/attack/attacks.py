# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What the attacks share: they count what they try, go on after a finding, and tell all findings at
the end.

    PART.py quick|full [SEED]

The quick share takes seconds and draws with a fixed seed; the full one takes all there is. The
seed is printed."""

import collections
import hashlib
import os
import random
import resource
import signal
import subprocess
import sys
import tempfile
import time
import unittest

from programs import ProgramTest, command

FULL = len(sys.argv) > 1 and sys.argv[1] == "full"
SEED = int(sys.argv[2]) if len(sys.argv) > 2 else 1

# Thousands of files a minute are too many for a disk, which is waited for after each.
if os.access("/dev/shm", os.W_OK):
    tempfile.tempdir = "/dev/shm"

# Longer than anything here takes on a busy machine.
PATIENCE = 20
# Words that tell users of the program's insides and nothing of their files.
INSIDES = ("std::", "bad_alloc", "eof =", "basic_string", "regex", "H5", "terminate called")

Run = collections.namedtuple("Run", "status out err seconds")


def limited():
    """Limits a child, who may take a damaged size at its word: in memory, and to leave no core."""
    resource.setrlimit(resource.RLIMIT_AS, (8 << 30, 8 << 30))
    resource.setrlimit(resource.RLIMIT_CORE, (0, 0))


def run_limited(words, patience=PATIENCE, **others):
    """Runs a command line to its end, or to the end of patience: then its status is None."""
    others = {
        "stdin": subprocess.DEVNULL,
        "stdout": subprocess.PIPE,
        "stderr": subprocess.PIPE,
        **others,
    }
    begin = time.monotonic()
    process = subprocess.Popen(words, start_new_session=True, preexec_fn=limited, **others)
    try:
        out, err = process.communicate(timeout=patience)
        status = process.returncode
    except subprocess.TimeoutExpired:
        os.killpg(process.pid, signal.SIGKILL)
        out, err = process.communicate()
        status = None
    out, err = ((text or b"").decode(errors="backslashreplace") for text in (out, err))
    return Run(status, out, err, time.monotonic() - begin)


def died(run):
    """How a run ended that ended in no orderly way, or None."""
    if run.status is None:
        return "hangs"
    if run.status < 0 or run.status > 128:
        return f"ends by signal {-run.status if run.status < 0 else run.status - 128}"
    return None


def complaints(run):
    """The lines of a run's standard error that are neither progress nor of MPI, nor of the C library,
    which names a fault of a reading library that it stops before the program does."""
    lines = [line for line in run.err.splitlines() if not line.startswith("*** ")]
    return [line for line in lines if not ProgramTest.is_beside_the_point(line)]


def unrefused(run):
    """What is wrong with a run that was to be refused, in one line with status 1, or None."""
    if died(run):
        return died(run)
    if run.status != 1:
        return f"ends with status {run.status}"
    lines = complaints(run)
    if len(lines) != 1 or not lines[0].startswith("pistonfield-run: "):
        return f"says {len(lines)} lines" if lines else "says nothing"
    if len(lines[0]) > 10000:
        return "says a line of more than 10000 characters"
    return next((f"says '{word}'" for word in INSIDES if word in lines[0]), None)


def tree(folder):
    """All in a folder, as {name: what can be told of it without opening what is no file}."""
    found = {}
    for path in sorted(folder.rglob("*")):
        about = path.lstat()
        content = None
        if path.is_symlink():
            content = os.readlink(path)
        elif path.is_file():
            content = hashlib.blake2b(path.read_bytes()).hexdigest()
        found[str(path.relative_to(folder))] = (about.st_ino, about.st_mode, about.st_uid, content)
    return found


class Attack(ProgramTest):
    """A test that goes on after a finding."""

    def setUp(self):
        super().setUp()
        self.random = random.Random(SEED)
        self.tried = 0
        self.findings = collections.defaultdict(list)
        self.begin = time.monotonic()

    def tearDown(self):
        count = sum(map(len, self.findings.values()))
        name = self.id().partition(".")[2]
        took = time.monotonic() - self.begin
        print(f"{name}: {self.tried} tried, {count} findings, {took:.0f} s", flush=True)
        for place, examples in sorted(self.findings.items()):
            print(f"  {len(examples):6} {place}; so {examples[0]}", flush=True)
        self.assertEqual(count, 0, "findings, listed above")

    def found(self, place, example):
        self.findings[place].append(example)

    def run_limited(self, *arguments, ranks=1, **others):
        """Runs the program in this test's folder."""
        others.setdefault("cwd", self.folder)
        return run_limited(command(*arguments, ranks=ranks), **others)

    def expect_refusal(self, place, run, example):
        """The one line of a run that has to be refused."""
        self.tried += 1
        if wrong := unrefused(run):
            self.found(f"{place} {wrong}", f"{example}: {(run.err or run.out)[-300:]!r}")
            return ""
        return complaints(run)[0]

    def expect_success(self, place, run, example):
        self.tried += 1
        if run.status != 0:
            wrong = died(run) or f"ends with status {run.status}"
            self.found(f"{place} {wrong}", f"{example}: {(run.err or run.out)[-300:]!r}")
        return run.status == 0


def main():
    print(f"{os.path.basename(sys.argv[0])} {'full' if FULL else 'quick'} {SEED}", flush=True)
    unittest.main(argv=sys.argv[:1], verbosity=2)
