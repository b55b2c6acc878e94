# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Parts that were computed alone are one field when they are joined."""

import os
import resource
import shutil
import signal
import unittest

import h5py
import numpy
from programs import ProgramTest, arrays, options


class PartsTest(ProgramTest):
    def compute_parts(self, of=3, name="field", folder=".", **request):
        """The names of the parts' files."""
        self.at(folder).mkdir(exist_ok=True)
        width = len(str(of))
        names = [f"{folder}/{name}.part-{i:0{width}}-of-{of}.h5" for i in range(1, of + 1)]
        for i, path in enumerate(names, start=1):
            words = options(**request) + ["--slab", 500, "--part", f"{i}/{of}"]
            self.run_program(*words, f"{folder}/{name}.h5")
            self.assertTrue(self.at(path).exists())
        return names

    def values_of_whole(self, **request):
        self.run_program(*options(**request), "whole.h5", "--slab", 700)
        values = arrays(self.at("whole.h5"))
        del values["slabs"]
        return values

    def test_joined_have_the_values_of_the_whole(self):
        # Across z, across y where there are fewer layers than parts, and across x.
        for sizes, of in [((23, 17, 19), 3), ((23, 17, 2), 3), ((23, 2, 2), 5), ((23, 17, 19), 19)]:
            with self.subTest(sizes=sizes, of=of):
                folder = f"{of}.{sizes[2]}"
                self.at(folder).mkdir()
                self.run_program(*options(sizes=sizes), f"{folder}/whole.h5")
                expected = arrays(self.at(f"{folder}/whole.h5"))
                del expected["slabs"]
                width = len(str(of))
                parts = [f"{folder}/f.part-{i:0{width}}-of-{of}.h5" for i in range(1, of + 1)]
                for i in range(1, of + 1):
                    self.run_program(*options(sizes=sizes), "--part", f"{i}/{of}", f"{folder}/f.h5")
                self.run_program("join", f"{folder}/f.h5", *reversed(parts))
                self.assert_same_field(self.at(f"{folder}/f.h5"), expected)

    def test_stay_one_field_when_their_folder_moves(self):
        expected = self.values_of_whole()
        parts = self.compute_parts(folder="here")
        self.run_program("join", "here/field.h5", *parts)
        self.assert_same_field(self.at("here/field.h5"), expected)
        shutil.move(self.at("here"), self.at("there"))
        self.assert_same_field(self.at("there/field.h5"), expected)

    def test_may_lie_in_another_folder_and_have_any_name(self):
        expected = self.values_of_whole()
        parts = self.compute_parts(name="100%b & more %s", folder="my parts")
        self.at("joined").mkdir()
        self.run_program("join", "joined/field.h5", *parts)
        self.assert_same_field(self.at("joined/field.h5"), expected)

    def test_joined_are_extracted_and_single_precision_too(self):
        for mode in ("cpu", "cpusp"):
            parts = self.compute_parts(name=mode, mode=mode)
            self.run_program("join", f"{mode}.h5", *parts)
            self.run_program("extract", f"{mode}.h5", f"{mode}.bin")
            pressure = arrays(self.at(f"{mode}.h5"))["pressure"]
            extracted = numpy.fromfile(self.at(f"{mode}.bin"), dtype=pressure.dtype)
            self.assert_same_bits(extracted.reshape(pressure.shape), pressure)

    def test_are_read_by_a_process_that_may_open_few_files(self):
        parts = self.compute_parts(of=19)
        self.run_program("join", "field.h5", *parts)

        def limited_to(files):
            return lambda: resource.setrlimit(resource.RLIMIT_NOFILE, (files, files))

        few = limited_to(12)
        self.run_program("show", "field.h5", preexec_fn=few)
        self.run_program("verify", "field.h5", preexec_fn=few)
        self.run_program("extract", "field.h5", "values", preexec_fn=few)
        self.run_program("join", "again.h5", *parts, preexec_fn=few)
        pressure = arrays(self.at("field.h5"))["pressure"]
        self.assertEqual(self.at("values").read_bytes(), pressure.tobytes())
        before = self.files()
        for words in (["show", "field.h5"], ["extract", "field.h5", "others"]):
            message = self.refused(*words, preexec_fn=limited_to(4))
            self.assertIn("field.h5 cannot be opened as HDF5: Too many open files", message)
        self.assertEqual(self.files(), before)

    def test_that_disappear_leave_nan_and_nothing_else_changes(self):
        expected = self.values_of_whole()
        parts = self.compute_parts()
        self.run_program("join", "field.h5", *parts)
        self.at(parts[1]).unlink()
        found = arrays(self.at("field.h5"))
        with h5py.File(self.at(parts[0])) as first, h5py.File(self.at(parts[2])) as last:
            before, after = first["pressure"].shape[0], last.attrs["first_point"][2]
        for name, values in expected.items():
            self.assertTrue(numpy.all(numpy.isnan(found[name][before:after])), name)
            self.assert_same_bits(found[name][:before], values[:before], name)
            self.assert_same_bits(found[name][after:], values[after:], name)
        message = self.refused("extract", "field.h5", "values")
        self.assertIn("field.part-2-of-3.h5 cannot be opened", message)

    def test_joined_tell_who_computed_them(self):
        parts = self.compute_parts()
        self.run_program("join", "field.h5", *parts)
        with h5py.File(self.at("field.h5")) as joined:
            seconds = []
            for path in parts:
                with h5py.File(self.at(path)) as part:
                    seconds.append(part.attrs["seconds"])
                    self.assertLessEqual(joined.attrs["started"], part.attrs["started"])
                    self.assertGreaterEqual(joined.attrs["finished"], part.attrs["finished"])
            self.assertAlmostEqual(joined.attrs["seconds"], sum(seconds))
            self.assertEqual(joined.attrs["complete"], 1)

    def test_that_do_not_make_up_a_field_are_refused(self):
        first, second, third = self.compute_parts()
        other = self.compute_parts(name="other", k=4000)
        halves = self.compute_parts(name="half", of=2)
        bare = [f"bare.part-{i}-of-3.h5" for i in (1, 2, 3)]
        self.run_program(*options(), "--part", "3/3", "--no-magnitude", "bare.h5")
        self.at("text.h5").write_text("no field")
        kill = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES": "40"}
        self.run_program(
            *options(), "--slab", 100, "--part", "3/3", "cut.h5",
            env={**os.environ, **kill, "WRITES_THEN": "SIGKILL"}, status=-signal.SIGKILL,
        )  # fmt: skip
        before = self.files()
        for parts, reason in [
            ([first, third], "missing"),
            ([second], "missing"),
            ([first, second, third, second], f"{second} overlaps with {second[2:]}"),
            ([first, second, halves[1]], f"{halves[1]} overlaps with {second[2:]}"),
            ([first, second, other[2]], f"{other[2]} belongs to another field"),
            ([first, second, bare[2]], f"{bare[2]} belongs to another field"),
            ([first, second, "cut.part-3-of-3.h5"], "cut.part-3-of-3.h5 is not complete"),
            ([first, second, "text.h5"], "text.h5 cannot be opened as HDF5"),
            ([first, second, "nothing.h5"], "nothing.h5 cannot be opened as HDF5"),
        ]:
            with self.subTest(parts=parts):
                self.assertIn(reason, self.refused("join", "field.h5", *parts))
                self.assertEqual(self.files(), before)

    def test_that_do_not_belong_are_all_named(self):
        first, second, third = self.compute_parts()
        other = self.compute_parts(name="other", k=4000)
        message = self.refused("join", "field.h5", first, other[1], "nothing.h5", other[2])
        for name in (other[1], "nothing.h5", other[2]):
            self.assertIn(name, message)

    def test_that_change_after_joining_are_named_by_all_commands(self):
        parts = self.compute_parts()
        expected = self.values_of_whole()
        self.run_program("join", "field.h5", *parts)
        other = self.compute_parts(name="other", k=4000)
        self.run_program(*options(), "--slab", 100, "--part", "1/3", "again.h5")
        good = [self.at(part).read_bytes() for part in parts]

        def assert_told(*complaints):
            self.at("values").unlink(missing_ok=True)
            for words in (["extract", "field.h5", "values"], ["show", "field.h5"]):
                message = self.refused(*words)
                for complaint in complaints:
                    self.assertIn(complaint, message)
            run = self.run_program("verify", "field.h5", status=1)
            for complaint in complaints:
                self.assertIn(complaint.removeprefix("./"), run.out + run.err)
            self.assertFalse(self.at("values").exists())

        # Another request's, two of them.
        for i in (1, 2):
            self.at(parts[i]).write_bytes(self.at(other[i]).read_bytes())
        has_another = "has another request or other points than the part that was joined"
        names = [f"field.part-{i}-of-3.h5" for i in (1, 2, 3)]
        assert_told(f"{names[1]} {has_another}", f"{names[2]} {has_another}")
        # To others their values are not there.
        found = arrays(self.at("field.h5"))["pressure"]
        self.assertFalse(numpy.isnan(found[:7]).any())
        self.assertTrue(numpy.isnan(found[7:]).all())
        # Another place's.
        for i in (1, 2):
            self.at(parts[i]).write_bytes(good[3 - i])
        assert_told(f"{names[1]} {has_another}", f"{names[2]} {has_another}")
        # Of other slabs.
        for i in (1, 2):
            self.at(parts[i]).write_bytes(good[i])
        self.at(parts[0]).write_bytes(self.at("again.part-1-of-3.h5").read_bytes())
        assert_told(f"{names[0]} has other values than the part that was joined")
        # Unfinished.
        self.at(parts[0]).unlink()
        kill = {"LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"], "WRITES": "60"}
        self.run_program(
            *options(), "--slab", 100, "--part", "1/3", "field.h5",
            env={**os.environ, **kill, "WRITES_THEN": "SIGKILL"}, status=-signal.SIGKILL,
        )  # fmt: skip
        assert_told(names[0])
        # As before.
        self.at(parts[0]).write_bytes(good[0])
        self.run_program("verify", "field.h5")
        self.run_program("show", "field.h5")
        self.assert_same_field(self.at("field.h5"), expected)

    def test_in_the_working_folder_are_not_taken(self):
        parts = self.compute_parts(folder="here")
        self.run_program("join", "here/field.h5", *parts)
        other = self.compute_parts(name="other", k=4000)
        for path, mine in zip(parts, other):
            self.at(path).unlink()
            self.at(mine).rename(self.at(path.split("/")[1]))
        for words in (["extract", "here/field.h5", "values"], ["show", "here/field.h5"]):
            self.assertIn("here/field.part-1-of-3.h5 cannot be opened", self.refused(*words))
        before = os.getcwd()
        try:
            os.chdir(self.folder)
            self.assertTrue(numpy.isnan(arrays(self.at("here/field.h5"))["pressure"]).all())
        finally:
            os.chdir(before)

    def test_are_no_output(self):
        parts = self.compute_parts()
        before = self.at(parts[0]).read_bytes()
        os.link(self.at(parts[0]), self.at("same.h5"))
        for name in (parts[0], "same.h5"):
            message = self.refused("join", name, *parts, "--overwrite")
            self.assertIn("both input and output", message)
        self.assertEqual(self.at(parts[0]).read_bytes(), before)

    def test_are_not_joined_over_a_file(self):
        parts = self.compute_parts()
        self.at("field.h5").write_text("mine")
        self.assertIn("field.h5 exists", self.refused("join", "field.h5", *parts))
        self.assertEqual(self.at("field.h5").read_text(), "mine")
        self.at("field.h5.new").write_text("mine too")
        self.run_program("join", "field.h5", *parts, "--overwrite")
        self.run_program("verify", "field.h5")
        self.assertEqual(self.at("field.h5.new").read_text(), "mine too")

    def test_are_verified_and_resumed_one_by_one(self):
        parts = self.compute_parts()
        self.run_program("join", "field.h5", *parts)
        verified = self.run_program("verify", "field.h5").out
        self.assertEqual(verified, self.run_program("verify", *parts).out.replace("./", ""))
        self.assertIn("field.h5 is joined from parts", self.refused("field.h5", "--resume"))
        self.run_program("verify", *parts)
        self.run_program(*options(), "--part", "2/3", "field.h5", "--resume")

    def test_need_to_be_of_those_there_are(self):
        for part in ("0/3", "4/3", "1", "1/", "/3", "a/3", "1/3x", "-1/3", "1/-3"):
            with self.subTest(part=part):
                message = self.refused(*options(), f"--part={part}", "field.h5")
                self.assertIn(f"--part: '{part}' is not of the form 3/10", message)
        self.assertIn(
            "--part: no direction", self.refused(*options(), "--part", "1/24", "field.h5")
        )
        self.assertEqual(self.files(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
