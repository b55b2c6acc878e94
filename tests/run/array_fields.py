# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The field of an array is the sum of its elements' fields, and is kept with its elements, whoever
computes it."""

import math
import re
import unittest
from pathlib import Path

import h5py
import numpy
from programs import ProgramTest, arrays, blocks_of, datasets

K = 2 * math.pi * 1e6 / 1500
NX, NZ = 13, 9

HEAD = """frequency = 1e6
tolerance = 1e-9
{more}
[medium]
speed = 1500

[grid]
x = [-6e-3, 1e-3, 13]
y = 0.5e-3
z = [4e-3, 2e-3, 9]

[array]
"""

# Elements beside each other, one turned in the plane, and one tilted towards the points.
TABLE = """x [mm], y [mm], z [mm], width [mm], height [mm], normal x, normal y, normal z, along x, \
along y, along z, re, im
-1, 0, 0, 0.8, 5, 0, 0, 1, 1, 0, 0, 1, 0
0, 0.25, 0, 0.8, 5, 0, 0, 1, 0, 1, 0, 0.5, -0.75
4, 0, 1, 1.5, 3, -0.6, 0, 0.8, 0.8, 0, 0.6, 0, 2
"""


def rows_of(table):
    """The elements of TABLE as they are in a file, in m, and their weights."""
    rows, weights = [], []
    for line in table.splitlines()[1:]:
        x, y, z, width, height, *n, ax, ay, az, re, im = map(float, line.split(","))
        a = [ax, ay, az]
        rows.append([width, height, x, y, z] + a + list(numpy.cross(n, a)))
        weights.append(complex(re, im))
    rows = numpy.array(rows)
    rows[:, :5] /= 1000
    return rows, numpy.array(weights)


def positions():
    """The points of HEAD, in the order [z][y][x]."""
    iz, ix = numpy.meshgrid(numpy.arange(NZ), numpy.arange(NX), indexing="ij")
    points = [-6e-3 + 1e-3 * ix, 0.5e-3 + 0 * ix, 4e-3 + 2e-3 * iz]
    return numpy.stack(points, axis=-1).reshape(NZ, 1, NX, 3)


def field_of(row, points):
    """The integral over one element. Smooth at this distance: 60 nodes a side are exact to
    rounding."""
    nodes, weights = numpy.polynomial.legendre.leggauss(60)
    width, height, centre = row[0], row[1], row[2:5]
    u, v = (a.ravel() for a in numpy.meshgrid(nodes * width / 2, nodes * height / 2))
    face = centre + numpy.outer(u, row[5:8]) + numpy.outer(v, row[8:11])
    areas = numpy.outer(weights, weights).ravel() * width * height / 4
    distance = numpy.linalg.norm(points[..., None, :] - face, axis=-1)
    return K / (2 * numpy.pi) * numpy.sum(areas * numpy.exp(-1j * K * distance) / distance, axis=-1)


def superposition(rows, weights):
    return sum(weight * field_of(row, positions()) for row, weight in zip(rows, weights))


class ArrayTest(ProgramTest):
    def write(self, array, more="", table=TABLE):
        """A request, and the table that it may name."""
        self.at("elements.csv").write_text(table)
        self.at("request.toml").write_text(HEAD.format(more=more) + array)

    def compute(self, array='table = "elements.csv"\n', *words, output="field.h5", ranks=1, **text):
        self.write(array, **text)
        words = ["--request", "request.toml", *words, output]
        return self.run_program(*words, ranks=ranks).out

    def complaint(self, array, *words, **text):
        self.write(array, **text)
        return self.refused("--request", "request.toml", *words, "field.h5").split(": ", 1)[1]

    def pressure(self, name="field.h5"):
        return arrays(self.at(name))["pressure"]

    def elements(self, name="field.h5"):
        found = arrays(self.at(name))
        return found["elements"], found["weights"].astype(complex)

    def assert_field(self, rows, weights, name="field.h5"):
        expected = superposition(rows, weights)
        off = numpy.max(abs(self.pressure(name) - expected))
        self.assertLess(off, 1e-9 * numpy.max(abs(expected)))


class ValuesTest(ArrayTest):
    def test_are_the_same_sum_on_a_gpu(self):
        rows, weights = rows_of(TABLE)
        expected = superposition(rows, weights)
        for precision, tolerance in (("double", 1e-9), ("single", 1e-4)):
            self.compute(
                'table = "elements.csv"\n',
                *("--device", "gpu", "--precision", precision, "--tolerance", tolerance),
                "--overwrite",
            )
            off = numpy.max(abs(self.pressure() - expected))
            self.assertLess(off, tolerance * numpy.max(abs(expected)))

    def test_are_the_sum_of_the_elements(self):
        self.compute()
        rows, weights = rows_of(TABLE)
        self.assert_field(rows, weights)
        kept = self.elements()
        numpy.testing.assert_allclose(kept[0], rows, rtol=0, atol=1e-16)
        numpy.testing.assert_array_equal(kept[1], weights)

    def test_are_those_of_a_lattice_in_raw_numbers(self):
        self.compute()
        raw = "transform = [1e-3, 0, 0, -6e-3, 0, 1, 0, 0.5e-3, 0, 0, 2e-3, 4e-3, 0, 0, 0, 1]\n"
        raw += f"sizes = [13, 1, 9]\nk = {K!r}\ntolerance = 1e-9\n\n[array]\n"
        self.at("raw.toml").write_text(raw + 'table = "elements.csv"\n')
        self.run_program("--request", "raw.toml", "raw.h5")
        self.assert_same_field(self.at("raw.h5"), arrays(self.at("field.h5")))

    def test_are_those_of_one_piston_where_there_is_one(self):
        self.compute('kind = "line"\nelements = 1\nwidth = 7.5e-3\nheight = 5e-3\n')
        text = HEAD.format(more="").replace("[array]", "[piston]")
        self.at("request.toml").write_text(text + "width = 7.5e-3\nheight = 5e-3\n")
        self.run_program("--request", "request.toml", "piston.h5")
        piston = self.pressure("piston.h5")
        off = numpy.max(abs(self.pressure() - piston))
        self.assertLess(off, 2e-9 * numpy.max(abs(piston)))

    def test_are_single_where_that_is_asked_for(self):
        self.write('table = "elements.csv"\n')
        words = ["--precision", "single", "--tolerance", 1e-4]
        self.run_program("--request", "request.toml", *words, "field.h5")
        pressure = self.pressure()
        self.assertEqual(pressure.dtype, numpy.complex64)
        expected = superposition(*rows_of(TABLE))
        off = numpy.max(abs(pressure - expected))
        self.assertLess(off, 1e-4 * numpy.max(abs(expected)))

    def test_are_those_of_points_behind_where_that_is_asked_for(self):
        tilted = TABLE.replace("4, 0, 1,", "4, 0, 6,")
        message = self.complaint('table = "elements.csv"\n', table=tilted)
        self.assertIn("behind", message)
        said = self.compute(more="behind = true\n", table=tilted)
        self.assertIn("note    some points lie behind elements, where values are those of", said)
        self.assertFalse(numpy.isnan(self.pressure()).any())


class PageTest(ArrayTest):
    """What docs/run.md shows."""

    def block(self, words):
        """The one with these words."""
        page = Path(__file__).parents[2] / "docs" / "run.md"
        (found,) = [block.strip("\n") for block in blocks_of(page) if words in block]
        return found + "\n"

    def test_has_a_request_for_the_field_of_a_line(self):
        self.at("request.toml").write_text(self.block("\n[array]"))
        self.run_program("--request", "request.toml", "--sizes", 5, 1, 4, "field.h5")
        rows, weights = self.elements()
        self.assertEqual(len(rows), 32)
        numpy.testing.assert_allclose(abs(weights), 1, rtol=1e-12)
        points = numpy.array(
            [[[[-15e-3 + 0.25e-3 * x, 0, 1e-3 + 0.5e-3 * z] for x in range(5)]] for z in range(4)]
        )
        expected = sum(w * field_of(row, points) for row, w in zip(rows, weights))
        off = numpy.max(abs(self.pressure() - expected))
        self.assertLess(off, 1e-5 * numpy.max(abs(expected)))

    def test_has_a_table(self):
        table = self.block("phase [deg]")
        self.compute(table=table)
        rows, weights = self.elements()
        numpy.testing.assert_allclose(rows[:, 2], [-0.01, 0.01])
        numpy.testing.assert_allclose(weights, [1, numpy.exp(0.25j * math.pi)])
        normals = numpy.cross(rows[:, 5:8], rows[:, 8:11])
        slope = numpy.array([[1, 0, 2], [-1, 0, 2]]) / math.sqrt(5)
        numpy.testing.assert_allclose(normals, slope, rtol=0, atol=1e-15)
        self.assert_field(rows, weights)


class WeightsTest(ArrayTest):
    def test_are_1_without_columns_for_them(self):
        table = "x [mm], y [mm], width [mm], height [mm]\n-1, 0, 0.8, 5\n1, 0, 0.8, 5\n"
        self.compute(table=table)
        rows, weights = self.elements()
        numpy.testing.assert_array_equal(weights, [1, 1])
        self.assert_field(rows, weights)

    def test_focus_at_a_point(self):
        self.compute(
            'kind = "line"\nelements = 8\npitch = 1e-3\nwidth = 0.8e-3\nheight = 5e-3\n'
            "focus = [2e-3, 0.5e-3, 10e-3]\n"
        )
        rows, weights = self.elements()
        numpy.testing.assert_allclose(abs(weights), 1, rtol=1e-12)
        # Point (8, 0, 3) of the lattice.
        alone = [field_of(row, numpy.array([2e-3, 0.5e-3, 10e-3])) for row in rows]
        found = self.pressure()[3, 0, 8]
        self.assertLess(abs(found - sum(map(abs, alone))), 1e-5 * abs(found))
        self.assert_field(rows, weights)


class KindsTest(ArrayTest):
    def built(self, array):
        self.compute(array)
        rows, weights = self.elements()
        numpy.testing.assert_array_equal(weights, numpy.ones(len(rows)))
        return rows

    def test_are_lines(self):
        for spacing in ("pitch = 1e-3", "kerf = 0.2e-3"):
            line = 'kind = "line"\nelements = 4\nwidth = 0.8e-3\nheight = 5e-3\n'
            self.at("field.h5").unlink(missing_ok=True)
            self.at("field.h5.xdmf").unlink(missing_ok=True)
            rows = self.built(line + spacing + "\n")
            expected = [
                [0.8e-3, 5e-3, x, 0, 0, 1, 0, 0, 0, 1, 0] for x in (-1.5e-3, -5e-4, 5e-4, 1.5e-3)
            ]
            numpy.testing.assert_allclose(rows, expected, rtol=0, atol=1e-15)

    def test_are_matrices(self):
        rows = self.built(
            'kind = "matrix"\ncolumns = 3\nrows = 2\nwidth = 0.8e-3\nheight = 1e-3\n'
            "pitch_x = 1e-3\nkerf_y = 0.5e-3\n"
        )
        expected = [
            [0.8e-3, 1e-3, x, y, 0, 1, 0, 0, 0, 1, 0]
            for y in (-0.75e-3, 0.75e-3)
            for x in (-1e-3, 0, 1e-3)
        ]
        numpy.testing.assert_allclose(rows, expected, rtol=0, atol=1e-15)

    def test_are_convex(self):
        rows = self.built(
            'kind = "convex"\nelements = 3\nradius = 40e-3\nwidth = 0.8e-3\nheight = 5e-3\n'
            "angle = 0.025\n"
        )
        expected = []
        for a in (-0.025, 0, 0.025):
            place = [40e-3 * math.sin(a), 0, 40e-3 * math.cos(a) - 40e-3]
            along = [math.cos(a), 0, -math.sin(a)]
            expected.append([0.8e-3, 5e-3] + place + along + [0, 1, 0])
        numpy.testing.assert_allclose(rows, expected, rtol=0, atol=1e-15)

    def test_may_have_their_angles_in_degrees(self):
        for kind, name, degrees in [
            ('kind = "convex"\nelements = 3\nradius = 40e-3\n', "angle", 1.7),
            ('kind = "spiral"\nelements = 20\nradius = 60e-3\n', "opening_angle", 21.3),
        ]:
            found = []
            sides = "width = 0.8e-3\nheight = 1e-3\n"
            for value in (f"_degrees = {degrees}\n", f" = {degrees * math.pi / 180!r}\n"):
                self.compute(kind + sides + name + value, "--behind", "--overwrite")
                found.append(self.elements()[0])
            self.assert_same_bits(*found)

    def test_are_bowls(self):
        radius = 60e-3
        bowl = f"radius = {radius}\nwidth = 2e-3\nheight = 2e-3\naperture = 30e-3\nhole = 6e-3\n"
        for array, count in [
            ('kind = "rings"\ncounts = [8, 16]\n' + bowl, 24),
            ('kind = "spiral"\nelements = 20\n' + bowl, 20),
        ]:
            self.at("field.h5").unlink(missing_ok=True)
            self.at("field.h5.xdmf").unlink(missing_ok=True)
            self.write(array, more="behind = true\n")
            self.run_program("--request", "request.toml", "field.h5")
            rows, _ = self.elements()
            self.assertEqual(len(rows), count)
            to_focus = numpy.array([0, 0, radius]) - rows[:, 2:5]
            numpy.testing.assert_allclose(numpy.linalg.norm(to_focus, axis=1), radius, rtol=1e-12)
            normals = numpy.cross(rows[:, 5:8], rows[:, 8:11])
            numpy.testing.assert_allclose(normals, to_focus / radius, rtol=0, atol=1e-12)


class TablesTest(ArrayTest):
    def write_table(self, unit, scale, weighted=True):
        rows, weights = rows_of(TABLE)
        rows[:, :5] *= scale
        with h5py.File(self.at("elements.h5"), "w") as file:
            file["elements"] = rows
            file["elements"].attrs["units"] = unit
            if weighted:
                file["weights"] = weights

    def test_may_be_hdf5_in_any_unit(self):
        rows, weights = rows_of(TABLE)
        for unit, scale in [("m", 1), ("cm", 100), ("mm", 1000), ("um", 1e6)]:
            self.write_table(unit, scale)
            for ranks in (1, 3):
                self.compute('table = "elements.h5"\n', "--overwrite", ranks=ranks)
                found = self.elements()
                numpy.testing.assert_allclose(found[0], rows, rtol=1e-15, atol=1e-18)
                numpy.testing.assert_array_equal(found[1], weights)
        self.write_table("mm", 1000, weighted=False)
        self.compute('table = "elements.h5"\n', "--overwrite")
        numpy.testing.assert_array_equal(self.elements()[1], [1, 1, 1])

    def test_may_be_fields_of_arrays(self):
        self.compute()
        self.compute('table = "field.h5"\n', output="again.h5")
        self.assert_same_field(self.at("again.h5"), arrays(self.at("field.h5")))

    def test_lie_beside_the_request(self):
        self.at("folder").mkdir()
        self.at("folder/elements.csv").write_text(TABLE)
        self.at("folder/request.toml").write_text(HEAD.format(more="") + 'table = "elements.csv"\n')
        self.run_program("--request", "folder/request.toml", "field.h5")
        self.assert_field(*rows_of(TABLE))

    def test_are_no_output(self):
        self.write('table = "elements.csv"\n')
        message = self.refused("--request", "request.toml", "elements.csv", "--overwrite")
        self.assertIn("elements.csv is both input and output", message)
        self.assertEqual(self.at("elements.csv").read_text(), TABLE)

    def test_that_are_none_are_refused(self):
        def refused(change):
            self.write_table("mm", 1000)
            with h5py.File(self.at("elements.h5"), "r+") as file:
                change(file)
            return self.complaint('table = "elements.h5"\n')

        def without(name):
            return lambda file: file.__delitem__(name)

        def replace(name, values):
            def change(file):
                del file[name]
                file[name] = values
                file[name].attrs["units"] = "mm"

            return change

        at = "request.toml:13: array.table: elements.h5"
        self.assertEqual(refused(without("elements")), f"{at} has no dataset 'elements'")
        self.assertEqual(
            refused(lambda file: file["elements"].attrs.modify("units", "inch")),
            f"{at}: elements: the unit 'inch' is none of m, cm, mm, um",
        )
        self.assertIn(
            f"{at}: the attribute 'units'",
            refused(lambda file: file["elements"].attrs.__delitem__("units")),
        )
        self.assertEqual(
            refused(replace("elements", numpy.zeros((3, 10)))),
            f"{at}: elements: takes rows of 11 numbers",
        )
        self.assertEqual(
            refused(replace("elements", numpy.zeros((0, 11)))),
            f"{at}: elements: 0 are not within 1 to 1000000",
        )

        def enlarge(file):
            del file["elements"]
            dataset = file.create_dataset("elements", (1000001, 11), "f8")
            dataset.attrs["units"] = "mm"

        self.assertEqual(refused(enlarge), f"{at}: elements: 1000001 are not within 1 to 1000000")
        self.assertEqual(
            refused(replace("weights", numpy.ones(2, dtype=complex))),
            f"{at}: weights: takes one for each element",
        )
        self.assertIn(f"{at}: the dataset 'weights' ", refused(replace("weights", numpy.ones(3))))


class SameFieldTest(ArrayTest):
    def setUp(self):
        super().setUp()
        self.compute()
        self.expected = arrays(self.at("field.h5"))

    def assert_same_values(self, name):
        found = arrays(self.at(name))
        for dataset in ("pressure", "magnitude", "elements", "weights"):
            self.assert_same_bits(found[dataset], self.expected[dataset], dataset)

    def test_is_written_by_any_number_of_processes(self):
        for ranks in (1, 2, 3):
            self.compute(
                'table = "elements.csv"\n', "--slab", 10, output=f"{ranks}.h5", ranks=ranks
            )
            self.assert_same_values(f"{ranks}.h5")

    def test_is_written_in_slabs_of_any_size_and_by_any_threads(self):
        for slab, threads in [(1, 1), (7, 2), (26, 3), (1000, 2)]:
            words = ["--slab", slab, "--threads", threads, "--overwrite"]
            self.compute('table = "elements.csv"\n', *words, output="slabs.h5")
            self.assert_same_values("slabs.h5")

    def test_of_a_volume_is_the_same_in_slabs_of_any_size(self):
        array = 'kind = "convex"\nelements = 6\nradius = 40e-3\nangle = 0.05\n'
        array += "width = 1.8e-3\nheight = 5e-3\nfocus = [0, 0, 30e-3]\n"
        sizes = ["--sizes", 21, 19, 9, "--transform"]
        words = sizes + [4e-4, 0, 0, -4e-3, 0, 5e-4, 0, -5e-3, 0, 0, 2e-3, 6e-3, 0, 0, 0, 1]
        self.at("request.toml").write_text(f"k = {K!r}\ntolerance = 1e-4\n\n[array]\n{array}")
        for ranks, slab in [(1, 100000), (1, 37), (2, 400), (3, 90)]:
            name = f"{ranks}-{slab}.h5"
            self.run_program("--request", "request.toml", *words, "--slab", slab, name, ranks=ranks)
            found = self.pressure(name)
            self.assert_same_bits(found, self.pressure("1-100000.h5"), name)

    def test_is_made_of_parts(self):
        for part in range(1, 4):
            self.compute('table = "elements.csv"\n', "--part", f"{part}/3", output="whole.h5")
        parts = sorted(name for name in self.files() if name.endswith("-of-3.h5"))
        self.run_program("join", "whole.h5", *parts)
        self.assertIn("0 changed", self.run_program("verify", "whole.h5").out)
        self.assert_same_values("whole.h5")
        self.assertIn('\n# engine = "sum"\n', self.run_program("show", "whole.h5").out)

    def test_is_compressed_with_its_elements(self):
        self.compute('table = "elements.csv"\n', "--compress", 4, output="small.h5")
        self.assert_same_values("small.h5")
        self.run_program("verify", "small.h5")
        with h5py.File(self.at("small.h5")) as file:
            self.assertEqual(file.attrs["engine"], "sum")

    def test_is_extracted(self):
        box = ["--first", 2, 0, 1, "--size", 5, 1, 3]
        self.run_program("extract", "field.h5", "box.bin", *box)
        found = numpy.fromfile(self.at("box.bin"), dtype=complex).reshape(3, 1, 5)
        expected = self.expected["pressure"][1:4, :, 2:7].astype(complex)
        numpy.testing.assert_array_equal(found, expected)

    def test_is_shown_as_a_request(self):
        shown = self.run_program("show", "field.h5").out
        self.assertIn('\n# elements = 3\n# engine = "sum"\n', shown)
        path = (self.folder / "field.h5").as_posix()
        self.assertTrue(shown.endswith(f'\n\n[array]\ntable = "{path}"\n'), shown)
        self.at("folder").mkdir()
        self.at("folder/shown.toml").write_text(shown)
        self.run_program("--request", "folder/shown.toml", "again.h5")
        self.assert_same_field(self.at("again.h5"), self.expected)

    def test_is_shown_with_any_name(self):
        for name in ['a "b" \\c.h5', "\u03c0\t\n\x7f.h5", "# [array].h5"]:
            self.at("field.h5").rename(self.at(name))
            self.at("shown.toml").write_text(self.run_program("show", "./" + name).out)
            self.run_program("--request", "shown.toml", "--overwrite", "again.h5")
            self.assert_same_field(self.at("again.h5"), self.expected)
            self.at(name).rename(self.at("field.h5"))
    def test_shows_its_elements_as_a_table(self):
        table = self.run_program("show", "--elements", "field.h5").out
        rows, weights = rows_of(TABLE)
        names, *lines = (line.split(",") for line in table.splitlines())
        self.assertEqual(names[:5], ["x [m]", "y [m]", "z [m]", "width [m]", "height [m]"])
        found = numpy.array(lines, dtype=float)
        # The columns of a file's rows, but for the normals.
        columns = [3, 4, 0, 1, 2, *range(8, 14)]
        numpy.testing.assert_array_equal(found[:, columns], self.expected["elements"][()])
        numpy.testing.assert_allclose(found[:, columns], rows, rtol=1e-12, atol=1e-15)
        numpy.testing.assert_allclose(found[:, -2] + 1j * found[:, -1], weights, rtol=1e-12)
        place = [1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 1, 0, 0, 0, 1]
        words = ["--sizes", 1, 1, 1, "-l", 1, "-s", 1, "-k", 1, "--transform", *place]
        self.run_program(*words, "piston.h5")
        message = self.refused("show", "--elements", "piston.h5")
        self.assertIn("piston.h5 has the field of no array", message)

    def test_comes_of_a_run_that_was_interrupted(self):
        self.spoil("field.h5")
        for words in (["--request", "request.toml"], []):
            self.spoil("field.h5")
            said = self.run_program(*words, "--resume", "field.h5").out
            self.assertIn("computing again what has changed", said)
            self.assert_same_field(self.at("field.h5"), self.expected)

    def test_comes_of_a_file_that_was_cut_off(self):
        whole = self.at("field.h5").stat().st_size
        with h5py.File(self.at("field.h5")) as file:
            elements = file["elements"].id.get_offset()
        self.assertLess(elements + 3 * 11 * 8, whole - 500)
        with open(self.at("field.h5"), "r+b") as file:
            file.truncate(whole - 500)
        said = self.run_program("--request", "request.toml", "--resume", "field.h5").out
        self.assertIn("is mended", said)
        self.assert_same_field(self.at("field.h5"), self.expected)

    def spoil(self, name):
        with h5py.File(self.at(name), "r+") as file:
            file["pressure"][4] = 0


class OtherFieldTest(ArrayTest):
    OTHERS = [
        TABLE.replace("0.5, -0.75", "0.5, -0.75000001"),
        TABLE.replace("4, 0, 1,", "4, 0, 1.000001,"),
        TABLE[: TABLE.rindex("4, 0, 1")],
    ]

    def test_is_not_gone_on_with(self):
        self.compute()
        before = self.at("field.h5").read_bytes()
        for other in self.OTHERS:
            message = self.complaint('table = "elements.csv"\n', "--resume", table=other)
            self.assertEqual(
                message,
                "request.toml:12: array differs from the request that field.h5 was begun with",
            )
        piston = HEAD.format(more="").replace("[array]", "[piston]")
        self.at("request.toml").write_text(piston + "width = 7.5e-3\nheight = 5e-3\n")
        message = self.refused("--request", "request.toml", "--resume", "field.h5")
        self.assertIn("differs from the request that field.h5 was begun with", message)
        self.run_program("--request", "request.toml", "piston.h5")
        self.write('table = "elements.csv"\n')
        message = self.refused("--request", "request.toml", "--resume", "piston.h5")
        self.assertIn("request.toml:12: array differs from the request that piston.h5", message)
        self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_is_not_joined_with_it(self):
        self.compute('table = "elements.csv"\n', "--part", "1/2")
        for other in self.OTHERS:
            words = ["--part", "2/2", "--overwrite"]
            self.compute('table = "elements.csv"\n', *words, table=other)
            message = self.refused(
                "join", "whole.h5", "field.part-1-of-2.h5", "field.part-2-of-2.h5"
            )
            self.assertIn("field.part-2-of-2.h5 belongs to another field", message)

    def test_that_was_changed_is_refused(self):
        def element(file):
            file["elements"][1, 2] = 1e-3

        def weight(file):
            file["weights"][0] = 2

        def unit(file):
            file["elements"].attrs.modify("units", "mm")

        def engine(file):
            file.attrs.modify("engine", "guess")

        for change in (element, weight, unit, engine):
            with self.subTest(change=change.__name__):
                self.compute('table = "elements.csv"\n', "--overwrite")
                with h5py.File(self.at("field.h5"), "r+") as file:
                    change(file)
                message = self.refused("show", "field.h5")
                self.assertIn("what it says of its field is not what this program", message)


class AccountTest(ArrayTest):
    def test_is_told_and_kept(self):
        self.write('table = "elements.csv"\n')
        estimate = self.run_program("--request", "request.toml", "field.h5", "--estimate").out
        self.assertEqual(self.files(), ["elements.csv", "request.toml"])
        self.assertIn("\narray   3 elements, by the engine sum\n", estimate)
        # 117 values of 20 bytes, and 13 numbers for each element.
        self.assertIn("\ndisk    2.7 kB in field.h5", estimate)
        self.compute()
        with h5py.File(self.at("field.h5")) as file:
            found = dict(file.attrs)
            self.assertLess({"elements", "weights"}, set(datasets(file)))
            self.assertEqual(file["elements"].attrs["units"], "m")
        self.assertEqual((found["format"], found["l"], found["s"]), (4, 0, 0))
        self.assertEqual((found["engine"], found["complete"]), ("sum", 1))
        self.assertLessEqual(found["error"], found["error_bound"])
        self.assertTrue(found["conventions"].startswith("p = sum over the elements of weight * "))
        self.assertTrue(found["units"].startswith("transform and elements (width, height, centre"))

    def test_of_overlaps_is_told(self):
        # The second one is turned and lies across the first one.
        said = self.compute()
        self.assertIn("\nnote    1 pair of elements overlaps: 1 and 2\n", said)
        apart = TABLE.replace("0, 0.25, 0,", "2, 0.25, 0,")
        said = self.compute('table = "elements.csv"\n', "--overwrite", table=apart)
        self.assertNotIn("overlap", said)

    MATRIX = (
        'kind = "matrix"\ncolumns = 32\nrows = 32\nwidth = 0.9e-3\nheight = 0.9e-3\n'
        "pitch_x = 1e-3\npitch_y = 1e-3\n"
    )

    def run_matrix(self, *words, output="field.h5"):
        """A volume before a matrix, which may be a convolution of planes across z."""
        grid = "x = [-40e-3, 0.15e-3, 600]\ny = [-40e-3, 0.15e-3, 500]\nz = [5e-3, 1e-3, 9]\n"
        text = f"frequency = 1e6\ntolerance = 1e-4\n[grid]\n{grid}[array]\n{self.MATRIX}"
        self.at("request.toml").write_text(text)
        return self.run_program("--request", "request.toml", *words, "--threads", 1, output).out

    def test_of_a_convolution_is_that_of_whole_planes(self):
        said = self.run_matrix()
        with h5py.File(self.at("field.h5")) as file:
            if file.attrs["engine"] != "convolution":
                self.skipTest("no library for Fourier transforms")
            self.assertEqual(list(file.attrs["slab_sizes"]), [600, 500, 1])
            seconds = file.attrs["seconds"]
        self.assertNotIn("slabs cut", said)
        # Points one by one would take 300000 times as long, and other work has some time, too.
        estimated = float(re.search(r"at (\S+) ns a point", said)[1]) * 1e-9 * 600 * 500 * 9
        self.assertLess(estimated, 20 * seconds)
        self.assertGreater(estimated, seconds / 20)
        cut = self.run_matrix("--slab", 150000, output="cut.h5")
        self.assertIn(
            "\nnote    slabs cut boxes of 600 x 500 x 1 points that share their work, which is "
            "done up to ",
            cut,
        )
        self.assert_same_bits(self.pressure("cut.h5"), self.pressure())

    def test_of_more_elements_takes_more(self):
        def evaluations(count):
            self.compute(
                f'kind = "convex"\nelements = {count}\nradius = 40e-3\nangle = 0.02\n'
                "width = 0.7e-3\nheight = 5e-3\n",
                "--overwrite",
            )
            with h5py.File(self.at("field.h5")) as file:
                return file.attrs["evaluations"]

        self.assertGreater(evaluations(24), 2 * evaluations(4))


class ErrorsTest(ArrayTest):
    LINE = 'kind = "line"\nelements = 4\npitch = 1e-3\nwidth = 0.8e-3\nheight = 5e-3\n'

    def test_name_their_line_and_key(self):
        for array, expected in [
            ("", "request.toml:12: array: takes a table or a kind"),
            (
                self.LINE + 'table = "elements.csv"\n',
                "request.toml:13: array.kind: excludes request.toml:18: array.table",
            ),
            (
                'kind = "ring"\n',
                "request.toml:13: array.kind: 'ring' is none of line, matrix, "
                "convex, rings, spiral",
            ),
            ('kind = "line"\n', "request.toml:12: array: elements is missing"),
            (
                self.LINE + "pitch_y = 1\n",
                "request.toml:18: array.pitch_y: is no key of the kind line, did you mean pitch?",
            ),
            (
                self.LINE + "radius = 1\n",
                "request.toml:18: array.radius: is no key of the kind line",
            ),
            (
                'table = "elements.csv"\nwidth = 1\n',
                "request.toml:14: array.width: is no key of an " "array with a table",
            ),
            ("table = 7\n", "request.toml:13: array.table: takes a text"),
            ('kind = ["line"]\n', "request.toml:13: array.kind: takes a text"),
            (
                self.LINE + 'focus = "there"\n',
                "request.toml:18: array.focus: takes numbers, not a " "text",
            ),
            (
                self.LINE + "focus = [1, 2]\n",
                "request.toml:18: array.focus: takes 3 numbers, not 2",
            ),
            (
                'table = "nothing.csv"\n',
                "request.toml:13: array.table: nothing.csv: No such file or " "directory",
            ),
            (
                'table = "elements.csv"\nfocus = [0, 0, 0.02]\n',
                "request.toml:14: array.focus: excludes the weights of elements.csv",
            ),
            (
                self.LINE + "kerf = 1e-4\n",
                "request.toml:15: array.pitch: one of pitch, kerf says how far ",
            ),
            (self.LINE.replace("4\n", "0\n", 1), "request.toml:14: array.elements: "),
            (
                self.LINE.replace("elements = 4", "elements = 4.5"),
                "request.toml:14: array.elements: ",
            ),
            (self.LINE.replace("width = 0.8e-3", "width = -1"), "request.toml:16: array.width: "),
            (
                self.LINE + "pich = 1\n",
                "request.toml:18: array.pich is no option, did you mean pitch?",
            ),
            # A line has no pitch_x, and no array has what a piston has.
            (
                self.LINE + "pitchx = 1\n",
                "request.toml:18: array.pitchx is no option, did you mean pitch?",
            ),
            ("pich_x = 1\n", "request.toml:13: array.pich_x is no option, did you mean pitch_x?"),
            (
                self.LINE + "speed = 1500\n",
                "request.toml:18: array.speed is no option, did you mean medium.speed?",
            ),
            (
                self.LINE + "tolerance = 1e-3\n",
                "request.toml:18: array.tolerance is no option; tolerance stands before the first",
            ),
            (
                'table = "elements.csv"\nfocal = [0, 0, 1]\n',
                "request.toml:14: array.focal is no option, did you mean focus?",
            ),
            (
                self.LINE.replace("line", "matrix") + "columns = 4\nrows = 1\n",
                "request.toml:14: array.elements: is no key of the kind matrix",
            ),
            (
                'kind = "matrix"\ncolumns = 4\nrows = 1\npitch = 1\n',
                "request.toml:16: array.pitch: is no key of the kind matrix, did you mean pitch_x?",
            ),
            (
                self.LINE + "focus = [0, 0, 0.02, 0, 0, 0.03]\n",
                "request.toml:18: array.focus: takes one point, [x, y, z] in m",
            ),
            (
                self.LINE + "focus = [[0, 0, 0.02], [0, 0, 0.03]]\n",
                "request.toml:18: array.focus: takes one point, [x, y, z] in m",
            ),
            (
                'kind = "rings"\ncounts = [[1, 6], [12]]\n',
                "request.toml:14: array.counts: takes one list of numbers, not a list of lists",
            ),
        ]:
            with self.subTest(array=array):
                message = self.complaint(array)
                self.assertTrue(message.startswith(expected), message)
        self.assertEqual(self.files(), ["elements.csv", "request.toml"])
        # A piston has a centre, and an array none.
        message = self.complaint(self.LINE + "center = [0, 0, 0]\n")
        self.assertEqual(message, "request.toml:18: array.center is no option")

    def test_name_the_degrees_that_were_typed(self):
        bowl = 'kind = "spiral"\nelements = 4\nradius = 0.1\nwidth = 1e-3\nheight = 1e-3\n'
        message = self.complaint(bowl + "opening_angle_degrees = 200\n")
        self.assertEqual(
            message,
            "request.toml:18: array.opening_angle_degrees: must be above 0 and at most pi; it is "
            "in degrees",
        )
        message = self.complaint(bowl + "opening_angle = 1\nopening_angle_degrees = 20\n")
        self.assertIn("array.opening_angle_degrees: excludes request.toml:18: array.open", message)

    def test_name_the_unit_of_what_was_typed(self):
        convex = 'kind = "convex"\nelements = 4\nradius = 40e-3\nwidth = 0.8e-3\nheight = 5e-3\n'
        bowl = 'kind = "spiral"\nelements = 4\nradius = 0.1\nwidth = 1e-3\nheight = 1e-3\n'
        for array, expected in [
            (
                convex + "angle = 2.5\n",
                "18: array.angle: is too large: 4 elements go more than once around the axis; it is "
                "in radians",
            ),
            (
                convex + "pitch = 0.2\n",
                "15: array.radius: is too small: 4 elements go more than once around the axis; it "
                "is in m",
            ),
            (
                convex + "angle = 1e-3\n",
                "18: array.angle: elements of this width overlap; it is in radians",
            ),
            (
                bowl + "opening_angle = 90\n",
                "18: array.opening_angle: must be above 0 and at most pi; it is in radians",
            ),
            (
                bowl + "aperture = 30\n",
                "15: array.radius: is too small: a rim is at most twice as wide; it is in m",
            ),
            (self.LINE.replace("4", "0", 1), "14: array.elements: 0 is not within 1 to 1000000"),
            (
                self.LINE.replace("5e-3", "-5", 1),
                "17: array.height: must be a length above 0; it is in m",
            ),
        ]:
            with self.subTest(array=array):
                self.assertEqual(self.complaint(array), "request.toml:" + expected)

    def test_in_a_table_name_its_line(self):
        message = self.complaint('table = "elements.csv"\n', table=TABLE.replace("0.8", "wide", 1))
        self.assertTrue(message.startswith("request.toml:13: array.table: elements.csv"), message)
        self.assertIn("wide", message)

    def test_of_the_array_name_it(self):
        at = "request.toml:12: array: "
        zeros = TABLE.replace("1, 0\n0, 0.25", "0, 0\n0, 0.25")
        zeros = zeros.replace("0.5, -0.75", "0, 0").replace("0, 2\n", "0, 0\n")
        message = self.complaint('table = "elements.csv"\n', table=zeros)
        self.assertEqual(message, at + "all of weighting 1 are 0")
        text = HEAD.format(more="").replace("tolerance = 1e-9", "order = 20")
        self.at("request.toml").write_text(text + self.LINE)
        message = self.refused("--request", "request.toml", "field.h5")
        self.assertTrue(message.endswith(": " + at + "an array takes a tolerance"), message)

    def test_of_sides_beside_an_array_name_both(self):
        text = HEAD.format(more="") + self.LINE + "\n[piston]\nwidth = 1e-3\nheight = 1e-3\n"
        self.at("request.toml").write_text(text)
        message = self.refused("--request", "request.toml", "field.h5")
        self.assertIn("request.toml:19: piston: excludes request.toml:12: array", message)
        raw = "sizes = [1, 1, 1]\nl = 1\n\n[array]\n" + self.LINE
        self.at("request.toml").write_text(raw)
        message = self.refused("--request", "request.toml", "field.h5")
        self.assertIn("request.toml:2: l excludes request.toml:4: array", message)

    def test_of_sides_on_the_command_line_are_none(self):
        self.write(self.LINE)
        self.run_program("--request", "request.toml", "-l", 5e-3, "-s", 7.5e-3, "field.h5")
        with h5py.File(self.at("field.h5")) as file:
            self.assertEqual(
                (file.attrs["format"], file.attrs["l"], file.attrs["s"]), (3, 5e-3, 7.5e-3)
            )
        message = self.refused("--request", "request.toml", "-l", 5e-3, "another.h5")
        self.assertIn("request.toml: s is missing", message)

    def test_are_told_by_many_processes_as_by_one(self):
        self.write(self.LINE + "radius = 1\n")
        message = self.refused("--request", "request.toml", "field.h5", ranks=3)
        self.assertIn("request.toml:18: array.radius: is no key of the kind line", message)


class OutlinesTest(ArrayTest):
    """Elements of other shapes than rectangles."""

    # A disc, a tilted triangle, the disc elsewhere, and a rectangle.
    DISC = f"0 0 1 0 {math.pi!r}; 0 0 1 {math.pi!r} {math.pi!r}"
    SHAPES = (
        "x [mm], y [mm], z [mm], width [mm], height [mm], normal x, normal y, normal z, along x, "
        "along y, along z, re, im, outline [mm]\n"
        f"-2, 0, 0, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0, {DISC}\n"
        "4, 0, 1, 0, 0, -0.6, 0, 0.8, 0.8, 0, 0.6, 0, 2, -1 -1 1 -1; 1 -1 0 2; 0 2 -1 -1\n"
        f"3, 1, 0, 0, 0, 0, 0, 1, 1, 0, 0, 0.5, -1, {DISC}\n"
        "0, -3, 0, 0.8, 2, 0, 0, 1, 1, 0, 0, 0, 1,\n"
    )
    TURN = [[0.8, 0, -0.6], [0, 1, 0], [0.6, 0, 0.8]]
    PISTONS = (
        (1, 'shape = "disc"\nradius = 1e-3\ncenter = [-2e-3, 0, 0]\n'),
        (
            2j,
            'shape = "polygon"\ncorners = [[-1e-3, -1e-3], [1e-3, -1e-3], [0, 2e-3]]\n'
            f"center = [4e-3, 0, 1e-3]\norientation = {TURN}\n",
        ),
        (0.5 - 1j, 'shape = "disc"\nradius = 1e-3\ncenter = [3e-3, 1e-3, 0]\n'),
        (1j, "width = 0.8e-3\nheight = 2e-3\ncenter = [0, -3e-3, 0]\n"),
    )

    def test_radiate_as_pistons_of_their_shapes(self):
        said = self.compute(table=self.SHAPES)
        self.assertIn("\narray   4 elements, by the engine contours\n", said)
        self.assertNotIn("note", said)
        expected = 0
        for weight, piston in self.PISTONS:
            head = HEAD.format(more="").replace("[array]", "[piston]")
            self.at("piston.toml").write_text(head + piston)
            self.run_program("--request", "piston.toml", "piston.h5", "--overwrite")
            expected = expected + weight * self.pressure("piston.h5")
        off = numpy.max(abs(self.pressure() - expected))
        self.assertLessEqual(off, 5e-9 * numpy.max(abs(expected)))

    def test_are_kept_with_the_field_and_shown(self):
        self.compute(table=self.SHAPES)
        whole = arrays(self.at("field.h5"))
        self.assertEqual(whole["outlines"].shape, (5, 8))
        self.assertEqual(whole["outline_of"].tolist(), [0, 1, 0, -1])
        with h5py.File(self.at("field.h5")) as file:
            self.assertEqual(file.attrs["format"], 6)
            self.assertEqual(file.attrs["quantity"], "pressure")
        # Out of the field's file, and out of the table that is shown.
        self.at("again.toml").write_text(self.run_program("show", "field.h5").out)
        self.run_program("--request", "again.toml", "again.h5")
        self.assert_same_field(self.at("again.h5"), whole)
        shown = self.run_program("show", "--elements", "field.h5").out
        self.compute(table=shown, output="shown.h5")
        self.assert_same_field(self.at("shown.h5"), whole)
        self.compute('table = "elements.csv"\n', "--resume", table=self.SHAPES)
        other = self.SHAPES.replace("0 2 -1 -1", "0 2 -1 -1.0000001").replace(
            "-1 -1 1", "-1 -1.0000001 1"
        )
        message = self.complaint('table = "elements.csv"\n', "--resume", table=other)
        self.assertIn("array differs from the request that field.h5 was begun with", message)

    def test_may_come_from_hdf5_in_any_unit(self):
        self.compute(table=self.SHAPES)
        whole = arrays(self.at("field.h5"))
        with h5py.File(self.at("elements.h5"), "w") as file:
            file["elements"] = whole["elements"] * ([1000] * 5 + [1] * 6)
            file["elements"].attrs["units"] = "mm"
            file["weights"] = whole["weights"]
            lengths = [1, 1, 1, 1000, 1000, 1000, 1, 1]
            straight = [1, 1, 1, 1000, 1000, 1000, 1000, 1]
            rows = whole["outlines"]
            file["outlines"] = rows * numpy.where(rows[:, 2:3] == 1, [lengths], [straight])
            file["outline_of"] = whole["outline_of"]
        self.compute('table = "elements.h5"\n', output="other.h5")
        found = self.pressure("other.h5")
        off = numpy.max(abs(found - whole["pressure"]))
        self.assertLessEqual(off, 3e-9 * numpy.max(abs(found)))
        with h5py.File(self.at("elements.h5"), "r+") as file:
            file["outline_of"][2] = 7
        message = self.complaint('table = "elements.h5"\n')
        self.assertIn("elements.h5: outline_of: there is no outline 7", message)

    def test_that_were_changed_are_refused(self):
        for name, place in [("outlines", (0, 5)), ("outline_of", (2,))]:
            self.compute('table = "elements.csv"\n', "--overwrite", table=self.SHAPES)
            with h5py.File(self.at("field.h5"), "r+") as file:
                file[name][place] = 1
            self.assertIn("field.h5 is damaged: ", self.refused("show", "field.h5"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
