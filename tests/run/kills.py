# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""However processes are killed, the file stays readable, its finished slabs are whole, and --resume
makes of it the field that an undisturbed run makes.

    kills.py FIELDS [SEED]

FIELDS are computed in spite of kills at random times. The seed is printed."""

import os
import random
import signal
import subprocess
import sys
import time
import unittest

import h5py
from programs import PROGRAM, ProgramTest, arrays, datasets, options, slab_boxes

fields = int(sys.argv[1])
seed = int(sys.argv[2]) if len(sys.argv) > 2 else random.SystemRandom().randrange(10**6)
print(f"kills.py {fields} {seed}", flush=True)


def processes_of(launcher):
    """The processes of the program that an mpirun has started."""
    children = f"/proc/{launcher}/task/{launcher}/children"
    try:
        with open(children, encoding="ascii") as file:
            found = [int(number) for number in file.read().split()]
        return [number for number in found if os.readlink(f"/proc/{number}/exe") == PROGRAM]
    except OSError:
        return []


def runs(process):
    """Whether there is such a process, and it is no zombie."""
    try:
        with open(f"/proc/{process}/stat", encoding="ascii") as file:
            return file.read().rpartition(")")[2].split()[0] != "Z"
    except OSError:
        return False


class KillsTest(ProgramTest):
    # About a second of work in one process, in hundreds of slabs.
    request = options(sizes=(60, 50, 40), order=1000) + ["--slab", 300]

    def setUp(self):
        super().setUp()
        self.random = random.Random(seed)
        self.run_program(*self.request, "undisturbed.h5")
        self.undisturbed = arrays(self.at("undisturbed.h5"))

    def assert_finished_slabs_whole(self, name):
        """How many slabs a file has finished, all of which are those of the undisturbed run."""
        if not self.at(name).exists():
            return 0
        with h5py.File(self.at(name)) as file:
            found = {name: dataset[...] for name, dataset in datasets(file).items()}
            boxes = slab_boxes(file)
        for number, box in enumerate(boxes):
            if found["slabs"][number]["finished"]:
                for name, values in self.undisturbed.items():
                    at = slice(number, number + 1) if name == "slabs" else box
                    self.assert_same_bits(found[name][at], values[at], f"slab {number}: {name}")
        return sum(found["slabs"]["finished"])

    def wait(self, process, name):
        """Waits for a random time of a run: while it begins, or when it has finished slabs."""
        time.sleep(self.random.uniform(0, 0.2))
        begun = self.finished(name)
        enough = self.random.choice((0, self.random.randint(begun, len(self.undisturbed["slabs"]))))
        while process.poll() is None and self.finished(name) < enough:
            time.sleep(0.002)

    def finished(self, name):
        """The slabs that are finished, also while others are being written."""
        if not self.at(name).exists():
            return 0
        with h5py.File(self.at(name)) as file:
            return int(sum(file["slabs"]["finished"]))

    def kill(self, process, victim):
        """Kills the process alone, one that it has started, or it above all of these."""
        started = processes_of(process.pid)
        if victim == "rank" and started:
            os.kill(self.random.choice(started), signal.SIGKILL)
        else:
            process.kill()
        try:
            process.communicate(timeout=20)
        except subprocess.TimeoutExpired:
            # Of a process that is killed while others are started mpirun may hear nothing; it stays
            # when all have ended.
            left = processes_of(process.pid)
            self.assertFalse(any(map(runs, left)), "processes wait for the one that was killed")
            process.kill()
            process.communicate()
        # Those that lost their mpirun end by themselves.
        deadline = time.monotonic() + 60
        while any(map(runs, started)):
            self.assertLess(time.monotonic(), deadline, "processes outlive their mpirun")
            time.sleep(0.01)

    def complete(self, name, *words):
        """Lets the field become complete, and compares it with the undisturbed run's."""
        self.run_program(name, "--resume", *words, ranks=self.random.choice((1, 2, 3)))
        self.assert_same_field(self.at(name), self.undisturbed)
        self.assertEqual([f for f in self.files() if f.startswith(name)], [name, f"{name}.xdmf"])

    def test_at_random_times(self):
        interrupted = 0
        for field in range(fields):
            name = f"{field}.h5"
            for attempt in range(self.random.choice((1, 1, 2, 3))):
                victim = self.random.choice(("process", "rank", "mpirun"))
                ranks = 1 if victim == "process" else 4
                compress = self.random.choice(([], ["--compress", "1"]))
                words = [*self.request, name, "--resume", *compress]
                process = self.start(*words, ranks=ranks)
                self.wait(process, name)
                self.kill(process, victim)
                finished = self.assert_finished_slabs_whole(name)
                interrupted += 0 < finished < len(self.undisturbed["slabs"])
                print(f"{name} {attempt}: {victim} killed at {finished} slabs", flush=True)
            self.complete(name, *self.request)
            self.at(name).unlink()
            self.at(f"{name}.xdmf").unlink()
        self.assertGreater(interrupted, 0, "no kill hit a run at work")

    def kill_at_writes(self, name, request, counts, *words):
        """Kills a run in the place of a write, for some counts of writes before it, and completes
        the field each time; until a run ends before it has written so often."""
        shim = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES_THEN": "SIGKILL"}
        for kills, writes in enumerate(counts):
            environment = {**os.environ, **shim, "WRITES": str(writes)}
            process = self.start(*request, name, *words, env=environment)
            process.communicate(timeout=60)
            if process.returncode != 0:
                self.assertEqual(process.returncode, -signal.SIGKILL)
                self.assert_finished_slabs_whole(name)
                self.complete(name, *request)
            self.at(name).unlink()
            self.at(f"{name}.xdmf").unlink()
            if process.returncode == 0:
                return kills
        self.fail("the run does not end")

    def test_in_the_place_of_any_write(self):
        # Small, so that a run is short: what counts is the order of its writes.
        request = options() + ["--slab", 2000]
        self.run_program(*request, "small.h5")
        self.undisturbed = arrays(self.at("small.h5"))
        step = 1 if fields >= 50 else 7
        for words in ([], ["--compress", "1"]):
            kills = self.kill_at_writes("field.h5", request, range(0, 10000, step), *words)
            print(f"{kills} kills in the place of writes {words}", flush=True)
            self.assertGreater(kills, 3)

    def test_leave_nothing_of_mpi_that_the_next_run_does_not_remove(self):
        # As on several machines, where nothing can be shared in memory.
        process = self.start(
            *self.request, "field.h5", ranks=3,
            env={**os.environ, "OMPI_MCA_sharedfp": "lockedfile"},
        )  # fmt: skip
        while process.poll() is None and self.finished("field.h5") < 3:
            time.sleep(0.002)
        self.kill(process, "rank")
        lock = [name for name in self.files() if name.endswith(".lock")]
        self.assertEqual(len(lock), 1)
        mine = ["field.h5-7.lock", "field.h5-7-8.lock", "other.h5-7-8.lock", "field.h5-a-8.lock"]
        for name in mine:
            self.at(name).write_text("precious")
        self.at("field.h5-a-9.lock").write_bytes(bytes(8))
        self.run_program("field.h5", "--resume")
        left = [name for name in self.files() if name.endswith(".lock")]
        self.assertEqual(left, sorted([*mine, "field.h5-a-9.lock"]))

    def test_while_finished_slabs_are_verified(self):
        name = "verified.h5"
        self.run_program(*self.request, name)
        for ranks in (1, 4):
            for _ in range(max(2, fields // 4)):
                process = self.start(name, "--resume", ranks=ranks)
                time.sleep(self.random.uniform(0, 0.2))
                self.kill(process, "rank" if ranks > 1 else "process")
                count = self.assert_finished_slabs_whole(name)
                self.assertEqual(count, len(self.undisturbed["slabs"]))
        self.complete(name)


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
