# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A run that is told to stop stops soon, says how to go on, and can be gone on with; two runs do
not work on one output."""

import os
import signal
import subprocess
import time
import unittest

import h5py
from programs import PROGRAM, ProgramTest, arrays, options, slab_boxes


def processor_seconds(process):
    """The processor time that a process has taken, in all its threads."""
    with open(f"/proc/{process}/stat", encoding="ascii") as status:
        fields = status.read().rpartition(")")[2].split()
    return (int(fields[11]) + int(fields[12])) / os.sysconf("SC_CLK_TCK")


class InterruptionsTest(ProgramTest):
    # Some seconds of work, in hundreds of slabs.
    request = options(sizes=(60, 50, 40), order=6000) + ["--slab", 300]

    def line_of(self, process, beginning):
        """The first line of the output that begins so, or nothing."""
        return next((line for line in process.stdout if line.startswith(beginning)), "")

    def finished(self, name="field.h5"):
        if not self.at(name).exists():
            return 0
        with h5py.File(self.at(name)) as file:
            return int(sum(file["slabs"]["finished"]))

    def start_computing(self, ranks=1):
        """A run that has finished a few slabs."""
        process = self.start(*self.request, "field.h5", ranks=ranks)
        deadline = time.monotonic() + 60
        while self.finished() < 5:
            self.assertIsNone(process.poll())
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        return process

    def ranks_of(self, launcher):
        children = f"/proc/{launcher.pid}/task/{launcher.pid}/children"
        with open(children, encoding="ascii") as file:
            found = [int(number) for number in file.read().split()]
        return [number for number in found if os.readlink(f"/proc/{number}/exe") == PROGRAM]

    def assert_stopped(self, process, orderly=True):
        """That the run has ended before its work had, and that another one can go on."""
        out, err = process.communicate(timeout=60)
        with h5py.File(self.at("field.h5")) as file:
            count, complete = len(file["slabs"]), file.attrs["complete"]
        finished = self.finished()
        self.assertTrue(5 <= finished < count, finished)
        self.assertEqual(complete, 0)
        if orderly:
            self.assertIn(f"field.h5 has {finished} of {count} slabs; --resume computes", out)
            self.assertEqual(self.files(), ["field.h5"], err)
        message = self.refused("extract", "field.h5", "values")
        self.assertIn("field.h5 is not complete", message)
        verified = self.run_program("verify", "field.h5", status=1).out
        self.assertIn(f"{count - finished} missing, 0 changed", verified)
        # Another run goes on: it has more slabs before long, and all that it had.
        again = self.start("field.h5", "--resume")
        deadline = time.monotonic() + 60
        while self.finished() <= finished:
            self.assertIsNone(again.poll())
            self.assertLess(time.monotonic(), deadline)
            time.sleep(0.01)
        again.send_signal(signal.SIGTERM)
        again.communicate(timeout=60)
        self.assertEqual(again.returncode, 128 + signal.SIGTERM)
        self.at("field.h5").unlink()

    def damage(self, name, count):
        """Changes a bit of each of the last slabs."""
        with h5py.File(self.at(name), "r+") as file:
            for box in slab_boxes(file)[-count:]:
                values = file["pressure"][box]
                values.view("u1").reshape(-1)[0] ^= 1
                file["pressure"][box] = values

    def test_while_changed_slabs_are_computed_again_leave_them_missing(self):
        request = options(sizes=(60, 50, 4), order=6000) + ["--slab", 300]
        self.run_program(*request, "field.h5")
        expected = arrays(self.at("field.h5"))
        self.damage("field.h5", 36)
        process = self.start("field.h5", "--resume")
        self.assertIn("computing again", self.line_of(process, "computing again"))
        process.send_signal(signal.SIGTERM)
        out, _ = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 128 + signal.SIGTERM, out)
        with h5py.File(self.at("field.h5")) as file:
            self.assertEqual(file.attrs["complete"], 0)
        self.assertIn(" 0 changed", self.run_program("verify", "field.h5", status=1).out)
        self.run_program("field.h5", "--resume")
        self.assert_same_field(self.at("field.h5"), expected)

    def test_end_a_verification_at_once(self):
        self.run_program(*options(sizes=(300, 300, 100), order=1), "field.h5")
        process = subprocess.Popen(
            [PROGRAM, "verify"] + ["field.h5"] * 1000, cwd=self.folder, stdout=subprocess.PIPE
        )
        process.stdout.readline()
        process.send_signal(signal.SIGTERM)
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, -signal.SIGTERM)

    def test_of_one_process_end_with_the_signals_status(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=number):
                process = self.start_computing()
                process.send_signal(number)
                self.assert_stopped(process)
                self.assertEqual(process.returncode, 128 + number)

    def test_of_one_rank_stop_all_in_an_orderly_way(self):
        for rank, number in [(0, signal.SIGINT), (2, signal.SIGTERM)]:
            with self.subTest(rank=rank, signal=number):
                process = self.start_computing(ranks=4)
                os.kill(self.ranks_of(process)[rank], number)
                self.assert_stopped(process)
                self.assertEqual(process.returncode, 128 + number)

    def test_of_mpirun_leave_a_file_to_go_on_with(self):
        for number in (signal.SIGINT, signal.SIGTERM):
            with self.subTest(signal=number):
                process = self.start_computing(ranks=4)
                ranks = self.ranks_of(process)
                process.send_signal(number)
                # mpirun gives its processes a moment, and then kills them.
                self.assert_stopped(process, orderly=False)
                self.assertNotEqual(process.returncode, 0)
                self.assertFalse(any(os.path.exists(f"/proc/{rank}/exe") for rank in ranks))

    def test_a_second_signal_ends_the_process_at_once(self):
        # All in one slab, at the end of which the first signal would be heeded.
        words = options(sizes=(60, 50, 40), order=16000) + ["--slab", 120000]
        process = self.start(*words, "field.h5")
        # Before the slab a signal would be heeded, too; the rule is made before it.
        while processor_seconds(process.pid) < 2:
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        process.send_signal(signal.SIGTERM)
        time.sleep(0.3)
        self.assertIsNone(process.poll())
        process.send_signal(signal.SIGTERM)
        process.communicate(timeout=60)
        self.assertEqual(process.returncode, -signal.SIGTERM)

    def test_while_the_field_is_compressed_leave_the_raw_one(self):
        self.run_program(*options(sizes=(100, 100, 100)), "--slab", 100, "field.h5")
        whole = arrays(self.at("field.h5"))
        process = self.start("field.h5", "--resume", "--compress", 9)
        while not list(self.folder.glob(".pistonfield-run-*")):
            self.assertIsNone(process.poll())
            time.sleep(0.01)
        process.send_signal(signal.SIGINT)
        out, _ = process.communicate(timeout=60)
        self.assertEqual(process.returncode, 128 + signal.SIGINT, out)
        self.assertIn("not compressed; --resume --compress does that", out)
        self.assertEqual(self.files(), ["field.h5", "field.h5.xdmf"])
        self.assert_same_field(self.at("field.h5"), whole)

    def test_a_second_run_on_the_same_output_is_refused(self):
        first = self.start_computing()
        for ranks in (1, 4):
            message = self.refused("field.h5", "--resume", ranks=ranks)
            self.assertIn("field.h5: another run is working on it", message)
        self.assertIsNone(first.poll())
        first.send_signal(signal.SIGINT)
        self.assert_stopped(first)


if __name__ == "__main__":
    unittest.main(verbosity=2)
