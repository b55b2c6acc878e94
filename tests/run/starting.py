# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Processes start under every circumstance: with and without a launcher, many at once, with streams
that are closed. Where they cannot work together they say so, and do not wait for each other for
ever."""

import itertools
import os
import re
import shutil
import signal
import subprocess
import time
import unittest
from pathlib import Path

from programs import MPIRUN, PROGRAM, ProgramTest, arrays, command, options

ON_NFS = os.environ["PISTONFIELD_ON_NFS"]
THREAD_LEVELS = os.environ["PISTONFIELD_LOW_THREAD_LEVEL"]
SINGLE, FUNNELED, SERIALIZED, MULTIPLE = range(4)

# What a launcher says to those that it starts.
OF_LAUNCHERS = re.compile("OMPI_COMM|PMI|SLURM|MPI_LOCAL|MV2")


def without_launcher(**others):
    kept = {k: v for k, v in os.environ.items() if not OF_LAUNCHERS.match(k)}
    return {**kept, **others}


class AloneTest(ProgramTest):
    def test_many_at_once_disturb_nobody_and_leave_nothing(self):
        for _ in range(20):
            temporary = self.at("temporary")
            temporary.mkdir()
            environment = without_launcher(TMPDIR=str(temporary))
            runs = [
                self.start(*options(sizes=(5, 6, 7)), f"{i}.h5", "--no-magnitude", env=environment)
                for i in range(20)
            ]
            for run in runs:
                out, err = run.communicate(timeout=120)
                self.assertEqual(run.returncode, 0, out + err)
            self.assertEqual(list(temporary.iterdir()), [])
            temporary.rmdir()
            self.assertEqual(self.files(), sorted(f"{i}.h5" for i in range(20)))
            for i in range(20):
                self.at(f"{i}.h5").unlink()

    def test_need_no_temporary_folder(self):
        environment = without_launcher(TMPDIR="/dev/null/none")
        self.run_program(*options(), "field.h5", env=environment)
        self.run_program("verify", "field.h5", env=environment)

    def test_do_not_start_mpi(self):
        environment = without_launcher(LD_PRELOAD=THREAD_LEVELS, THREAD_LEVEL=str(MULTIPLE))
        for words in ([*options(), "field.h5"], ["verify", "field.h5"]):
            self.assertNotIn("writes aside", self.run_program(*words, env=environment).err)

    def test_the_script_of_a_job_starts_one(self):
        environment = without_launcher(SLURM_JOB_ID="1", SLURM_NTASKS="4", SLURM_PROCID="0")
        self.run_program(*options(), "field.h5", env=environment)

    def test_tasks_of_a_step_without_mpi_are_refused_in_one_line(self):
        for task in ("0", "1"):
            environment = without_launcher(SLURM_STEP_NUM_TASKS="2", SLURM_PROCID=task)
            run = self.run_program(*options(), "field.h5", env=environment, status=1)
            self.assertEqual(self.files(), [])
            self.assertEqual(run.err.count("\n"), 1 if task == "0" else 0, run.err)
            if task == "0":
                self.assertIn("2 processes were started and MPI knows of 1", run.err)
            # Parts are for one process each.
            part = ["--part", f"{int(task) + 1}/2"]
            self.run_program(*options(), *part, "field.h5", env=environment)
            self.at(f"field.part-{int(task) + 1}-of-2.h5").unlink()
            self.at(f"field.part-{int(task) + 1}-of-2.h5.xdmf").unlink()

    def test_a_launcher_of_another_mpi_is_refused(self):
        environment = without_launcher(PMI_SIZE="4", PMI_RANK="0")
        run = self.run_program(*options(), "field.h5", env=environment, status=1)
        self.assertIn("4 processes were started and MPI knows of 1", run.err)


class ClosedStreamsTest(ProgramTest):
    """Files must not get what is meant for people."""

    def test_leave_the_field_alone(self):
        # Long enough to tell progress.
        request = options(sizes=(20, 20, 20)) + ["--slab", 500]
        self.run_program(*request, "field.h5")
        expected = arrays(self.at("field.h5"))
        streams = ["<&-", ">&-", "2>&-"]
        for count in (1, 2, 3):
            for closed in itertools.combinations(streams, count):
                for ranks in (1, 2):
                    with self.subTest(closed=closed, ranks=ranks):
                        self.assert_writes(request, expected, " ".join(closed), ranks)

    def assert_writes(self, request, expected, closed, ranks):
        words = command(*request, "closed.h5", ranks=ranks)
        at = words.index(PROGRAM)
        words[at:at] = ["sh", "-c", f'exec "$@" {closed}', "sh"]
        run = subprocess.run(words, cwd=self.folder, capture_output=True, timeout=60)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assert_same_field(self.at("closed.h5"), expected)
        self.run_program("verify", "closed.h5")
        for name in ("closed.h5", "closed.h5.xdmf"):
            self.at(name).unlink()


class ThreadLevelTest(ProgramTest):
    def test_of_mpi_decides_who_writes(self):
        request = options() + ["--slab", 500]
        self.run_program(*request, "alone.h5")
        alone = arrays(self.at("alone.h5"))
        for level in (SINGLE, FUNNELED, SERIALIZED, MULTIPLE):
            with self.subTest(level=level):
                environment = {**os.environ, "THREAD_LEVEL": str(level)}
                words = command(*request, f"{level}.h5", ranks=2)
                words[1:1] = ["-x", f"LD_PRELOAD={THREAD_LEVELS}", "-x", "THREAD_LEVEL"]
                run = subprocess.run(
                    words, cwd=self.folder, env=environment, capture_output=True, text=True, timeout=60
                )
                self.assertEqual(run.returncode, 0, run.stderr)
                self.assert_same_field(self.at(f"{level}.h5"), alone)
                aside = [int(n) for n in re.findall("writes aside: ([0-9]+)", run.stderr)]
                self.assertEqual(len(aside), 2, run.stderr)
                for writes in aside:
                    self.assertEqual(writes > 0, level >= SERIALIZED, run.stderr)


class TogetherTest(ProgramTest):
    """Processes that do not see the same are told of it."""

    def test_write_to_nfs(self):
        self.run_program(*options(), "alone.h5")
        words = command(*options(), "field.h5", ranks=2)
        # There this part of Open MPI locks what it writes to.
        words[1:1] = ["--mca", "io", "ompio", "-x", f"LD_PRELOAD={ON_NFS}"]
        run = subprocess.run(words, cwd=self.folder, capture_output=True, text=True, timeout=60)
        self.assertEqual(run.returncode, 0, run.stderr)
        self.assert_same_field(self.at("field.h5"), arrays(self.at("alone.h5")))

    def test_set_the_environment_before_the_program_has_other_threads(self):
        threads = {}
        # With fewer than all threads MPI takes no calls of a watch.
        for level in (SERIALIZED, MULTIPLE):
            words = command(*options(), f"{level}.h5", ranks=2)
            shims = f"LD_PRELOAD={ON_NFS}:{THREAD_LEVELS}"
            words[1:1] = ["--mca", "io", "ompio", "-x", shims, "-x", f"THREAD_LEVEL={level}"]
            run = subprocess.run(words, cwd=self.folder, capture_output=True, text=True, timeout=60)
            self.assertEqual(run.returncode, 0, run.stderr)
            threads[level] = re.findall("threads: ([0-9]+)", run.stderr)
        self.assertEqual(len(threads[MULTIPLE]), 2, threads)
        self.assertEqual(threads[MULTIPLE], threads[SERIALIZED])

    def test_of_which_one_may_open_too_few_files_end_in_one_line(self):
        script = 'if [ "$OMPI_COMM_WORLD_RANK" = 1 ]; then ulimit -n "$LIMIT"; fi; exec "$@"'
        # Down to what MPI itself leaves.
        for limit in range(60, 0, -4):
            words = command(*options(), "--resume", "field.h5", ranks=3)
            at = words.index(PROGRAM)
            words[at:at] = ["sh", "-c", script, "sh"]
            environment = {**os.environ, "LIMIT": str(limit)}
            run = subprocess.run(
                words, cwd=self.folder, env=environment, capture_output=True, text=True, timeout=60
            )
            if run.returncode != 0:
                break
            self.at("field.h5").unlink()
        lines = [x for x in run.stderr.splitlines() if x.startswith("pistonfield-run: ")]
        self.assertEqual(len(lines), 1, run.stderr)
        reason = "process 1 on [^ ]+: field.h5 cannot be opened: Too many open files"
        self.assertRegex(lines[0], reason)
        self.run_program("--resume", "field.h5", ranks=3)
        self.run_program("verify", "field.h5")

    def test_without_the_same_folder_are_refused(self):
        if os.geteuid() != 0 or subprocess.run(["unshare", "--mount", "true"]).returncode != 0:
            self.skipTest("a folder of its own for one process takes rights that are not here")
        folder = self.at("folder")
        folder.mkdir()
        self.run_program(*options(), "folder/old.h5")
        expected = arrays(self.at("folder/old.h5"))
        shutil.copy(self.at("folder/old.h5"), self.at("old.h5"))
        another = f"mount -t tmpfs none {folder}"
        for away, output, reason in [
            (another, "new.h5", "cannot be opened: No such file or directory"),
            (f"{another} && cp {self.at('old.h5')} {folder}", "old.h5", "is another file there "),
            (f"mount --bind -o ro {folder} {folder}", "old.h5", "cannot be opened: Read-only"),
            (f"mount --bind -o ro {folder} {folder}", "new.h5", "cannot be opened: Read-only"),
        ]:
            with self.subTest(away=away, output=output):
                run = self.run_with_one_away(f"{away} && cd {self.folder}", f"folder/{output}")
                self.assertNotEqual(run.returncode, 0)
                lines = [x for x in run.stderr.splitlines() if x.startswith("pistonfield-run: ")]
                self.assertEqual(len(lines), 1, run.stderr)
                self.assertRegex(lines[0], f"process 1 on [^ ]+: folder/{output} {reason}")
        self.run_program(*options(), "--resume", "folder/new.h5", ranks=3)
        for output in ("new.h5", "old.h5"):
            self.assert_same_field(folder / output, expected)

    def run_with_one_away(self, away, output):
        """Three processes, of which the second has other mounts than the others."""
        script = (
            'if [ "$OMPI_COMM_WORLD_RANK" = 1 ]; then '
            f'exec unshare --mount sh -c \'{away} && exec "$@"\' sh "$@"; fi; exec "$@"'
        )
        words = command(*options(), "--resume", output, ranks=3)
        at = words.index(PROGRAM)
        words[at:at] = ["sh", "-c", script, "sh"]
        return subprocess.run(words, cwd=self.folder, capture_output=True, text=True, timeout=60)

    def test_a_pipe_or_device_or_folder_is_no_output(self):
        os.mkfifo(self.at("pipe"))
        self.at("folder").mkdir()
        for output in ("pipe", "/dev/null", "folder"):
            for words in ([], ["--resume"], ["--estimate"]):
                for ranks in (1, 3):
                    with self.subTest(output=output, words=words, ranks=ranks):
                        message = self.refused(*options(), *words, output, ranks=ranks)
                        self.assertIn(output, message)

    def test_a_pipe_is_no_field(self):
        os.mkfifo(self.at("pipe"))
        for words in (["verify", "pipe"], ["show", "pipe"], ["extract", "pipe", "values"],
                      ["join", "field.h5", "pipe"]):
            with self.subTest(words=words):
                self.assertIn("pipe is a pipe or a device", self.refused(*words))

    def test_a_request_may_come_from_a_pipe(self):
        words = [str(word) for word in options()]
        self.at("request.toml").write_text(
            f"transform = [{', '.join(words[1:17])}]\nsizes = [{', '.join(words[18:21])}]\n"
            f"l = {words[22]}\ns = {words[24]}\nk = {words[26]}\n"
        )
        self.run_program("--request", "request.toml", "file.h5")
        expected = arrays(self.at("file.h5"))
        for ranks in (1, 3):
            with self.subTest(ranks=ranks):
                with open(self.at("request.toml"), encoding="utf-8") as request:
                    words = ["--request", "/dev/stdin", f"stdin{ranks}.h5"]
                    self.run_program(*words, ranks=ranks, stdin=request)
                self.assert_same_field(self.at(f"stdin{ranks}.h5"), expected)
                pipe = self.at(f"pipe{ranks}")
                os.mkfifo(pipe)
                run = self.start("--request", pipe, f"{ranks}.h5", ranks=ranks)
                pipe.write_bytes(self.at("request.toml").read_bytes())
                out, err = run.communicate(timeout=60)
                self.assertEqual(run.returncode, 0, out + err)
                self.assert_same_field(self.at(f"{ranks}.h5"), expected)

    def test_a_process_that_is_silent_is_named(self):
        request = options(sizes=(60, 50, 40), order=6000) + ["--slab", 300]
        environment = {**os.environ, "PISTONFIELD_SILENCE": "1"}
        run = self.start(*request, "field.h5", ranks=3, env=environment)
        while not self.at("field.h5").exists():
            time.sleep(0.01)
        time.sleep(1)
        silent = self.rank(run, 2)
        os.kill(silent, signal.SIGSTOP)
        self.addCleanup(run.kill)
        line = self.line_with(run.stderr, "nothing was heard for 1 s of process 2 on ")
        self.assertTrue(line.rstrip().endswith("; the run waits for it"), line)
        os.kill(silent, signal.SIGCONT)
        self.line_with(run.stderr, "is heard of again")
        os.kill(silent, signal.SIGTERM)
        run.communicate(timeout=60)
        self.assertEqual(run.returncode, 128 + signal.SIGTERM)

    def test_a_slab_that_takes_long_is_no_silence(self):
        request = options(sizes=(60, 50, 10), order=16000) + ["--slab", 10**6]
        environment = {**os.environ, "PISTONFIELD_SILENCE": "0.4"}
        run = self.run_program(*request, "field.h5", ranks=2, env=environment)
        self.assertNotIn("heard", run.err)

    def test_a_silence_that_is_no_time_is_refused(self):
        for seconds in ("0", "-1", "nan", "long"):
            environment = {**os.environ, "PISTONFIELD_SILENCE": seconds}
            message = self.refused(*options(), "field.h5", ranks=2, env=environment)
            self.assertIn("PISTONFIELD_SILENCE", message)

    @staticmethod
    def rank(launcher, number):
        """The process of a rank."""
        children = f"/proc/{launcher.pid}/task/{launcher.pid}/children"
        for process in Path(children).read_text(encoding="ascii").split():
            variables = Path(f"/proc/{process}/environ").read_bytes().split(b"\0")
            if f"OMPI_COMM_WORLD_RANK={number}".encode() in variables:
                return int(process)
        raise AssertionError(f"there is no rank {number}")

    @staticmethod
    def line_with(stream, text):
        return next(line for line in stream if text in line)


if __name__ == "__main__":
    unittest.main(verbosity=2)
