# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""A request in SI units is that of the same field in raw numbers, and is checked as that is."""

import math
import unittest
from pathlib import Path

import h5py
import numpy
from programs import TILTED, ProgramTest, arrays, blocks_of, options

PAGE = Path(__file__).parents[2] / "docs" / "run.md"
REQUEST = ("transform", "sizes", "l", "s", "k", "mode", "order")

FREQUENCY = 1e6
AXES = """
[grid]
x = [-4e-3, 0.5e-3, 7]
y = 0.7e-3
z = [9e-3, 0.75e-3, 5]
"""


def request(grid=AXES, medium="", piston="", more="order = 40\n"):
    return (
        f"frequency = {FREQUENCY}\n{more}{medium}\n"
        f"[piston]\nwidth = 7.5e-3\nheight = 5e-3\n{piston}{grid}"
    )


def listed(matrix):
    """A matrix as a list of its rows."""
    return str([[float(value) for value in row] for row in matrix])


def attributes(path):
    with h5py.File(path, "r") as file:
        return {name: file.attrs[name] for name in REQUEST}


class SiTest(ProgramTest):
    def compute(self, text, *words, output="field.h5"):
        self.at("request.toml").write_text(text)
        self.run_program("--request", "request.toml", *words, output)
        return attributes(self.at(output))

    def complaint(self, text, *words, **others):
        self.at("request.toml").write_text(text)
        return self.refused("--request", "request.toml", *words, "field.h5", **others)


class ValuesTest(SiTest):
    def test_are_those_of_the_raw_request(self):
        found = self.compute(request())
        numpy.testing.assert_array_equal(
            found["transform"],
            [[0.5e-3, 0, 0, -4e-3], [0, 1, 0, 0.7e-3], [0, 0, 0.75e-3, 9e-3], [0, 0, 0, 1]],
        )
        numpy.testing.assert_array_equal(found["sizes"], [7, 1, 5])
        self.assertEqual((found["l"], found["s"], found["order"]), (5e-3, 7.5e-3, 40))
        # Water at 20 degrees Celsius.
        self.assertEqual(found["k"], 2 * math.pi * FREQUENCY / 1482)
        raw = options(found["transform"].ravel().tolist(), (7, 1, 5), k=found["k"], order=40)
        self.run_program(*raw, "raw.h5")
        self.assert_same_field(self.at("field.h5"), arrays(self.at("raw.h5")))
        self.run_program("--request", "request.toml", "together.h5", ranks=3)
        self.assert_same_field(self.at("together.h5"), arrays(self.at("raw.h5")))

    def test_are_of_the_medium_that_is_said(self):
        found = self.compute(request(medium="[medium]\nspeed = 343\ndensity = 1.2\n"))
        self.assertEqual(found["k"], 2 * math.pi * FREQUENCY / 343)

    def test_have_the_transform_that_the_functions_have(self):
        usual = numpy.array(TILTED).reshape(4, 4) / 2
        grid = f"[grid]\ntransform = {listed(usual.T)}\nsizes = [4, 5, 6]\n"
        found = self.compute(request(grid))
        numpy.testing.assert_array_equal(found["transform"], usual)
        numpy.testing.assert_array_equal(found["sizes"], [4, 5, 6])

    def test_are_those_of_the_integral_over_a_piston_elsewhere(self):
        a, b = 0.3, -0.2
        about_y = [[math.cos(a), 0, math.sin(a)], [0, 1, 0], [-math.sin(a), 0, math.cos(a)]]
        about_x = [[1, 0, 0], [0, math.cos(b), -math.sin(b)], [0, math.sin(b), math.cos(b)]]
        turn = numpy.array(about_y) @ about_x
        center = numpy.array([1e-3, -2e-3, 0.5e-3])
        piston = f"center = {center.tolist()}\norientation = {listed(turn)}\n"
        found = self.compute(request(piston=piston))
        pressure = arrays(self.at("field.h5"))["pressure"]
        # Smooth at this distance: 60 nodes a side are exact to rounding.
        nodes, weights = numpy.polynomial.legendre.leggauss(60)
        u, v = (w.ravel() for w in numpy.meshgrid(nodes * 3.75e-3, nodes * 2.5e-3))
        elements = center + numpy.outer(u, turn[:, 0]) + numpy.outer(v, turn[:, 1])
        areas = numpy.outer(weights, weights).ravel() * 3.75e-3 * 2.5e-3
        for ix, iz in [(0, 0), (6, 4), (3, 2)]:
            at = [-4e-3 + 0.5e-3 * ix, 0.7e-3, 9e-3 + 0.75e-3 * iz]
            distance = numpy.linalg.norm(elements - at, axis=1)
            wave = numpy.exp(-1j * found["k"] * distance) / distance
            expected = found["k"] / (2 * math.pi) * numpy.sum(areas * wave)
            self.assertLess(abs(pressure[iz, 0, ix] - expected), 1e-12)

    def test_do_not_depend_on_what_makes_pascals_of_them(self):
        self.compute(request())
        expected = arrays(self.at("field.h5"))
        louder = request(more="order = 40\nvelocity = 0.02\n", medium="[medium]\ndensity = 900\n")
        self.compute(louder, output="louder.h5")
        self.assert_same_field(self.at("louder.h5"), expected)

    def test_of_the_page_are_those_of_its_raw_request(self):
        raw, si = [block for block in blocks_of(PAGE) if "\ntolerance = 1e-4" in block]
        sizes = ["--sizes", 3, 4, 5]
        expected = self.compute(raw, *sizes, output="raw.h5")
        found = self.compute(si, *sizes)
        # There the wavenumber has six digits.
        self.assertAlmostEqual(found.pop("k") / expected.pop("k"), 1, delta=2e-6)
        for name, value in expected.items():
            numpy.testing.assert_array_equal(found[name], value, name)


