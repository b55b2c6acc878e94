# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Where nothing can be written, the program says so in one line, and what was finished stays."""

import os
import resource
import shutil
import subprocess
import unittest

import h5py
from programs import ProgramTest, arrays, command, options, slab_boxes

SHIM = os.environ["PISTONFIELD_FAILING_WRITES"]


def limit_files(size):
    """What makes files of a process end at a size, as a disk without room does."""
    return lambda: resource.setrlimit(resource.RLIMIT_FSIZE, (size, size))


class FailingWritesTest(ProgramTest):
    request = options() + ["--slab", 300]

    def setUp(self):
        super().setUp()
        self.run_program(*self.request, "undisturbed.h5")
        self.undisturbed = arrays(self.at("undisturbed.h5"))

    def assert_completed_later(self, name, ranks=1):
        """That finished slabs are whole, and that the file is completed when there is room."""
        with h5py.File(self.at(name)) as file:
            entries = file["slabs"][...]
            for entry, expected, box in zip(entries, self.undisturbed["slabs"], slab_boxes(file)):
                if entry["finished"]:
                    self.assertEqual(entry["checksum"], expected["checksum"])
                    self.assert_same_bits(file["pressure"][box], self.undisturbed["pressure"][box])
        self.run_program(name, "--resume", ranks=ranks)
        self.assert_same_field(self.at(name), self.undisturbed)
        self.assertEqual([f for f in self.files() if f.startswith(name)], [name, f"{name}.xdmf"])
        return sum(entries["finished"])

    def failing(self, writes, **others):
        return {
            **os.environ,
            "LD_PRELOAD": SHIM,
            "WRITES": str(writes),
            "WRITES_THEN": "ENOSPC",
            **others,
        }

    def test_that_do_not_reach_the_disk_end_the_run_in_one_line(self):
        # More than is sent to the disk at a time.
        request = options(sizes=(400, 400, 60), order=1)
        failing = self.failing(0, WRITES_THEN="EIO")
        for ranks in (1, 4):
            name = f"{ranks}.h5"
            message = self.refused(*request, name, ranks=ranks, env=failing)
            self.assertIn(f"{name} cannot be written: Input/output error", message)

    def test_of_one_process_end_the_run_in_one_line(self):
        finished = []
        for writes in (30, 60, 90):
            name = f"{writes}.h5"
            message = self.refused(*self.request, name, env=self.failing(writes))
            self.assertIn(f"{name} cannot be written: No space left on device", message)
            finished.append(self.assert_completed_later(name))
        self.assertLess(finished[0], finished[2])
        self.assertGreater(finished[2], 0)

    def test_while_the_file_is_created_leave_none(self):
        for writes in (0, 1, 2, 3, 5, 8, 12):
            message = self.refused(*self.request, "field.h5", env=self.failing(writes))
            self.assertIn("field.h5", message)
            self.assertIn("No space left on device", message)
            self.assertEqual(self.files(), ["undisturbed.h5", "undisturbed.h5.xdmf"])

    def test_of_one_process_among_four_end_all_in_one_line(self):
        for rank in (0, 2):
            with self.subTest(rank=rank):
                name = f"rank{rank}.h5"
                # The first process creates the file besides.
                environment = self.failing(22 if rank == 0 else 7, WRITES_RANK=str(rank))
                message = self.refused(*self.request, name, ranks=4, env=environment)
                reason = f"{name} cannot be written: No space left on device"
                self.assertRegex(message, f"process {rank} on [^ ]+: {reason}")
                self.assertGreater(self.assert_completed_later(name, ranks=4), 0)

    def test_while_the_file_is_compressed_leave_the_raw_one(self):
        message = self.refused(*self.request, "field.h5", "--compress", "1", env=self.failing(230))
        self.assertIn("No space left on device", message)
        self.assertIn("field.h5", message)
        self.assert_same_field(self.at("field.h5"), self.undisturbed)
        self.assertEqual(
            self.files(), [f"{n}.h5{e}" for n in ("field", "undisturbed") for e in ("", ".xdmf")]
        )

    def test_beyond_a_limit_of_files_leave_none(self):
        # The program's own signal's effect, too: Python's children have it as it is by default.
        message = self.refused(*self.request, "field.h5", preexec_fn=limit_files(50000))
        self.assertIn("field.h5", message)
        self.assertIn("File too large", message)
        self.assertEqual(self.files(), ["undisturbed.h5", "undisturbed.h5.xdmf"])

    def test_of_extracts_are_told(self):
        message = self.refused("extract", "undisturbed.h5", "/dev/full")
        self.assertIn("/dev/full cannot be written: No space left on device", message)
        message = self.refused("extract", "undisturbed.h5", "missing/values")
        self.assertIn("missing/values cannot be written: No such file or directory", message)


