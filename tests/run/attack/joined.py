# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Joined fields whose parts are not the ones that were joined: no reader of this program takes
other values for theirs, and h5py none that lie elsewhere."""

import os
import shutil
import signal

import h5py
import numpy
from attacks import Attack, main, run_limited, unrefused
from programs import PROGRAM, arrays, options

SIZES = (7, 5, 9)
PARTS = [f"field.part-{number}-of-3.h5" for number in (1, 2, 3)]


class JoinedTest(Attack):
    def setUp(self):
        super().setUp()
        self.compute("template", k=4188.79)
        self.run_program(*options(sizes=SIZES), "whole.h5")
        self.whole = arrays(self.at("whole.h5"))["pressure"]
        self.count = 0

    def compute(self, folder, words=(), **request):
        """A folder with a field of three parts and the field joined from them."""
        self.at(folder).mkdir()
        for number in (1, 2, 3):
            part = ["--slab", 40, "--part", f"{number}/3", *words]
            self.run_program(*options(sizes=SIZES, **request), *part, f"{folder}/field.h5")
        self.run_program("join", f"{folder}/field.h5", *(f"{folder}/{part}" for part in PARTS))

    def case(self):
        self.count += 1
        return shutil.copytree(self.at("template"), self.at(f"case {self.count}"))

    def check(self, what, folder, cwd=None, may_succeed=False):
        """That each reader refuses a joined field or, where it may, gives the right values."""
        cwd = cwd or folder
        name = os.path.relpath(folder / "field.h5", cwd)
        values = folder / "values"
        for words in (["verify", name], ["show", name], ["extract", name, str(values)]):
            run = run_limited([PROGRAM, *words], cwd=cwd)
            self.tried += 1
            if run.status == 0 and may_succeed:
                if words[0] == "extract" and values.read_bytes() != self.whole.tobytes():
                    self.found("extract gives other values", what)
            # verify has a line for each part.
            elif not (words[0] == "verify" and run.status == 1 and (run.out or run.err)):
                if wrong := unrefused(run):
                    self.found(f"{words[0]} {wrong}", f"{what}: {(run.out or run.err)[-200:]!r}")
            values.unlink(missing_ok=True)

    def test_as_they_were_joined_are_read_from_anywhere(self):
        folder = self.case()
        for cwd in (folder, self.folder, folder.parent.parent):
            name = os.path.relpath(folder / "field.h5", cwd)
            for words in (["verify", name], ["show", name], ["extract", name, "values"]):
                run = run_limited([PROGRAM, *words], cwd=cwd)
                self.expect_success(words[0], run, f"from {cwd}")
            if (cwd / "values").exists():
                if (cwd / "values").read_bytes() != self.whole.tobytes():
                    self.found("extract gives other values", f"from {cwd}")
                (cwd / "values").unlink()

    def test_with_a_part_of_another_request(self):
        for number, (what, request) in enumerate([
            ("wavenumber", {"k": 4000}), ("side", {"l": 6e-3}), ("mode", {"mode": "cpusp"}),
            ("order", {"order": 11}), ("tolerance", {"tolerance": 1e-6}),
            ("wavenumber by a unit in the last place", {"k": 4188.790000000001}),
        ]):  # fmt: skip
            other = f"other {number}"
            self.compute(other, **request)
            for part in PARTS[:2]:
                folder = self.case()
                shutil.copy(self.at(other) / part, folder / part)
                self.check(f"{part} with another {what}", folder)

    def test_with_parts_of_other_places(self):
        folder = self.case()
        shutil.copy(folder / PARTS[0], folder / PARTS[1])
        self.check("a part twice", folder)
        folder = self.case()
        (folder / PARTS[0]).rename(folder / "kept")
        (folder / PARTS[1]).rename(folder / PARTS[0])
        (folder / "kept").rename(folder / PARTS[1])
        self.check("parts exchanged", folder)
        folder = self.case()
        shutil.copy(self.at("whole.h5"), folder / PARTS[0])
        self.check("a whole field as a part", folder)
        folder = self.case()
        (folder / PARTS[0]).unlink()
        (folder / PARTS[0]).symlink_to("field.h5")
        self.check("the joined field as its own part", folder)

    def test_with_an_unfinished_part(self):
        shim = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES_THEN": "SIGKILL"}
        words = options(sizes=SIZES) + ["--slab", 40, "--part", "2/3", "--resume", "field.h5"]
        begun = self.at("begun")
        begun.mkdir()
        for writes in range(5, 200):
            environment = {**os.environ, **shim, "WRITES": str(writes)}
            process = self.start(*words, env=environment)
            process.communicate(timeout=60)
            if self.at(PARTS[1]).exists():
                break
        self.assertEqual(process.returncode, -signal.SIGKILL)
        folder = self.case()
        shutil.copy(self.at(PARTS[1]), folder / PARTS[1])
        self.check("an unfinished part", folder)

    def test_with_a_part_that_is_cut_gone_or_no_file(self):
        for what, change in [
            ("cut", lambda part: os.truncate(part, part.stat().st_size // 2)),
            ("cut by a byte", lambda part: os.truncate(part, part.stat().st_size - 1)),
            ("empty", lambda part: os.truncate(part, 0)),
            ("text", lambda part: part.write_text("no field\n")),
            ("gone", lambda part: part.unlink()),
            ("a folder", lambda part: (part.unlink(), part.mkdir())),
            ("a pipe", lambda part: (part.unlink(), os.mkfifo(part))),
            ("a link to nothing", lambda part: (part.unlink(), part.symlink_to("nowhere"))),
        ]:
            for part in (PARTS[0], PARTS[2]):
                folder = self.case()
                change(folder / part)
                self.check(f"{part} {what}", folder)

    def test_with_changed_values_in_a_part(self):
        folder = self.case()
        with h5py.File(folder / PARTS[1], "r+") as file:
            file["pressure"][1, 1, 1] += 1e-9
        self.tried += 1
        run = run_limited([PROGRAM, "verify", "field.h5"], cwd=folder)
        if run.status != 1:
            self.found("verify does not tell a changed value of a part", f"status {run.status}")

    def test_with_a_changed_request_in_a_part(self):
        for name, value in [("k", 4000.0), ("l", 6e-3), ("order", 11), ("first_point", [0, 0, 0])]:
            folder = self.case()
            with h5py.File(folder / PARTS[1], "r+") as file:
                file.attrs.modify(name, value)
            self.check(f"{name} changed in a part", folder)

    def test_with_parts_of_the_working_folder(self):
        """HDF5 looks there too. Only what lies beside the field counts."""
        self.compute("elsewhere", k=4000)
        elsewhere = self.at("elsewhere")
        (elsewhere / "field.h5").unlink()
        for gone in ((), PARTS[:1], PARTS):
            folder = self.case()
            for part in gone:
                (folder / part).unlink()
            what = f"{len(gone)} parts gone and others in the working folder"
            self.check(what, folder, cwd=elsewhere, may_succeed=not gone)
            here = os.getcwd()
            os.chdir(elsewhere)
            with h5py.File(folder / "field.h5") as file:
                seen = file["pressure"][...]
            os.chdir(here)
            self.tried += 1
            missing = numpy.isnan(seen)
            if not numpy.array_equal(seen[~missing], self.whole[~missing]):
                self.found("h5py takes a part of the working folder", what)
            elif not gone and missing.any():
                self.found("h5py does not find the parts", what)

    def test_with_parts_named_by_an_environment(self):
        # HDF5 lets the environment say where parts lie.
        self.compute("elsewhere", k=4000)
        folder = self.case()
        environment = {**os.environ, "HDF5_VDS_PREFIX": str(self.at("elsewhere"))}
        run = run_limited([PROGRAM, "extract", "field.h5", "values"], cwd=folder, env=environment)
        self.tried += 1
        if run.status == 0 and (folder / "values").read_bytes() != self.whole.tobytes():
            self.found("extract takes a part that HDF5_VDS_PREFIX names", "extract")

    def test_in_a_folder_that_moved(self):
        folder = self.case()
        moved = self.at("moved")
        folder.rename(moved)
        run = run_limited([PROGRAM, "verify", "field.h5"], cwd=moved)
        self.expect_success("verify in a moved folder", run, "moved")
        # Another field takes the old place, and must not be taken for the parts.
        self.compute("again", k=4000)
        self.at("again").rename(folder)
        self.check("another field in the old place", moved, may_succeed=True)
        with h5py.File(moved / "field.h5") as file:
            if not numpy.array_equal(file["pressure"][...], self.whole):
                self.found("h5py takes parts of the old place", "moved")

    def test_with_a_part_that_was_compressed_later(self):
        folder = self.case()
        name = "field.h5"
        words = ["--part", "2/3", "--resume", "--compress", "1"]
        run = run_limited([PROGRAM, name, *words], cwd=folder)
        if self.expect_success("--compress of a part", run, PARTS[1]):
            self.check("a part compressed later", folder, may_succeed=True)
            run = run_limited([PROGRAM, "verify", name], cwd=folder)
            self.expect_success("verify with a part compressed later", run, PARTS[1])


if __name__ == "__main__":
    main()
