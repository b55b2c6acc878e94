# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Every byte that is no value of the field is flipped once: in a plain, a compressed, a joined, an
unfinished file, one with a table and one of an array. verify and h5py judge every flip, all commands a sample of them. The
quick share flips some of the bytes."""

import os
import signal
import subprocess

import h5py
import numpy
from attacks import FULL, Attack, main
from judges import Judges, judge_all, judge_all_by_readers, metadata_bytes, raw_ranges
from programs import options

REQUEST = {"sizes": (7, 5, 6)}
SLAB = 40
# How many bytes verify and h5py judge, and how many of them the whole program.
READ = 400
SAMPLE = 1000 if FULL else 40


def flipped(data, offset):
    """With one bit of a byte flipped, or in every third byte all."""
    damaged = bytearray(data)
    damaged[offset] ^= 0xFF if offset % 3 == 0 else 1 << offset % 8
    return bytes(damaged)


def slabs_of(file, points):
    """The numbers of the slabs that points are in, whose indices are iz, iy and ix."""
    slab = file.attrs["slab_sizes"][::-1]
    counts = -(-file.attrs["sizes"][::-1] // slab)
    return numpy.ravel_multi_index(tuple((points // slab).T), tuple(counts))


class MetadataTest(Attack):
    """One test for each kind of field."""

    def setUp(self):
        super().setUp()
        self.at("field").mkdir()
        self.field = "field/field.h5"

    def attack(self, whole=None):
        """Flips the bytes, and has them judged."""
        path = self.at(self.field)
        known = Judges(path.parent, path.name, self.at(whole) if whole else path)
        offsets = metadata_bytes(path)
        values = [offset for begin, end in raw_ranges(path) for offset in range(begin, end)]
        # The values have checksums: a few suffice. Those that are missing are zeros.
        values = [offset for offset in values if known.bytes[offset] != 0]
        values = self.random.sample(values, min(len(values), 200 if FULL else 5))
        offsets = offsets if FULL else self.random.sample(offsets, READ)
        told = self.add_up(known, judge_all_by_readers(known, self.folder, flipped, offsets))
        print(f"{len(offsets)} bytes of metadata by readers: {told} told", flush=True)
        offsets = self.random.sample(offsets, SAMPLE)
        told = self.add_up(known, judge_all(known, self.folder, flipped, offsets + values))
        print(f"{len(offsets)} bytes of metadata, {len(values)} of values: {told} told", flush=True)

    def add_up(self, known, judged):
        """Counts what was tried and found.
        Returns how many flips verify told."""
        told = 0
        for offset, findings, by_verify in judged:
            self.tried += 1
            told += by_verify
            for finding in findings:
                self.found(finding, f"byte {offset} of {len(known.bytes)}")
        return told

    def test_plain(self):
        self.run_program(*options(**REQUEST), "--slab", SLAB, self.field)
        self.attack()

    def test_compressed(self):
        self.run_program(*options(**REQUEST), "--slab", SLAB, self.field, "--compress", 1)
        self.attack()

    def test_joined(self):
        for part in (1, 2, 3):
            self.run_program(*options(**REQUEST), "--slab", SLAB, "--part", f"{part}/3", self.field)
        parts = [f"field/field.part-{part}-of-3.h5" for part in (1, 2, 3)]
        self.run_program("join", self.field, *parts)
        self.attack()

    def test_with_a_table(self):
        rule = subprocess.run(
            [os.environ["PISTONFIELD_PRINT_RULE"], "12"], check=True, capture_output=True
        )
        self.at("rule.txt").write_bytes(rule.stdout)
        self.run_program(*options(table="rule.txt", **REQUEST), "--slab", SLAB, self.field)
        self.attack()

    def test_of_an_array(self):
        request = ["[array]", 'kind = "line"', "elements = 3", "pitch = 1e-3"]
        request += ["width = 0.8e-3", "height = 5e-3", "focus = [1e-3, 0, 20e-3]"]
        self.at("request.toml").write_text("\n".join(request))
        lattice = options(tolerance=1e-6, **REQUEST)
        for name in ("-l", "-s"):
            at = lattice.index(name)
            del lattice[at : at + 2]
        self.run_program("--request", "request.toml", *lattice, "--slab", SLAB, self.field)
        self.attack()

    def test_unfinished(self):
        request = [*options(**REQUEST), "--slab", SLAB]
        self.run_program(*request, "whole.h5")
        shim = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES_THEN": "SIGKILL"}
        for writes in range(5, 200):
            environment = {**os.environ, **shim, "WRITES": str(writes)}
            status = -signal.SIGKILL
            self.run_program(*request, self.field, "--resume", status=status, env=environment)
            if self.at(self.field).exists():
                with h5py.File(self.at(self.field)) as file:
                    finished = file["slabs"]["finished"]
                    written = slabs_of(file, numpy.argwhere(file["pressure"]))
                # Nobody vouches for values of a slab that is not finished.
                if 1 < sum(finished) and all(finished[written]):
                    break
        self.assertIn(0, finished)
        for file in self.at("field").iterdir():
            if file.name != "field.h5":
                file.unlink()
        self.attack("whole.h5")


if __name__ == "__main__":
    main()