class OptionsTest(SiTest):
    def test_count_before_the_file(self):
        words = ["--mode", "cpusp", "--order", 7, "--slab", 9, "--sizes", 7, 1, 3, "-l", 6e-3]
        found = self.compute(request(), *words)
        self.assertEqual((found["mode"], found["order"], found["l"]), ("cpusp", 7, 6e-3))
        numpy.testing.assert_array_equal(found["sizes"], [7, 1, 3])
        with h5py.File(self.at("field.h5"), "r") as file:
            self.assertLessEqual(numpy.prod(file.attrs["slab_sizes"]), 9)

    def test_go_on_with_the_same_request_alone(self):
        self.compute(request())
        before = self.at("field.h5").read_bytes()
        self.compute(request(), "--resume")
        for text, place in [
            (request().replace(str(FREQUENCY), "2e6"), "request.toml:1: frequency"),
            (request(medium="[medium]\nspeed = 1500\n"), "request.toml:1: frequency"),
            (request().replace("7.5e-3", "7e-3"), "request.toml:5: piston.width"),
            (request().replace("= 0.7e-3", "= 0.8e-3"), "request.toml:8: grid"),
        ]:
            with self.subTest(text=text):
                self.assertIn(f"{place} differs", self.complaint(text, "--resume"))
        self.assertEqual(self.at("field.h5").read_bytes(), before)


class MistakesTest(SiTest):
    def test_are_told_with_their_line(self):
        for text, complaint in [
            (request(more="k = 4000\n"), "1: frequency, in SI units, excludes request.toml:2: k"),
            (
                "l = 5e-3\n[piston]\nwidth = 1\nheight = 1\n",
                "2: piston, in SI units, excludes request.toml:1: l",
            ),
            (request(more="frequenzy = 1\n"), "2: frequenzy is no option, did you mean frequency?"),
            (request(more="speed = 1\n"), "2: speed is no option, did you mean medium.speed?"),
            (request(piston="centre = [0, 0, 0]\n"), "7: piston.centre is no option, did you mean"),
            (request(piston="center = [0, 0]\n"), "7: piston.center: takes 3 numbers, not 2"),
            (request(piston="orientation = [[1, 0], [0, 1]]\n"), "7: piston.orientation: takes 9"),
            (request(piston="orientation = [2, 0, 0, 0, 1, 0, 0, 0, 1]\n"), "must be a 3 by 3"),
            (
                request(AXES + "sizes = [1, 1, 1]\n"),
                "12: grid.sizes excludes request.toml:9: grid.x",
            ),
            (request(AXES.replace("7]", "7.0]")), "9: grid.x: '7.0' is no whole number"),
            (request(AXES.replace("7]", "]")), "9: grid.x: takes the first coordinate, the step"),
            (request(AXES.replace("0.7e-3", "inf")), "10: grid.y: every number must be finite"),
            (request(AXES.replace("y = 0.7e-3", "")), "request.toml: grid.y is missing"),
            (request(""), "request.toml: grid is missing"),
            (AXES, "request.toml: frequency is missing"),
            ("piston = 3\n", "1: piston: is a table, as [piston]"),
            (request().replace("7.5e-3", "0"), "5: piston.width: must be a number above 0"),
        ]:
            for ranks in (1, 3) if text == AXES else (1,):
                with self.subTest(text=text, ranks=ranks):
                    self.assertIn(complaint, self.complaint(text, ranks=ranks))
        self.assertEqual(self.files(), ["request.toml"])

    def test_with_a_transform_of_the_other_form_are_told(self):
        usual = numpy.array(TILTED).reshape(4, 4) / 2
        grid = f"[grid]\ntransform = {listed(usual)}\nsizes = [4, 5, 6]\n"
        self.assertIn("8: grid.transform: the last column must be", self.complaint(request(grid)))
        raw = f"transform = {usual.T.ravel().tolist()}\nsizes = [4, 5, 6]\nl = 1\ns = 1\nk = 1\n"
        self.assertIn("1: transform: the last row must be", self.complaint(raw))


if __name__ == "__main__":
    unittest.main(verbosity=2)
