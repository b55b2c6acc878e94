# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Many processes that are started at once, beside others; temporary folders that are of no use;
several runs on one output."""

import os
import subprocess
import threading

from attacks import FULL, Attack, main, run_limited, unrefused
from judges import of_the_field, view
from programs import MPIRUN, PROGRAM, options

ROUNDS = 20 if FULL else 2
AT_ONCE = 20
REQUEST = [*options(sizes=(7, 5, 6)), "--slab", "40"]


def plain_environment(**others):
    """As a user has it who knows nothing of Open MPI's variables."""
    kept = {k: v for k, v in os.environ.items() if not k.startswith("OMPI_MCA_")}
    return {**kept, **{name: str(value) for name, value in others.items()}}


class CrowdsTest(Attack):
    def setUp(self):
        super().setUp()
        self.run_program(*REQUEST, "whole.h5")
        self.whole = of_the_field(view(self.at("whole.h5")))
        self.at("temporary").mkdir()

    def start_all(self, commands, **others):
        """Starts all at once, and waits for them."""
        processes = [
            subprocess.Popen(
                list(map(str, words)), cwd=self.folder, stdin=subprocess.DEVNULL,
                stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, **others,
            )
            for words in commands
        ]  # fmt: skip
        return [(process, *process.communicate(timeout=120)) for process in processes]

    def keep_busy(self, stop, number):
        """One of those who work beside: commands of all kinds, one after the other."""
        folder = self.at(f"beside {number}")
        folder.mkdir()
        kinds = [
            [PROGRAM, *REQUEST, "a.h5", "--resume"],
            [PROGRAM, *REQUEST, "b.h5", "--part", "1/1", "--resume"],
            [PROGRAM, "verify", "../whole.h5"],
            [
                MPIRUN,
                "--oversubscribe",
                "--bind-to",
                "none",
                "-n",
                "2",
                PROGRAM,
                *REQUEST,
                "c.h5",
                "--resume",
            ],
        ]
        turn = number
        while not stop.is_set():
            words = kinds[turn % len(kinds)]
            # The leavings of mpirun itself are its own affair.
            temporary = folder if words[0] == MPIRUN else self.at("temporary")
            environment = plain_environment(TMPDIR=temporary)
            run = run_limited(words, patience=60, cwd=folder, env=environment)
            turn += 1
            if run.status != 0:
                self.found("a run beside others fails", f"{words}: {run.err[-300:]!r}")

    def check_temporary(self, what):
        for name in os.listdir(self.at("temporary")):
            self.found(f"{what}: the temporary folder has something left", name)

    def test_started_at_once(self):
        environment = plain_environment(TMPDIR=self.at("temporary"))
        stop = threading.Event()
        threads = [
            threading.Thread(target=self.keep_busy, args=(stop, number)) for number in range(4)
        ]
        for thread in threads:
            thread.start()
        try:
            for number in range(ROUNDS):
                self.one_round(number, environment)
        finally:
            stop.set()
            for thread in threads:
                thread.join()
        self.check_temporary("processes started at once")

    def one_round(self, number, environment):
        names = [f"{number}.{i}.h5" for i in range(AT_ONCE)]
        commands = [[PROGRAM, *REQUEST, name] for name in names]
        for name, (process, _, err) in zip(names, self.start_all(commands, env=environment)):
            self.tried += 1
            if process.returncode != 0:
                self.found(f"of {AT_ONCE} at once one ends with status {process.returncode}",
                           f"{name}: {err[-300:]!r}")  # fmt: skip
            elif of_the_field(view(self.at(name))) != self.whole:
                self.found(f"of {AT_ONCE} at once one makes another field", name)

    def test_on_one_output(self):
        """One works on it, or several one after the other; the others are told."""
        aliases = ["field.h5", "./field.h5", f"../{self.folder.name}/field.h5", "link.h5"]
        for number in range(10 if FULL else 2):
            if number % 2:
                self.at("link.h5").symlink_to("field.h5")
                self.at("field.h5").write_bytes(self.at("whole.h5").read_bytes())
            commands = [
                [PROGRAM, *REQUEST, aliases[i % (4 if number % 2 else 3)], "--resume"]
                for i in range(AT_ONCE)
            ]
            done = 0
            for process, out, err in self.start_all(commands):
                self.tried += 1
                done += process.returncode == 0
                lines = [line for line in err.splitlines() if not self.is_beside_the_point(line)]
                if process.returncode not in (0, 1) or process.returncode == 1 and len(lines) != 1:
                    self.found(f"a run on a taken output ends with status {process.returncode}",
                               f"{err[-300:]!r}")  # fmt: skip
            if not done:
                self.found("of runs on one output none completes it", "all refused")
            elif of_the_field(view(self.at("field.h5"))) != self.whole:
                self.found("runs on one output make another field", str(number))
            for name in self.files():
                if name.startswith((".", "field", "link")):
                    if name not in ("field.h5", "field.h5.xdmf", "link.h5", "link.h5.xdmf"):
                        self.found("runs on one output leave a file", name)
                    self.at(name).unlink()

    def test_without_a_usable_temporary_folder(self):
        self.at("file").write_text("")
        read_only = self.at("read only")
        read_only.mkdir(mode=0o555)
        for temporary in ("/dev/null/none", "/nothing/there", self.at("file"), read_only, "/proc",
                          "relative",
                          "", "x" * 5000):  # fmt: skip
            environment = plain_environment(TMPDIR=temporary, TMP=temporary, TEMP=temporary)
            for words in ([*REQUEST, "field.h5"], ["verify", "whole.h5"], ["show", "whole.h5"],
                          [*REQUEST, "field.h5", "--resume", "--compress", 1],
                          [*REQUEST, "field.h5", "--estimate"]):  # fmt: skip
                run = self.run_limited(*words, env=environment)
                self.expect_success(
                    f"TMPDIR={str(temporary)[:30]}", run, " ".join(map(str, words[-2:]))
                )
            for name in ("field.h5", "field.h5.xdmf"):
                self.at(name).unlink(missing_ok=True)

    def test_with_hardly_any_environment(self):
        for environment in ({}, {"HOME": "/nothing"}, {"PATH": "/nothing"}, {"LC_ALL": "tlh_KX"},
                            {"LC_ALL": "de_DE.UTF-8", "LC_NUMERIC": "de_DE.UTF-8"}):  # fmt: skip
            run = self.run_limited(*REQUEST, "field.h5", env=environment)
            if self.expect_success(f"the environment {environment}", run, "alone"):
                if of_the_field(view(self.at("field.h5"))) != self.whole:
                    self.found("another environment makes another field", str(environment))
            for name in ("field.h5", "field.h5.xdmf"):
                self.at(name).unlink(missing_ok=True)

    def test_with_few_files_and_little_memory(self):
        for limits in ("-n 16", "-n 8", "-s 256", "-f 20", "-v 400000", "-c 0"):
            run = run_limited(
                ["sh", "-c", f'ulimit {limits} && exec "$0" "$@"', PROGRAM, *REQUEST, "field.h5"],
                cwd=self.folder,
                env=plain_environment(),
            )
            self.tried += 1
            if run.status != 0 and (wrong := unrefused(run)):
                self.found(f"with ulimit {limits} a run {wrong}", run.err[-300:])
            if run.status == 0 and of_the_field(view(self.at("field.h5"))) != self.whole:
                self.found("little room makes another field", limits)
            for name in ("field.h5", "field.h5.xdmf"):
                self.at(name).unlink(missing_ok=True)


if __name__ == "__main__":
    main()
