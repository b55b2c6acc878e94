# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Fields of pistons of other shapes than a rectangle are the integrals over them, and are kept with
the shape, whoever computes them."""

import math
import unittest

import h5py
import numpy
from programs import ProgramTest, arrays, datasets

K = 2 * math.pi * 1e6 / 1500
LOSSES = 15.0

HEAD = """frequency = 1e6
tolerance = 1e-9
{more}
[medium]
speed = 1500
nepers = 15
"""

AXIS = """
[grid]
x = 0
y = 0
z = [0.5e-3, 0.5e-3, 160]
"""

PLANE = """
[grid]
x = [-6e-3, 1e-3, 13]
y = 0.5e-3
z = [4e-3, 2e-3, 9]
"""

DISC = 'shape = "disc"\nradius = 10e-3\n'
RING = 'shape = "ring"\ninner = 4e-3\nouter = 10e-3\n'
SECTOR = 'shape = "sector"\ninner = 4e-3\nouter = 10e-3\nangles = [-0.3, 1.1]\n'
SLICE = 'shape = "sector"\nouter = 7e-3\nangles = [2, 3.7]\n'
# As an L, and turning away from the y axis.
POLYGON = """shape = "polygon"
corners = [[-4e-3, -3e-3], [-4e-3, 5e-3], [1e-3, 5e-3], [1e-3, 2e-3], [3e-3, 2e-3], [3e-3, -3e-3]]
"""
SHAPES = (DISC, RING, SECTOR, SLICE, POLYGON)


def attributes(path):
    with h5py.File(path) as file:
        return dict(file.attrs)


def values_of(path):
    values = arrays(path)
    values.pop("slabs", None)
    return values


def from_circle(radius, z, baffle):
    """On the axis the part of the integral that a circle of the piston's boundary has."""
    k = K - 1j * LOSSES
    distance = numpy.sqrt(radius**2 + z**2)
    wave = numpy.exp(-1j * k * distance)
    rigid = K / (1j * k) * wave
    soft = -1j * z / distance * wave
    return {"rigid": rigid, "soft": soft, "free": (rigid + soft) / 2}[baffle]


def positions():
    """The points of PLANE, in the order [z][y][x]."""
    iz, ix = numpy.meshgrid(numpy.arange(9), numpy.arange(13), indexing="ij")
    points = [-6e-3 + 1e-3 * ix, 0.5e-3 + 0 * ix, 4e-3 + 2e-3 * iz]
    return numpy.stack(points, axis=-1).reshape(9, 1, 13, 3)


def summed(face, areas):
    """The integral over a face of which there are places with areas."""
    distance = numpy.linalg.norm(positions()[..., None, :] - face, axis=-1)
    wave = numpy.exp(-1j * (K - 1j * LOSSES) * distance) / distance
    return K / (2 * numpy.pi) * numpy.sum(areas * wave, axis=-1)


class ShapeTest(ProgramTest):
    def write(self, piston, grid=PLANE, more="", head=HEAD):
        self.at("request.toml").write_text(head.format(more=more) + grid + "[piston]\n" + piston)

    def compute(self, piston, *words, output="field.h5", ranks=1, **text):
        self.write(piston, **text)
        self.run_program("--request", "request.toml", *words, output, ranks=ranks)
        return arrays(self.at(output))["pressure"]

    def complaint(self, piston, *words, **text):
        self.write(piston, **text)
        return self.refused("--request", "request.toml", *words, "field.h5").split(": ", 1)[1]

    def assert_close(self, found, expected, tolerance=1e-9):
        off = numpy.max(abs(found - expected))
        self.assertLessEqual(off, tolerance * numpy.max(abs(expected)))


