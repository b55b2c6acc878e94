# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Standard streams that are closed, broken, full or the wrong way round: files of fields stay what
they should be, in one process and under mpirun."""

import itertools
import shlex

import h5py
from attacks import FULL, Attack, died, main, run_limited
from judges import of_the_field, view
from programs import MPIRUN, PROGRAM, options

REQUEST = [*options(sizes=(40, 30, 20)), "--slab", "900"]
CLOSED = [
    " ".join(closed)
    for n in range(4)
    for closed in itertools.combinations(("<&-", ">&-", "2>&-"), n)
]
ODD = [">/dev/full", "2>/dev/full", ">/dev/full 2>/dev/full", "1</dev/null", "2</dev/null",
       "0>/dev/null", "1<. 2<.", "<. >&- 2>&-"]  # fmt: skip


class StreamsTest(Attack):
    def setUp(self):
        super().setUp()
        self.run_program(*REQUEST, "whole.h5")
        self.whole = of_the_field(view(self.at("whole.h5")))
        self.before = self.at("whole.h5").read_bytes()

    def shell(self, redirections, *arguments, ranks=1):
        """Runs the program with its streams redirected. Under mpirun those of each process are."""
        words = shlex.join([PROGRAM, *map(str, arguments)])
        line = ["sh", "-c", f"exec {words} {redirections}"]
        if ranks > 1:
            line = [MPIRUN, "--oversubscribe", "--bind-to", "none", "-n", str(ranks), *line]
        return run_limited(line, patience=60, cwd=self.folder)

    def check_field(self, run, name, example, may_fail=False):
        """That a run made the field, or has said, where it may, that it could not speak."""
        self.tried += 1
        path = self.at(name)
        if wrong := died(run):
            self.found(f"a computing run {wrong}", example)
        elif run.status != 0 and not may_fail:
            self.found(f"a computing run ends with status {run.status}", f"{example}: {run.err!r}")
        try:
            if of_the_field(view(path)) != self.whole:
                self.found("the field is another", example)
        except (OSError, KeyError, RuntimeError) as error:
            self.found("the field is destroyed", f"{example}: {error}")
        verified = run_limited([PROGRAM, "verify", name], cwd=self.folder)
        if verified.status != 0:
            self.found("verify refuses the field", f"{example}: {verified.err or verified.out}")
        path.unlink(missing_ok=True)

    def attack_computing(self, redirections, ranks, may_fail=False):
        for words in ([], ["--resume"], ["--compress", "1"]):
            example = f"{ranks} processes, {' '.join(words)} {redirections}"
            run = self.shell(redirections, *REQUEST, "field.h5", *words, ranks=ranks)
            self.check_field(run, "field.h5", example, may_fail)
            self.at("field.h5.xdmf").unlink(missing_ok=True)
            if ranks > 1 and not FULL:
                break

    def test_closed_in_all_combinations(self):
        for redirections in CLOSED:
            self.attack_computing(redirections, 1)

    def test_closed_while_a_slab_is_computed_again(self):
        # Slabs are verified and then computed: two lines of progress while the file is open.
        with h5py.File(self.at("whole.h5"), "r+") as file:
            file["pressure"][0, 0, 0] += 1
        damaged = self.at("whole.h5").read_bytes()
        self.at("whole.h5").write_bytes(self.before)
        for redirections in CLOSED:
            for words in (["--part", "1/1"], []):
                name = "field.part-1-of-1.h5" if words else "field.h5"
                self.at(name).write_bytes(damaged)
                run = self.shell(redirections, "field.h5", *words, "--resume")
                self.check_field(run, name, f"{' '.join(words)} --resume {redirections}")

    def test_closed_under_mpirun(self):
        for redirections in CLOSED if FULL else CLOSED[-3:]:
            self.attack_computing(redirections, 3)

    def test_closed_for_some_of_the_processes(self):
        for redirections in CLOSED[1:] if FULL else CLOSED[-2:]:
            for rank in (0, 1):
                words = shlex.join([PROGRAM, *map(str, REQUEST), "field.h5"])
                script = f'[ "$OMPI_COMM_WORLD_RANK" = {rank} ] && exec {words} {redirections}\n'
                script += f"exec {words}"
                line = [
                    MPIRUN,
                    "--oversubscribe",
                    "--bind-to",
                    "none",
                    "-n",
                    "3",
                    "sh",
                    "-c",
                    script,
                ]
                run = run_limited(line, patience=60, cwd=self.folder)
                self.check_field(run, "field.h5", f"process {rank} of 3 {redirections}")

    def test_of_mpirun_itself_closed(self):
        words = shlex.join([MPIRUN, "--oversubscribe", "-n", "2", PROGRAM, *map(str, REQUEST)])
        for redirections in CLOSED if FULL else CLOSED[-1:]:
            run = run_limited(
                ["sh", "-c", f"{words} field.h5 {redirections}"], patience=60, cwd=self.folder
            )
            # What mpirun makes of it is its own affair: without two of its streams it hangs or ends
            # by a signal, whatever the program. Where it hangs, that has done its work before.
            if run.status is None:
                verified = self.shell("", "verify", "field.h5")
                self.expect_success("mpirun hangs and verify", verified, redirections)
            if run.status in (0, None) or self.at("field.h5").exists():
                run = self.shell("", "field.h5", "--resume", *REQUEST)
                self.check_field(run, "field.h5", f"mpirun {redirections}")

    def test_full_and_the_wrong_way_round(self):
        for redirections in ODD:
            self.attack_computing(redirections, 1, may_fail=True)

    def test_of_readers(self):
        for redirections in CLOSED + ODD:
            for words in (["verify", "whole.h5"], ["show", "whole.h5"], ["--help"], ["--version"],
                          ["extract", "whole.h5", "values"], ["extract", "whole.h5", "/dev/stdout"],
                          [*REQUEST, "--estimate", "other.h5"]):  # fmt: skip
                self.tried += 1
                run = self.shell(redirections, *words)
                if wrong := died(run):
                    self.found(f"{words[0]} {wrong}", redirections)
                if self.at("whole.h5").read_bytes() != self.before:
                    self.found(f"{words[0]} changes the file", redirections)
                    self.at("whole.h5").write_bytes(self.before)
                values = self.at("values")
                if (
                    run.status == 0
                    and words[-1] == "values"
                    and len(values.read_bytes()) != 24000 * 16
                ):
                    self.found("extract gives other values", redirections)
                values.unlink(missing_ok=True)

    def test_of_joins(self):
        for redirections in CLOSED:
            for part in (1, 2):
                self.shell(redirections, *REQUEST, "field.h5", "--part", f"{part}/2")
            run = self.shell(
                redirections, "join", "field.h5", "field.part-1-of-2.h5", "field.part-2-of-2.h5"
            )
            self.tried += 1
            if died(run) or not self.at("field.h5").exists():
                self.found(f"join {died(run) or 'makes no file'}", f"{redirections}: {run.err!r}")
            elif run_limited([PROGRAM, "verify", "field.h5"], cwd=self.folder).status != 0:
                self.found("verify refuses the joined field", redirections)
            for name in self.files():
                if name.startswith("field"):
                    self.at(name).unlink()

    def test_that_lead_to_a_reader_who_is_gone(self):
        for ranks in (1, 3):
            for words in ([], ["--compress", "1"]):
                process = self.start(*REQUEST, "field.h5", *words, ranks=ranks)
                process.stdout.close()
                process.stderr.close()
                process.wait(timeout=60)
                self.tried += 1
                if self.at("field.h5").exists():
                    run = self.shell("", "field.h5", "--resume", *REQUEST)
                    self.check_field(run, "field.h5", f"{ranks} processes into a closed pipe")
                self.at("field.h5.xdmf").unlink(missing_ok=True)
                for stray in set(self.files()) - {"whole.h5", "whole.h5.xdmf"}:
                    self.found("a run into a closed pipe leaves a file", stray)
                    self.at(stray).unlink()


if __name__ == "__main__":
    main()
