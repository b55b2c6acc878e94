# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Every byte that is no value of the field is flipped once: in a plain, a compressed, a joined, an
unfinished file and one with a table. The quick share flips some of them."""

import multiprocessing
import os
import signal
import subprocess

import h5py
from attacks import FULL, Attack, main
from judges import Judges, copy_companions, metadata_bytes, raw_ranges
from programs import options

REQUEST = {"sizes": (7, 5, 6)}
SLABS = ["--slab", 40]
SAMPLE = 40

judges = None
folder = None


def begin(the_judges, root):
    """Each process of the pool has a folder of its own."""
    global judges, folder
    judges = the_judges
    folder = root / f"judged.{os.getpid()}"
    copy_companions(judges.folder, judges.name, folder)


def flip(offset):
    """What the judges find where one bit of a byte is flipped, or in every third byte all."""
    damaged = bytearray(judges.bytes)
    damaged[offset] ^= 0xFF if offset % 3 == 0 else 1 << offset % 8
    return offset, *judges.judge(bytes(damaged), folder)


class MetadataTest(Attack):
    """One test for each kind of field."""

    def setUp(self):
        super().setUp()
        self.at("field").mkdir()
        self.field = "field/field.h5"

    def attack(self, whole=None):
        """Flips the bytes and adds up what the judges say of each."""
        path = self.at(self.field)
        known = Judges(path.parent, path.name, self.at(whole) if whole else path)
        offsets = metadata_bytes(path)
        values = [offset for begin, end in raw_ranges(path) for offset in range(begin, end)]
        # The values have checksums: a few suffice. Those that are missing are zeros.
        values = [offset for offset in values if known.bytes[offset] != 0]
        values = self.random.sample(values, min(len(values), 200 if FULL else 5))
        if not FULL:
            offsets = self.random.sample(offsets, SAMPLE)
        told = 0
        with multiprocessing.Pool(2, begin, (known, self.folder)) as pool:
            for offset, findings, by_verify in pool.imap_unordered(flip, offsets + values, 8):
                self.tried += 1
                told += by_verify
                for finding in findings:
                    self.found(finding, f"byte {offset} of {len(known.bytes)}")
        print(f"{len(offsets)} bytes of metadata, {len(values)} of values: {told} told", flush=True)

    def test_plain(self):
        self.run_program(*options(**REQUEST), *SLABS, self.field)
        self.attack()

    def test_compressed(self):
        self.run_program(*options(**REQUEST), *SLABS, self.field, "--compress", 1)
        self.attack()

    def test_joined(self):
        for part in (1, 2, 3):
            self.run_program(*options(**REQUEST), *SLABS, "--part", f"{part}/3", self.field)
        parts = [f"field/field.part-{part}-of-3.h5" for part in (1, 2, 3)]
        self.run_program("join", self.field, *parts)
        self.attack()

    def test_with_a_table(self):
        rule = subprocess.run(
            [os.environ["PISTONFIELD_PRINT_RULE"], "12"], check=True, capture_output=True
        )
        self.at("rule.txt").write_bytes(rule.stdout)
        self.run_program(*options(table="rule.txt", **REQUEST), *SLABS, self.field)
        self.attack()

    def test_unfinished(self):
        request = [*options(**REQUEST), *SLABS]
        self.run_program(*request, "whole.h5")
        shim = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES_THEN": "SIGKILL"}
        for writes in range(5, 200):
            environment = {**os.environ, **shim, "WRITES": str(writes)}
            status = -signal.SIGKILL
            self.run_program(*request, self.field, "--resume", status=status, env=environment)
            if self.at(self.field).exists():
                with h5py.File(self.at(self.field)) as file:
                    finished = list(file["slabs"]["finished"])
                if 1 < sum(finished):
                    break
        self.assertIn(0, finished)
        for file in self.at("field").iterdir():
            if file.name != "field.h5":
                file.unlink()
        self.attack("whole.h5")


if __name__ == "__main__":
    main()