class ValuesTest(ShapeTest):
    def test_on_the_axis_are_those_of_circles(self):
        z = 0.5e-3 * (1 + numpy.arange(160))
        for baffle in ("rigid", "soft", "free"):
            axis = {"grid": AXIS, "more": f'baffle = "{baffle}"\n'}
            for piston, inner, outer, part in [
                (DISC, 0, 10e-3, 1),
                (RING, 4e-3, 10e-3, 1),
                (SECTOR, 4e-3, 10e-3, 1.4 / (2 * math.pi)),
                (SLICE, 0, 7e-3, 1.7 / (2 * math.pi)),
            ]:
                with self.subTest(baffle=baffle, piston=piston):
                    found = self.compute(piston, "--overwrite", **axis).ravel()
                    expected = from_circle(inner, z, baffle) - from_circle(outer, z, baffle)
                    self.assert_close(found, part * expected)

    def test_are_those_of_the_integral_over_a_disc_elsewhere(self):
        a = 0.3
        rows = [[math.cos(a), 0, math.sin(a)], [0, 1, 0], [-math.sin(a), 0, math.cos(a)]]
        turn = numpy.array(rows)
        center = numpy.array([1e-3, -2e-3, -2e-3])
        place = f"center = {center.tolist()}\norientation = {rows}\n"
        found = self.compute('shape = "disc"\nradius = 3e-3\n' + place)
        nodes, weights = numpy.polynomial.legendre.leggauss(60)
        radii, angles = 1.5e-3 * (1 + nodes), 2 * numpy.pi / 120 * numpy.arange(120)
        r, t = (values.ravel() for values in numpy.meshgrid(radii, angles))
        areas = numpy.tile(1.5e-3 * weights * radii, 120) * 2 * numpy.pi / 120
        across = numpy.outer(r * numpy.cos(t), turn[:, 0])
        face = center + across + numpy.outer(r * numpy.sin(t), turn[:, 1])
        self.assert_close(found, summed(face, areas))

    def test_are_those_of_the_integral_over_a_polygon(self):
        nodes, weights = numpy.polynomial.legendre.leggauss(60)
        expected = 0
        for left, right, low, high in [(-4, 1, -3, 5), (1, 3, -3, 2)]:
            x = (left + right + (right - left) * nodes) * 0.5e-3
            y = (low + high + (high - low) * nodes) * 0.5e-3
            u, v = (values.ravel() for values in numpy.meshgrid(x, y))
            areas = numpy.outer(weights, weights).ravel() * (right - left) * (high - low) * 0.25e-6
            expected = expected + summed(numpy.stack([u, v, 0 * u], axis=-1), areas)
        self.assert_close(self.compute(POLYGON), expected)

    def test_of_a_polygon_with_four_corners_are_those_of_the_rectangle(self):
        corners = "[[-2e-3, -3e-3], [2e-3, -3e-3], [2e-3, 3e-3], [-2e-3, 3e-3]]"
        found = self.compute(f'shape = "polygon"\ncorners = {corners}\n')
        expected = self.compute("width = 4e-3\nheight = 6e-3\n", output="rectangle.h5")
        self.assert_close(found, expected, 2e-9)
        flat = corners.replace("[", "").replace("]", "")
        same = self.compute(f'shape = "polygon"\ncorners = [{flat}]\n', output="flat.h5")
        self.assert_same_bits(same, found)

    def test_are_those_of_a_lattice_in_raw_numbers(self):
        self.compute(DISC)
        raw = "transform = [1e-3, 0, 0, -6e-3, 0, 1, 0, 0.5e-3, 0, 0, 2e-3, 4e-3, 0, 0, 0, 1]\n"
        raw += f"sizes = [13, 1, 9]\nk = {K!r}\ntolerance = 1e-9\nattenuation = 15\n"
        self.at("raw.toml").write_text(raw + "[piston]\n" + DISC)
        self.run_program("--request", "raw.toml", "raw.h5")
        self.assert_same_field(self.at("raw.h5"), arrays(self.at("field.h5")))