class FoldersTest(ProgramTest):
    def test_that_are_missing_are_told(self):
        for ranks in (1, 4):
            message = self.refused(*options(), "missing/field.h5", ranks=ranks)
            self.assertIn("missing/field.h5 cannot be written: No such file or directory", message)
        self.assertEqual(self.files(), [])

    def test_are_no_files(self):
        self.at("folder").mkdir()
        for words in ([], ["--resume"]):
            for name in ("folder", "folder/"):
                message = self.refused(*options(), name, *words)
                self.assertIn("folder", message)
        self.at("file").write_text("")
        message = self.refused(*options(), "file/field.h5")
        self.assertIn("file/field.h5 cannot be written: Not a directory", message)
        self.assertEqual(self.files(), ["file", "folder"])
        self.assertEqual(list(self.at("folder").iterdir()), [])

    def test_of_others_are_told(self):
        # The superuser may write anywhere.
        become = ["setpriv", "--reuid=65534", "--clear-groups"] if os.geteuid() == 0 else []
        if become and not shutil.which("setpriv"):
            self.skipTest("the superuser cannot become another user without setpriv")
        self.folder.chmod(0o555)
        self.addCleanup(self.folder.chmod, 0o755)
        run = subprocess.run(
            become + command(*options(), "field.h5"),
            cwd=self.folder,
            capture_output=True,
            text=True,
        )
        self.assertEqual(run.returncode, 1, run.stderr)
        self.assertEqual(
            run.stderr, "pistonfield-run: field.h5 cannot be written: Permission denied\n"
        )


def limit_memory(size):
    def limit():
        resource.setrlimit(resource.RLIMIT_AS, (size, size))

    return limit


class SmallMemoryTest(ProgramTest):
    def test_is_told_with_what_takes_it(self):
        words = [*options(sizes=(500, 500, 500)), "--slab", 2**27, "--no-magnitude", "field.h5"]
        message = self.refused(*words, preexec_fn=limit_memory(3 * 10**9))
        self.assertRegex(
            message,
            "not enough memory for a slab of 125000000 points, which takes 2.0 GB: .* --slab",
        )


class SmallDiskTest(ProgramTest):
    """On a file system of its own, which may become larger. With the word none a mount is changed
    without its other options, one of which names a user whom the namespace may not know."""

    def in_namespace(self, script):
        """Runs a script where mounts are its own business. The folder "disk" is there for one."""
        self.at("disk").mkdir(exist_ok=True)
        unshare = ["unshare", "--mount"] + ([] if os.geteuid() == 0 else ["--map-root-user"])
        probe = unshare + ["mount", "-t", "tmpfs", "none", "disk"]
        if subprocess.run(probe, cwd=self.folder, capture_output=True).returncode != 0:
            self.skipTest("no file system can be mounted here")
        script = (
            f"set -e\nrun() {{ '{command()[0]}' {' '.join(options())} disk/field.h5 \"$@\"; }}\n"
            + script
        )
        return subprocess.run(
            [*unshare, "sh", "-c", script], cwd=self.folder, capture_output=True, text=True
        )

    def test_without_room_is_told_before_anything_is_computed(self):
        run = self.in_namespace(
            """
            mount -t tmpfs -o size=128k none disk
            if run; then exit 2; fi
            ls -A disk
            mount -o remount,size=4m none disk
            run >&2
            """
        )
        self.assertEqual(run.returncode, 0, run.stderr)
        first = [line for line in run.stderr.splitlines() if not self.is_beside_the_point(line)][0]
        self.assertRegex(
            first,
            "^pistonfield-run: disk/field.h5 has no room for its 148.6 kB: "
            "[0-9.]+ kB are free, [0-9.]+ kB too few$",
        )
        # After the estimate, nothing is listed.
        self.assertIn("time", run.stdout.splitlines()[-1])
        self.assertIn("disk/field.h5 is complete", run.stderr)

    def test_that_is_read_only_is_told(self):
        run = self.in_namespace("mount -t tmpfs none disk; mount -o remount,ro none disk; run")
        self.assertEqual(run.returncode, 1)
        self.assertEqual(
            run.stderr, "pistonfield-run: disk/field.h5 cannot be written: Read-only file system\n"
        )


if __name__ == "__main__":
    unittest.main(verbosity=2)
