# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Files that are damaged at random, as disks, copies and cut connections damage them, and runs that
are killed, damaged on top, and resumed until the field is that of an undisturbed run."""

import os
import random
import signal
import time

from attacks import FULL, SEED, Attack, Run, main, run_limited, unrefused
from judges import Judges, judge_all, of_the_field, view
from programs import PROGRAM, options

DAMAGES = 400 if FULL else 30
KILLS = 100 if FULL else 4


def truncated(draw, data):
    return data[: draw.randrange(len(data))]


def cut_at_the_end(draw, data):
    return data[: -draw.randint(1, 16)]


def extended(draw, data):
    return data + draw.randbytes(draw.randint(1, 5000))


def with_zeros(draw, data):
    size = draw.choice((16, 512, 4096))
    at = draw.randrange(len(data))
    return data[:at] + bytes(min(size, len(data) - at)) + data[at + size :]


def with_noise(draw, data):
    at, size = draw.randrange(len(data)), draw.choice((1, 8, 512))
    return (data[:at] + draw.randbytes(size) + data[at + size :])[: len(data)]


def with_blocks_exchanged(draw, data):
    size = draw.choice((64, 512, 1024))
    a, b = sorted(draw.sample(range(len(data) // size), 2))
    blocks = [data[i * size : (i + 1) * size] for i in (a, b)]
    return (
        data[: a * size]
        + blocks[1]
        + data[(a + 1) * size : b * size]
        + blocks[0]
        + data[(b + 1) * size :]
    )


def with_a_block_twice(draw, data):
    size = draw.choice((64, 512, 1024))
    a, b = (draw.randrange(len(data) // size) * size for _ in range(2))
    return data[:b] + data[a : a + size] + data[b + size :]


def with_a_block_inserted(draw, data):
    size = draw.choice((1, 512))
    at = draw.randrange(len(data))
    return data[:at] + data[at : at + size] + data[at:]


def with_a_block_missing(draw, data):
    size = draw.choice((1, 512))
    at = draw.randrange(len(data))
    return data[:at] + data[at + size :]


def with_bits_flipped(draw, data):
    changed = bytearray(data)
    for _ in range(draw.choice((2, 3, 10))):
        changed[draw.randrange(len(data))] ^= 1 << draw.randrange(8)
    return bytes(changed)


WAYS = (
    truncated, cut_at_the_end, extended, with_zeros, with_noise, with_blocks_exchanged,
    with_a_block_twice, with_a_block_inserted, with_a_block_missing, with_bits_flipped,
)  # fmt: skip


def damaged(data, seed):
    draw = random.Random(seed)
    return draw.choice(WAYS)(draw, data)


class DamagesTest(Attack):
    def attack(self, name):
        self.at("field").mkdir(exist_ok=True)
        path = self.at(name)
        known = Judges(path.parent, path.name, path)
        told = 0
        seeds = [SEED * 10**6 + i for i in range(DAMAGES)]
        for seed, findings, by_verify in judge_all(known, self.folder, damaged, seeds):
            self.tried += 1
            told += by_verify
            for finding in findings:
                way = random.Random(seed).choice(WAYS).__name__
                self.found(finding, f"{way}, draw {seed}")
        print(f"{DAMAGES} damages, {told} told", flush=True)

    def test_of_a_field(self):
        self.at("field").mkdir()
        self.run_program(*options(sizes=(9, 7, 6)), "--slab", 70, "field/field.h5")
        self.attack("field/field.h5")

    def test_of_a_compressed_field(self):
        self.at("field").mkdir()
        words = ["--slab", 70, "--compress", 1]
        self.run_program(*options(sizes=(9, 7, 6)), *words, "field/field.h5")
        self.attack("field/field.h5")

    def test_of_a_joined_field(self):
        self.at("field").mkdir()
        for part in (1, 2, 3):
            self.run_program(*options(sizes=(9, 7, 6)), "--part", f"{part}/3", "field/field.h5")
        parts = [f"field/field.part-{part}-of-3.h5" for part in (1, 2, 3)]
        self.run_program("join", "field/field.h5", *parts)
        self.attack("field/field.h5")


class KillsTest(Attack):
    """kills.py kills whole runs and compares all they leave; here they are ended in other ways too,
    and what they leave is damaged before they go on."""

    request = options(sizes=(30, 20, 20), order=600) + ["--slab", 300]
    signals = (signal.SIGKILL, signal.SIGTERM, signal.SIGINT, signal.SIGHUP, signal.SIGQUIT,
               signal.SIGSEGV, signal.SIGBUS, signal.SIGXCPU, signal.SIGPIPE)  # fmt: skip

    def stop(self, name):
        """A run that goes on, and is ended by some signal or by a reader that is gone."""
        process = self.start(
            *self.request, name, "--resume", *self.random.choice(([], ["--compress", 1]))
        )
        time.sleep(self.random.uniform(0, 0.5))
        if self.random.random() < 0.2:
            process.stdout.close()
            process.stderr.close()
            time.sleep(self.random.uniform(0, 0.3))
        process.send_signal(self.random.choice(self.signals))
        process.wait(timeout=60)
        for stream in (process.stdout, process.stderr):
            stream.close()

    def test_and_damages_end_in_the_undisturbed_field_or_in_a_refusal(self):
        self.run_program(*self.request, "whole.h5")
        whole = of_the_field(view(self.at("whole.h5")))
        mended = 0
        for number in range(KILLS):
            name = f"{number}.h5"
            for _ in range(self.random.choice((1, 2, 3))):
                self.stop(name)
            path = self.at(name)
            if path.exists() and self.random.random() < 0.3:
                path.write_bytes(with_bits_flipped(self.random, path.read_bytes()))
                damaged = True
            else:
                damaged = False
            run = self.run_limited(name, "--resume", *self.request, patience=60)
            if run.status == 0 and of_the_field(view(path)) == whole:
                self.tried += 1
                mended += 1
            elif run.status == 0 or not damaged:
                self.tried += 1
                self.found("a resumed run makes another field", f"{name}: {run.err[-300:]!r}")
            else:
                self.expect_refusal("a damaged run that is resumed", run, name)
            for left in set(self.files()) - {"whole.h5", "whole.h5.xdmf"}:
                if left not in (name, f"{name}.xdmf"):
                    self.found("a killed run leaves a file that the next one does not remove", left)
                self.at(left).unlink()
        print(f"{KILLS} fields in spite of signals, {mended} completed", flush=True)
        self.assertGreater(mended, 0)


class SmallDiskTest(Attack):
    """A file system that is full at any point of a run, and then becomes larger."""

    script = """
        mount -t tmpfs -o size={size}k none disk
        "$@" disk/field.h5 >out 2>err
        echo $?
        find disk -type f '(' -empty -o -name '.*' ')'
        mount -o remount,size=8m none disk
        "$@" disk/field.h5 --resume >out2 2>err2 || {{ cat err2 >&2; exit 3; }}
        cp disk/field.h5 .
        ls -A disk >left
    """

    def test_is_told_and_then_the_field_is_completed(self):
        request = options(sizes=(9, 7, 6)) + ["--slab", 70]
        self.run_program(*request, "whole.h5")
        whole = of_the_field(view(self.at("whole.h5")))
        self.at("disk").mkdir()
        unshare = ["unshare", "--mount"] + ([] if os.geteuid() == 0 else ["--map-root-user"])
        probe = [*unshare, "mount", "-t", "tmpfs", "none", "disk"]
        if run_limited(probe, cwd=self.folder).status != 0:
            self.skipTest("no file system can be mounted here")
        size = self.at("whole.h5").stat().st_size // 1024
        for size in range(4, size + 28, 4) if FULL else range(size // 4 * 4, size + 20, 8):
            for words in ([], ["--compress", "1"]):
                script = self.script.format(size=size)
                line = [PROGRAM, *map(str, request), *words]
                run = run_limited([*unshare, "sh", "-c", script, "sh", *line], cwd=self.folder)
                self.check(run, size, whole)

    def check(self, run, size, whole):
        self.tried += 1
        status, _, left = run.out.partition("\n")
        first = Run(int(status or -1), "", self.at("err").read_text(), 0)
        example = f"{size} kB"
        if first.status != 0 and (wrong := unrefused(first)):
            self.found(f"a run on a full disk {wrong}", f"{example}: {first.err[-300:]!r}")
        if left.strip():
            self.found("a run on a full disk leaves a file", f"{example}: {left!r}")
        if run.status != 0:
            self.found("a run is not resumed when there is room", f"{example}: {run.err[-300:]!r}")
            return
        if of_the_field(view(self.at("field.h5"))) != whole:
            self.found("a run on a full disk makes another field", example)
        left = set(self.at("left").read_text().split())
        if left != {"field.h5", "field.h5.xdmf"}:
            self.found("a run resumed on a larger disk leaves a file", f"{example}: {left}")


if __name__ == "__main__":
    main()
