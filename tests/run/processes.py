# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A field is the same whatever the processes and the slabs that it is computed in."""

import os
import subprocess
import time
import unittest

import h5py
from programs import MODES, MPIRUN, PROGRAM, ProgramTest, arrays, command, options


class ProcessesTest(ProgramTest):
    def test_any_number_of_processes_writes_the_same_file(self):
        for mode in MODES:
            request = options(mode=mode) + ["--slab", 611]
            self.run_program(*request, f"{mode}.h5")
            alone = arrays(self.at(f"{mode}.h5"))
            self.assertGreater(len(alone["slabs"]), 4)
            for ranks in (2, 3, 4) if mode == "cpu" else (3, 4):
                with self.subTest(mode=mode, ranks=ranks):
                    self.run_program(*request, f"{mode}{ranks}.h5", ranks=ranks)
                    self.assert_same_field(self.at(f"{mode}{ranks}.h5"), alone)

    def test_more_processes_than_slabs_write_the_same_file(self):
        request = options() + ["--slab", 4000]
        self.run_program(*request, "alone.h5")
        self.run_program(*request, "many.h5", ranks=4)
        alone = arrays(self.at("alone.h5"))
        self.assertLess(len(alone["slabs"]), 4)
        self.assert_same_field(self.at("many.h5"), alone)

    def test_slabs_of_any_size_have_the_same_values(self):
        for mode in MODES:
            whole = None
            for points in (10**6, 1, 391, 1001) if mode == "cpu" else (10**6, 7, 391):
                # A few points a slab are thousands of slabs.
                sizes = (5, 7, 9) if points < 100 else (23, 17, 19)
                name = f"{mode}{points}.h5"
                with self.subTest(mode=mode, points=points):
                    self.run_program(*options(mode=mode, sizes=sizes), "--slab", points, name)
                    values = arrays(self.at(name))
                    del values["slabs"]
                    whole = whole or values
                    for dataset, cut in values.items():
                        nz, ny, nx = cut.shape
                        self.assert_same_bits(cut, whole[dataset][:nz, :ny, :nx], dataset)

    def test_any_number_of_threads_writes_the_same_file(self):
        for mode in MODES:
            request = options(mode=mode, order=100)
            self.run_program(*request, "--threads", 1, f"{mode}.h5")
            one = arrays(self.at(f"{mode}.h5"))
            for threads, ranks in ((2, 1), (5, 1), (3, 2)):
                with self.subTest(mode=mode, threads=threads, ranks=ranks):
                    name = f"{mode}{threads}.h5"
                    self.run_program(*request, "--threads", threads, name, ranks=ranks)
                    self.assert_same_field(self.at(name), one)

    def test_that_have_nothing_to_do_leave_the_file_as_it_is(self):
        for words in ([], ["--compress", 1]):
            self.run_program(*options(), *words, "field.h5", "--overwrite")
            os.utime(self.at("field.h5"), ns=(10**18, 10**18 + 123_456_789))
            before = self.at("field.h5").stat()
            content = self.at("field.h5").read_bytes()
            for ranks in (1, 2, 3):
                with self.subTest(words=words, ranks=ranks):
                    self.run_program("field.h5", "--resume", *words, ranks=ranks)
                    after = self.at("field.h5").stat()
                    self.assertEqual(self.at("field.h5").read_bytes(), content)
                    self.assertEqual(after.st_ino, before.st_ino)
                    self.assertEqual(after.st_mtime_ns, before.st_mtime_ns)

    def test_that_have_something_to_do_change_the_files_time(self):
        for ranks in (1, 3):
            with self.subTest(ranks=ranks):
                self.run_program(*options(), "field.h5", "--overwrite")
                with h5py.File(self.at("field.h5"), "r+") as file:
                    file["pressure"][0, 0, 0] += 1
                os.utime(self.at("field.h5"), ns=(10**18, 10**18))
                before = time.time()
                self.run_program("field.h5", "--resume", ranks=ranks)
                # The clock of a file system ticks more seldom.
                self.assertGreater(self.at("field.h5").stat().st_mtime, before - 1)

    def test_take_the_number_of_threads_from_the_environment_too(self):
        environment = {**os.environ, "PISTONFIELD_THREADS": "2.5"}
        for ranks in (1, 2):
            self.assertIn(
                "PISTONFIELD_THREADS: '2.5' is no whole number from 1 to 1024",
                self.refused(*options(), "bad.h5", ranks=ranks, env=environment),
            )
            name = f"good{ranks}.h5"
            self.run_program(*options(), "--threads", 2, name, ranks=ranks, env=environment)

    def test_of_a_command_for_one_are_refused(self):
        self.run_program(*options(), "field.h5")
        for words in (["verify", "field.h5"], [*options(), "--part", "1/2", "other.h5"]):
            words = command(*words, ranks=2)
            run = subprocess.run(words, cwd=self.folder, capture_output=True, text=True)
            self.assertNotEqual(run.returncode, 0)
            self.assertIn("start it without mpirun", run.stderr)
        self.assertEqual(self.files(), ["field.h5", "field.h5.xdmf"])

    def test_of_which_one_has_a_bad_command_line_all_end(self):
        good = [PROGRAM, *options(), "field.h5"]
        bad = [PROGRAM, *options(), "--bogus", "field.h5"]
        for first, second in [(good, bad), (bad, good)]:
            words = [MPIRUN, "--oversubscribe", "-n", "1", *first, ":", "-n", "1", *second]
            run = subprocess.run(words, cwd=self.folder, capture_output=True, text=True, timeout=60)
            self.assertNotEqual(run.returncode, 0)
            self.assertIn("pistonfield-run: ", run.stderr)
            self.assertIn("--bogus", run.stderr)
        self.assertEqual(self.files(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