class SameFieldTest(ShapeTest):
    def test_is_written_by_any_number_of_processes(self):
        self.compute(SECTOR, "--slab", 20, output="one.h5")
        alone = arrays(self.at("one.h5"))
        self.assertGreater(len(alone["slabs"]), 4)
        for ranks in (2, 3):
            self.compute(SECTOR, "--slab", 20, "--overwrite", output="many.h5", ranks=ranks)
            self.assert_same_field(self.at("many.h5"), alone)

    def test_is_made_of_parts(self):
        self.compute(RING, output="whole.h5")
        whole = values_of(self.at("whole.h5"))
        parts = [f"field.part-{i}-of-2.h5" for i in (1, 2)]
        for i in (1, 2):
            self.write(RING)
            self.run_program("--request", "request.toml", "--part", f"{i}/2", "field.h5")
        self.run_program("join", "field.h5", *parts)
        for name, values in values_of(self.at("field.h5")).items():
            self.assert_same_bits(values, whole[name], name)
        self.run_program("verify", "field.h5")
        self.run_program("extract", "field.h5", "values")
        self.assertEqual(self.at("values").read_bytes(), whole["pressure"].tobytes())

    def test_is_that_of_the_request_which_is_shown(self):
        # A sector whose angles' difference is rounded, too.
        fine = 'shape = "sector"\nouter = 7e-3\nangles = [-6.1, 0.10000000000000001]\n'
        for piston in (*SHAPES, fine):
            with self.subTest(piston=piston):
                self.compute(piston, "--overwrite")
                shown = self.run_program("show", "field.h5").out
                self.assertIn("\n[piston]\nshape = ", shown)
                self.at("again.toml").write_text(shown)
                self.run_program("--request", "again.toml", "again.h5", "--overwrite")
                self.assert_same_field(self.at("again.h5"), arrays(self.at("field.h5")))
                identities = {attributes(self.at(n))["identity"] for n in ("field.h5", "again.h5")}
                self.assertEqual(len(identities), 1)
                again = self.run_program("show", "again.h5").out
                lines = [
                    [line for line in text.splitlines() if not line.startswith("#")]
                    for text in (shown, again)
                ]
                self.assertEqual(*lines)

    def test_is_gone_on_with(self):
        self.compute(POLYGON, "--slab", 20)
        expected = arrays(self.at("field.h5"))
        with h5py.File(self.at("field.h5"), "r+") as file:
            file["pressure"][2] = 0
        self.assertEqual(self.run_program("verify", "field.h5", status=1).returncode, 1)
        self.run_program("--resume", "field.h5", ranks=2)
        self.assert_same_field(self.at("field.h5"), expected)


class OtherFieldTest(ShapeTest):
    def test_is_not_gone_on_with(self):
        self.compute(DISC)
        before = self.at("field.h5").read_bytes()
        self.write(DISC)
        self.run_program("--request", "request.toml", "--resume", "field.h5")
        differs = "differs from the request that field.h5 was begun with"
        for other in (DISC.replace("10e-3", "10.000000000000002e-3"), RING, POLYGON):
            message = self.complaint(other, "--resume")
            self.assertEqual(message, f"request.toml:13: piston.shape {differs}")
        message = self.complaint("width = 7.5e-3\nheight = 5e-3\n", "--resume")
        self.assertIn(differs, message)
        self.assertIn(f"-l {differs}", self.refused("field.h5", "--resume", "-l", 1e-3))
        self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_is_one_with_another_outline_in_its_file(self):
        for change in ([0, 4], [1, 5]):
            self.compute(DISC, "--overwrite")
            with h5py.File(self.at("field.h5"), "r+") as file:
                file["outline"][tuple(change)] *= 1.5
            message = self.refused("show", "field.h5")
            self.assertIn("field.h5 is damaged: ", message)
        self.compute(DISC, "--overwrite")
        with h5py.File(self.at("field.h5"), "r+") as file:
            del file["outline"]
        self.assertIn("field.h5 is damaged: ", self.refused("show", "field.h5"))

    def test_is_that_of_a_rectangle_by_options(self):
        expected = self.compute("width = 7.5e-3\nheight = 5e-3\n", output="rectangle.h5")
        found = self.compute(DISC, "-s", 7.5e-3, "-l", 5e-3)
        self.assert_same_bits(found, expected)


