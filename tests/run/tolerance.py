# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A field with a tolerance keeps it, is the same however it is computed, and is another field than
one with another tolerance."""

import os
import re
import unittest

import h5py
import numpy
from programs import (
    TILTED,
    TILTED_POINTS,
    ProgramTest,
    arrays,
    attributes,
    options,
    tilted_place,
    values_of,
)

L, S, K = 5e-3, 7.5e-3, 4188.79

# Steps of 0.5 from -1.5 to 1.5 along z.
BOTH_SIDES = [0.75, 0, 0, -2, 0, 0.5, 0, -1, 0, 0, 0.5, -1.5, 0, 0, 0, 1]


def request(tolerance=1e-6, **others):
    return options(tolerance=tolerance, **others)


def both_sides():
    return request(1e-8, transform=BOTH_SIDES, sizes=(6, 5, 7), l=1.25, s=2.5, k=7)


class ValuesTest(ProgramTest):
    def expected(self, at):
        """The integral over the piston, and what a local tolerance is relative to."""
        place = tilted_place(at)
        # Smooth at this distance: 100 nodes a side are exact to rounding.
        nodes, weights = numpy.polynomial.legendre.leggauss(100)
        u, v = numpy.meshgrid(nodes * S / 2, nodes * L / 2)
        areas = numpy.outer(weights, weights) * S * L / 4
        distance = numpy.sqrt((place[0] - u) ** 2 + (place[1] - v) ** 2 + place[2] ** 2)
        wave = numpy.exp(-1j * K * distance) / distance
        reach = max(numpy.linalg.norm(place), numpy.sqrt(S * L) / 4)
        local = min(1, K * S * L / (2 * numpy.pi * reach))
        return K / (2 * numpy.pi) * numpy.sum(areas * wave), local

    def assert_kept(self, tolerance, relative, precision, device="cpu"):
        words = request(tolerance, relative=relative, precision=precision, device=device)
        self.run_program(*words, "field.h5", "--overwrite")
        pressure = arrays(self.at("field.h5"))["pressure"]
        self.assertEqual(pressure.dtype, "c16" if precision == "double" else "c8")
        largest = numpy.max(abs(pressure))
        worst = 0
        for at in TILTED_POINTS:
            value, local = self.expected(at)
            unit = largest if relative == "largest" else local
            worst = max(worst, abs(pressure[at] - value) / unit)
        print(f"{device}, {precision}, {relative}: {worst:.2g} of {tolerance:g}")
        self.assertLessEqual(worst, tolerance)

    def test_keep_the_tolerance(self):
        for relative in ("largest", "local"):
            for tolerance in (1e-2, 1e-6, 1e-11):
                with self.subTest(relative=relative, tolerance=tolerance):
                    self.assert_kept(tolerance, relative, "double")
            with self.subTest(relative=relative, precision="single"):
                self.assert_kept(1e-3, relative, "single")
            with self.subTest(relative=relative, device="gpu"):
                self.assert_kept(1e-11, relative, "double", "gpu")
                self.assert_kept(1e-3, relative, "single", "gpu")

    def test_take_more_evaluations_for_a_smaller_tolerance(self):
        evaluations = []
        for tolerance in (1e-2, 1e-6, 1e-11):
            self.run_program(*request(tolerance), "field.h5", "--overwrite")
            evaluations.append(attributes(self.at("field.h5"))["evaluations"])
        self.assertEqual(sorted(set(evaluations)), evaluations)

    def test_are_there_over_corners_and_edges(self):
        transform = [0.625, 0, 0, -1.25, 0, 0.625, 0, -0.625, 0, 0, 0.5, 0, 0, 0, 0, 1]
        words = request(transform=transform, sizes=(5, 3, 4), l=1.25, s=2.5, k=7)
        self.run_program(*words, "field.h5")
        self.assertFalse(numpy.isnan(arrays(self.at("field.h5"))["pressure"]).any())
        self.assertEqual(attributes(self.at("field.h5"))["undefined"], 0)


class SameFieldTest(ProgramTest):
    def test_is_written_by_any_number_of_processes(self):
        for precision in ("double", "single"):
            words = request(1e-4, precision=precision, relative="local") + ["--slab", 611]
            self.run_program(*words, "one.h5")
            alone = arrays(self.at("one.h5"))
            self.assertGreater(len(alone["slabs"]), 4)
            for ranks in (2, 3):
                with self.subTest(precision=precision, ranks=ranks):
                    self.run_program(*words, "many.h5", "--overwrite", ranks=ranks)
                    self.assert_same_field(self.at("many.h5"), alone)
                    one, many = attributes(self.at("one.h5")), attributes(self.at("many.h5"))
                    for name in ("error_bound", "error", "error_points", "evaluations"):
                        self.assertEqual(one[name], many[name], name)
            self.at("one.h5").unlink()

    def test_is_written_on_a_gpu_by_any_number_of_processes(self):
        words = request(1e-4, device="gpu") + ["--slab", 611]
        self.run_program(*words, "one.h5")
        alone = arrays(self.at("one.h5"))
        self.run_program(*words, "many.h5", ranks=2)
        self.assert_same_field(self.at("many.h5"), alone)
        self.assertEqual(attributes(self.at("many.h5"))["mode"], "cudadp")

    def test_has_the_same_values_in_slabs_of_any_size_and_by_any_threads(self):
        self.run_program(*request(), "whole.h5")
        whole = values_of(self.at("whole.h5"))
        for slab, threads in [(7, 1), (391, 2), (1001, 5)]:
            with self.subTest(slab=slab, threads=threads):
                words = ["--slab", slab, "--threads", threads, "--overwrite"]
                self.run_program(*request(), *words, "field.h5")
                for name, values in values_of(self.at("field.h5")).items():
                    self.assert_same_bits(values, whole[name], name)

    def kill_while_computing(self, words, ranks):
        """Has the last process end in the middle of its work."""
        killing = {
            "LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"],
            # The first process creates the file, too.
            "WRITES": "60" if ranks == 1 else "12",
            "WRITES_THEN": "SIGKILL",
            "WRITES_RANK": str(ranks - 1) if ranks > 1 else "",
        }
        process = self.start(*words, ranks=ranks, env={**os.environ, **killing})
        process.communicate(timeout=120)
        self.assertNotEqual(process.returncode, 0)

    def test_comes_of_a_run_that_was_interrupted(self):
        words = request() + ["--slab", 100]
        self.run_program(*words, "whole.h5")
        expected = arrays(self.at("whole.h5"))
        for ranks, others in [(1, 3), (2, 1), (3, 2)]:
            name = f"{ranks}.h5"
            with self.subTest(ranks=ranks):
                self.kill_while_computing([*words, name], ranks)
                with h5py.File(self.at(name)) as file:
                    finished = sum(file["slabs"]["finished"])
                    self.assertTrue(0 < finished < len(file["slabs"]), finished)
                    self.assertEqual(file.attrs["complete"], 0)
                    self.assertEqual(file.attrs["error_points"], 0)
                self.assertNotIn("error", self.run_program("show", name).out)
                self.run_program(name, "--resume", ranks=others)
                self.assert_same_field(self.at(name), expected)
                self.assertGreater(attributes(self.at(name))["error_points"], 0)

    def test_is_made_of_parts(self):
        self.run_program(*request(), "whole.h5")
        whole = values_of(self.at("whole.h5"))
        parts = [f"field.part-{i}-of-3.h5" for i in (1, 2, 3)]
        for i in (1, 2, 3):
            self.run_program(*request(), "--part", f"{i}/3", "--slab", 500, "field.h5")
        self.run_program("join", "field.h5", *parts)
        for name, values in values_of(self.at("field.h5")).items():
            self.assert_same_bits(values, whole[name], name)
        self.run_program("verify", "field.h5")
        self.run_program("extract", "field.h5", "values")
        self.assertEqual(self.at("values").read_bytes(), whole["pressure"].tobytes())
        found = attributes(self.at("field.h5"))
        self.assertEqual((found["tolerance"], found["relative"]), (1e-6, "largest"))
        self.assertEqual(found["error"], attributes(self.at(parts[0]))["error"])
        self.assertIn("tolerance = ", self.run_program("show", "field.h5").out)

    def test_is_compressed_with_its_account(self):
        self.run_program(*request(), "field.h5")
        before = attributes(self.at("field.h5"))
        values = values_of(self.at("field.h5"))
        self.run_program("field.h5", "--resume", "--compress", 1)
        after = attributes(self.at("field.h5"))
        for name in ("tolerance", "relative", "behind", "error_bound", "error", "evaluations"):
            self.assertEqual(after[name], before[name], name)
        for name, found in values_of(self.at("field.h5")).items():
            self.assert_same_bits(found, values[name], name)


class OtherFieldTest(ProgramTest):
    OTHERS = [
        ["--tolerance", 1.0000000000000002e-6],
        ["--tolerance", 1e-6, "--relative", "local"],
        ["--tolerance", 1e-6, "--behind"],
        ["--tolerance", 1e-6, "--precision", "single"],
        ["--tolerance", 1e-6, "--device", "gpu"],
        ["--order", 10],
    ]

    def test_is_not_joined_with_it(self):
        for number in (1, 2):
            self.run_program(*request(), "--part", f"{number}/2", "field.h5")
        first, second = "field.part-1-of-2.h5", "field.part-2-of-2.h5"
        self.run_program("join", "joined.h5", first, second)
        for words in self.OTHERS:
            # Its rounding is above that tolerance.
            if "single" in words:
                words = ["--tolerance", 1e-3, "--precision", "single"]
            with self.subTest(words=words):
                self.run_program(*options(), *words, "--part", "2/2", "o.h5", "--overwrite")
                other = "o.part-2-of-2.h5"
                self.assertIn(
                    f"{other} belongs to another field",
                    self.refused("join", "bad.h5", first, other),
                )
                good = self.at(second).read_bytes()
                self.at(second).write_bytes(self.at(other).read_bytes())
                for command in (["show", "joined.h5"], ["extract", "joined.h5", "values"]):
                    self.assertIn(
                        f"{second} has another request or other points than the part",
                        self.refused(*command),
                    )
                self.at(second).write_bytes(good)
        self.run_program("verify", "joined.h5")

    def test_is_not_gone_on_with(self):
        self.run_program(*request(), "field.h5")
        before = self.at("field.h5").read_bytes()
        for words, option in [
            (["--tolerance", 1.0000000000000002e-6], "--tolerance"),
            (["--relative", "local"], "--relative"),
            (["--precision", "single"], "--precision"),
            (["--device", "gpu"], "--device"),
            (["--behind"], "--behind"),
            (["--order", 10], "--order"),
            (["--mode", "cpu"], "--mode"),
            (["--table", "0 2"], "--table"),
        ]:
            with self.subTest(words=words):
                message = self.refused("field.h5", "--resume", *words)
                self.assertIn(f"{option} differs from the request that field.h5", message)
        for words in (
            [],
            request(),
            ["--tolerance", 1e-6],
            ["--relative", "largest"],
            ["--precision", "double"],
            ["--device", "cpu"],
        ):
            with self.subTest(words=words):
                self.run_program("field.h5", "--resume", *words)
        self.assertEqual(self.at("field.h5").read_bytes(), before)
        self.run_program(*options(), "rule.h5")
        for words in (["--tolerance", 1e-6], ["--precision", "double"], ["--relative", "largest"]):
            with self.subTest(words=words):
                message = self.refused("rule.h5", "--resume", *words)
                self.assertIn(f"{words[0]} differs from the request", message)


class OptionsTest(ProgramTest):
    def test_that_a_tolerance_excludes_are_named(self):
        for words in (["--mode", "cpu"], ["--order", 9], ["--table", "0 2"]):
            for ranks in (1, 3) if words[0] == "--mode" else (1,):
                message = self.refused(*request(), *words, "field.h5", ranks=ranks)
                self.assertIn(f"{words[0]} excludes --tolerance", message)
        self.assertEqual(self.files(), [])

    def test_without_meaning_are_refused(self):
        for words, complaint in [
            (["--tolerance", 0], "--tolerance: must be above 0 and below 1"),
            (["--tolerance", 1], "--tolerance: must be above 0 and below 1"),
            (["--tolerance", "nan"], "--tolerance: must be above 0 and below 1"),
            (["--tolerance", "fine"], "--tolerance: 'fine' is no number"),
            (["--tolerance", 0.1, "--relative", "me"], "--relative: 'me' is none of largest"),
            (["--tolerance", 0.1, "--precision", "half"], "--precision: 'half' is none of double"),
            (["--relative", "local"], "--relative goes with a tolerance, and there is none"),
            (["--precision", "single"], "--precision goes with a tolerance, and there is none"),
            (["--tolerance", 0.1, "--device", "tpu"], "--device: 'tpu' is none of cpu, gpu"),
            (["--device", "gpu"], "--device goes with a tolerance, and there is none"),
            (["--behind"], "--behind goes with a tolerance, and there is none"),
            (["--tolerance", 1e-9, "--precision", "single"], "--tolerance: "),
        ]:
            with self.subTest(words=words):
                self.assertIn(complaint, self.refused(*options(), *words, "field.h5"))
        self.assertEqual(self.files(), [])

    def test_may_be_keys_of_a_request_file(self):
        self.run_program(*request(1e-5, relative="local"), "raw.h5")
        raw = arrays(self.at("raw.h5"))
        keys = (
            f"transform = {TILTED}\nsizes = [23, 17, 19]\nl = {L}\ns = {S}\nk = {K}\n"
            'tolerance = 1e-5\nrelative = "local"\nprecision = "double"\nbehind = false\n'
        )
        si = (
            f"frequency = {K * 1482 / (2 * numpy.pi)}\ntolerance = 1e-3\nrelative = 'local'\n"
            "precision = 'single'\n[piston]\nwidth = 7.5e-3\nheight = 5e-3\n"
            "[grid]\nx = [-4e-3, 0.5e-3, 7]\ny = 0.7e-3\nz = [9e-3, 0.75e-3, 5]\n"
        )
        for ranks in (1, 3):
            self.at("request.toml").write_text(keys)
            words = ["--request", "request.toml", "field.h5", "--overwrite"]
            self.run_program(*words, ranks=ranks)
            self.assert_same_field(self.at("field.h5"), raw)
            self.at("request.toml").write_text(si)
            self.run_program(*words, ranks=ranks)
            found = attributes(self.at("field.h5"))
            self.assertEqual((found["tolerance"], found["relative"]), (1e-3, "local"))
            self.assertEqual(found["mode"], "cpusp")

    def test_win_over_the_file(self):
        self.at("request.toml").write_text("order = 9\n")
        words = [*options(), "--request", "request.toml", "--tolerance", 1e-4, "field.h5"]
        self.run_program(*words)
        self.assertEqual(attributes(self.at("field.h5"))["tolerance"], 1e-4)
        self.at("request.toml").write_text("tolerance = 1e-4\n")
        words = [*options(), "--request", "request.toml", "--order", 9, "field.h5", "--overwrite"]
        self.run_program(*words)
        self.assertEqual(attributes(self.at("field.h5"))["order"], 9)
        self.assertNotIn("tolerance", attributes(self.at("field.h5")))


class AccountTest(ProgramTest):
    def test_is_told_and_kept(self):
        estimate = self.run_program(*request(1e-5), "field.h5", "--estimate").out
        self.assertEqual(self.files(), [])
        self.assertIn("double precision, tolerance 1e-05 of the largest |p|", estimate)
        self.run_program(*request(1e-5), "field.h5")
        found = attributes(self.at("field.h5"))
        self.assertEqual((found["format"], found["order"], found["mode"]), (3, 0, "cpu"))
        self.assertEqual((found["tolerance"], found["relative"]), (1e-5, "largest"))
        self.assertEqual(found["behind"], 0)
        self.assertGreater(found["error_points"], 0)
        self.assertLessEqual(found["error"], found["error_bound"])
        self.assertLessEqual(found["error_bound"], 1e-5)
        self.assertGreater(found["evaluations"], 0)
        told = re.search(
            r"error   (\S+) measured at (\d+) points, (\S+) at most; (\S+) evaluations", estimate
        )
        self.assertEqual(float(told[1]), float(f"{found['error']:.2g}"))
        self.assertEqual(int(told[2]), found["error_points"])
        self.assertEqual(float(told[3]), float(f"{found['error_bound']:.2g}"))
        self.assertAlmostEqual(float(told[4]) / found["evaluations"], 1, delta=0.01)
        shown = self.run_program("show", "field.h5").out
        for name in ("error_bound", "error", "evaluations"):
            self.assertIn(f"\n# {name} = {found[name]:.17g}\n", shown)
        self.assertIn(f"\n# error_points = {found['error_points']}\n", shown)

    def test_of_a_field_that_has_none_has_nothing_new(self):
        self.run_program(*options(), "field.h5")
        found = attributes(self.at("field.h5"))
        self.assertEqual((found["format"], found["order"]), (2, 10))
        for name in ("tolerance", "relative", "behind", "error_bound", "error", "evaluations"):
            self.assertNotIn(name, found)

    def test_that_was_changed_is_refused(self):
        for name, value in [("tolerance", 2e-6), ("error", 0.0), ("behind", 1)]:
            with self.subTest(name=name):
                self.run_program(*request(), "field.h5", "--overwrite")
                with h5py.File(self.at("field.h5"), "r+") as file:
                    file.attrs.modify(name, value)
                message = self.refused("show", "field.h5")
                self.assertIn("what it says of its field is not what this program", message)


class BehindTest(ProgramTest):
    def test_points_are_refused_by_name(self):
        for ranks in (1, 3):
            message = self.refused(*both_sides(), "field.h5", ranks=ranks)
            self.assertIn("--transform: ", message)
            self.assertIn("-1.5", message)
        self.assertEqual(self.files(), [])

    def test_points_have_the_values_of_those_before(self):
        for ranks in (1, 3):
            words = [*both_sides(), "--behind", "--slab", 40, "field.h5", "--overwrite"]
            said = self.run_program(*words, ranks=ranks).out
            self.assertIn("some points lie behind the piston, where values are those of", said)
            pressure = arrays(self.at("field.h5"))["pressure"]
            self.assertFalse(numpy.isnan(pressure).any())
            apart = numpy.max(abs(pressure[:3] - pressure[:3:-1]))
            self.assertLessEqual(apart, 2e-8 * numpy.max(abs(pressure)))
            self.assertEqual(attributes(self.at("field.h5"))["behind"], 1)
            self.assertIn("\nbehind = true\n", self.run_program("show", "field.h5").out)


if __name__ == "__main__":
    unittest.main(verbosity=2)
