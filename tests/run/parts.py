# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Parts that were computed alone are one field when they are joined."""

import os
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
        names = [f"{folder}/{name}.part-{i}-of-{of}.h5" for i in range(1, of + 1)]
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

    def test_are_not_joined_over_a_file(self):
        parts = self.compute_parts()
        self.at("field.h5").write_text("mine")
        self.assertIn("field.h5 exists", self.refused("join", "field.h5", *parts))
        self.assertEqual(self.at("field.h5").read_text(), "mine")

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