class AccountTest(ShapeTest):
    def test_is_told_and_kept(self):
        self.write(DISC)
        said = self.run_program("--request", "request.toml", "field.h5").out
        self.assertIn("\noutline 2 edges, by the engine contours\n", said)
        found = attributes(self.at("field.h5"))
        self.assertEqual((found["format"], found["l"], found["s"]), (5, 0, 0))
        self.assertEqual((found["engine"], found["baffle"]), ("contours", "rigid"))
        self.assertIn("integral over the piston of exp", found["conventions"])
        self.assertIn("outline", found["units"])
        with h5py.File(self.at("field.h5")) as file:
            self.assertEqual(set(datasets(file)), {"pressure", "magnitude", "slabs", "outline"})
            half = [0, 1, 0, 0, 10e-3]
            rows = [[*half, 0, math.pi], [*half, math.pi, math.pi]]
            numpy.testing.assert_array_equal(file["outline"][...], rows)
        shown = self.run_program("show", "field.h5").out
        self.assertIn('\n# engine = "contours"\n', shown)
        self.assertNotIn("elements", shown)
        self.assertTrue(shown.endswith('\n[piston]\nshape = "disc"\nradius = 0.01\n'), shown)
        message = self.refused("show", "--elements", "field.h5")
        self.assertIn("field.h5 has the field of no array", message)

    def test_notes_are_about_the_piston(self):
        words = ("--request", "request.toml", "--behind", "--estimate", "field.h5")
        self.write(DISC, grid=PLANE.replace("4e-3, 2e-3", "-4e-3, 2e-3"))
        self.assertIn("note    some points lie behind the piston, ", self.run_program(*words).out)
        self.write(DISC.replace("10e-3", "1e-7"))
        self.assertIn("note    the piston measures 0.00013", self.run_program(*words).out)


class MistakesTest(ShapeTest):
    def test_are_told_with_their_line(self):
        crossing = 'shape = "polygon"\ncorners = [[0, 0], [1e-3, 1e-3], [1e-3, 0], [0, 1e-3]]\n'
        for piston, complaint in [
            ('shape = "square"\n', "13: piston.shape: 'square' is none of disc, ring, sector"),
            ("shape = 3\n", "13: piston.shape: takes a text"),
            ('shape = "disc"\n', "13: piston.shape: radius is missing"),
            (DISC + "outer = 1e-3\n", "15: piston.outer: is no key of the shape disc"),
            (DISC + "width = 1e-3\n", "15: piston.width: is no key of the shape disc"),
            (DISC.replace("10e-3", "-1"), "14: piston.radius: must be a length above 0"),
            (DISC.replace("10e-3", "nan"), "14: piston.radius: must be a length above 0"),
            (DISC.replace("10e-3", "[1, 2]"), "14: piston.radius: takes one value, not a list"),
            (DISC.replace("radius", "radus"), "14: piston.radus is no option, did you mean"),
            ("radius = 1e-3\n", "13: piston.radius: goes with a shape, and there is none"),
            (RING.replace("4e-3", "11e-3"), "14: piston.inner: must be less than the outer radius"),
            (SECTOR.replace("1.1", "-1.1"), "16: piston.angles: must rise, by less than a whole"),
            (SECTOR.replace("1.1", "7"), "16: piston.angles: must rise, by less than a whole turn"),
            (SECTOR.replace(", 1.1", ""), "16: piston.angles: takes where it begins and where"),
            (POLYGON.replace("[1e-3, 5e-3]", "[1e-3]"), "14: piston.corners: takes rows of 2 numb"),
            ('shape = "polygon"\ncorners = [1, 2, 3]\n', "14: piston.corners: takes pairs of numb"),
            ('shape = "polygon"\ncorners = [[0, 0], [1, 1]]\n', "14: piston.corners: a polygon"),
            ('shape = "polygon"\ncorners = [[0, 0], [1, 0], [inf, 1]]\n', "14: piston.corners: e"),
            (crossing, "14: piston.corners: "),
        ]:
            with self.subTest(piston=piston):
                self.assertIn(f"request.toml:{complaint}", self.complaint(piston))
        message = self.complaint(DISC, head=HEAD.replace("tolerance = 1e-9", "order = 20"))
        self.assertIn("request.toml:13: piston.shape: takes a tolerance", message)
        message = self.complaint(DISC, "--device", "gpu", head=HEAD.replace("nepers = 15", ""))
        self.assertIn("piston.shape: outlines are not computed in the mode cudadp", message)
        array = '[array]\nkind = "line"\nelements = 1\nwidth = 1e-3\nheight = 1e-3\n'
        message = self.complaint(DISC + array)
        self.assertIn("request.toml:13: piston.shape excludes request.toml:15: array", message)
        message = self.complaint(DISC, grid="", head="k = 1000\ntolerance = 1e-4\n")
        self.assertIn("transform, sizes is missing", message)
        self.assertEqual(self.files(), ["request.toml"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
