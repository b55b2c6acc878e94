# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Particle velocities and intensities keep their tolerance, are the same however they are computed,
and are other fields than the pressure."""

import os
import unittest

import h5py
import numpy
from programs import (
    TILTED,
    TILTED_POINTS,
    ProgramTest,
    arrays,
    attributes,
    datasets,
    options,
    tilted_place,
    values_of,
)

L, S, K = 5e-3, 7.5e-3, 4188.79
LOSSES = 40.5
QUANTITIES = ("velocity", "intensity")

ARRAY = f"""transform = {TILTED}
sizes = [23, 17, 19]
k = {K}
tolerance = 1e-9
quantity = "velocity"

[array]
table = "elements.csv"
"""

# One element turned in its plane, and one tilted towards the points.
TABLE = """x [mm], y [mm], z [mm], width [mm], height [mm], normal x, normal y, normal z, along x, \
along y, along z, re, im
0, 0.25, 0, 0.8, 5, 0, 0, 1, 0, 1, 0, 0.5, -0.75
4, 0, 1, 1.5, 3, -0.6, 0, 0.8, 0.8, 0, 0.6, 0, 2
"""


def request(quantity="velocity", tolerance=1e-6, **others):
    return options(quantity=quantity, tolerance=tolerance, **others)


def integrals(place, attenuation=0, width=S, height=L, axes=None, centre=(0, 0, 0)):
    """Pressure and velocity at a point, by sums over a face; without units."""
    # Smooth at this distance: 100 nodes a side are exact to rounding.
    nodes, weights = numpy.polynomial.legendre.leggauss(100)
    u, v = (a.ravel() for a in numpy.meshgrid(nodes * width / 2, nodes * height / 2))
    areas = numpy.outer(weights, weights).ravel() * width * height / 4
    along, up = numpy.eye(3)[:2] if axes is None else axes
    ways = place - (numpy.array(centre) + numpy.outer(u, along) + numpy.outer(v, up))
    distance = numpy.linalg.norm(ways, axis=1)
    k = K - 1j * attenuation
    wave = areas * numpy.exp(-1j * k * distance) / distance
    slope = -(1j * k + 1 / distance) / distance * wave
    pressure = K / (2 * numpy.pi) * numpy.sum(wave)
    # v = -grad p / k
    return pressure, -1 / (2 * numpy.pi) * slope @ ways


class ValuesTest(ProgramTest):
    def test_of_velocities_keep_the_tolerance(self):
        for attenuation in (0, LOSSES):
            for precision, tolerance in (("double", 1e-10), ("single", 1e-4)):
                with self.subTest(attenuation=attenuation, precision=precision):
                    words = request("velocity", tolerance, precision=precision)
                    words += ["--attenuation", str(attenuation), "--overwrite"]
                    self.run_program(*words, "field.h5")
                    velocity = arrays(self.at("field.h5"))["velocity"]
                    self.assertEqual(velocity.dtype, "c16" if precision == "double" else "c8")
                    self.assertEqual(velocity.shape, (19, 17, 23, 3))
                    largest = numpy.max(numpy.linalg.norm(velocity, axis=-1))
                    for at in TILTED_POINTS:
                        _, expected = integrals(tilted_place(at), attenuation)
                        off = numpy.linalg.norm(velocity[at] - expected)
                        self.assertLessEqual(off, tolerance * largest)

    def test_of_intensities_keep_the_tolerance(self):
        for attenuation in (0, LOSSES):
            with self.subTest(attenuation=attenuation):
                words = request("intensity", 1e-9, attenuation=attenuation)
                self.run_program(*words, "field.h5", "--overwrite")
                intensity = arrays(self.at("field.h5"))["intensity"]
                # Near the face |p| and |v| are at most about 2, and here at least about 1.
                for at in TILTED_POINTS:
                    pressure, velocity = integrals(tilted_place(at), attenuation)
                    # Over rho*c*|u0|^2/2, of the pressure j*rho*c*u0*p.
                    expected = 1j * pressure * numpy.conj(velocity)
                    off = numpy.linalg.norm(intensity[at] - expected)
                    self.assertLessEqual(off, 4e-9)

    def test_of_an_array_are_along_its_axes(self):
        self.at("elements.csv").write_text(TABLE)
        self.at("request.toml").write_text(ARRAY)
        self.run_program("--request", "request.toml", "field.h5")
        velocity = arrays(self.at("field.h5"))["velocity"]
        largest = numpy.max(numpy.linalg.norm(velocity, axis=-1))
        for at in TILTED_POINTS:
            place = tilted_place(at)
            turned = [[0, 1, 0], [-1, 0, 0]]
            tilted = [[0.8, 0, 0.6], [0, 1, 0]]
            _, one = integrals(place, 0, 0.8e-3, 5e-3, turned, [0, 0.25e-3, 0])
            _, other = integrals(place, 0, 1.5e-3, 3e-3, tilted, [4e-3, 0, 1e-3])
            expected = (0.5 - 0.75j) * one + 2j * other
            off = numpy.linalg.norm(velocity[at] - expected)
            self.assertLessEqual(off, 1e-9 * largest)
        # And back, out of the field's file.
        self.at("again.toml").write_text(self.run_program("show", "field.h5").out)
        self.run_program("--request", "again.toml", "again.h5")
        self.assert_same_field(self.at("again.h5"), arrays(self.at("field.h5")))

    def test_have_the_lengths_of_their_vectors_for_viewers(self):
        for quantity in QUANTITIES:
            self.run_program(*request(quantity), f"{quantity}.h5")
            found = arrays(self.at(f"{quantity}.h5"))
            lengths = numpy.linalg.norm(found[quantity], axis=-1).astype("f4")
            numpy.testing.assert_allclose(found["magnitude"], lengths, rtol=2e-7)
            self.assertIn("magnitude", self.at(f"{quantity}.h5.xdmf").read_text())


class SameFieldTest(ProgramTest):
    def test_is_written_by_any_number_of_processes_in_slabs_of_any_size(self):
        for quantity in QUANTITIES:
            self.run_program(*request(quantity), "whole.h5", "--overwrite")
            whole = values_of(self.at("whole.h5"))
            for slab, ranks in [(7, 1), (611, 2), (391, 3)]:
                with self.subTest(quantity=quantity, slab=slab, ranks=ranks):
                    words = [*request(quantity), "--slab", slab, "--overwrite", "field.h5"]
                    self.run_program(*words, ranks=ranks)
                    for name, values in values_of(self.at("field.h5")).items():
                        self.assert_same_bits(values, whole[name], name)

    def test_comes_of_a_run_that_was_interrupted(self):
        words = request() + ["--slab", 100]
        self.run_program(*words, "whole.h5")
        killing = {
            "LD_PRELOAD": os.environ["PISTONFIELD_FAILING_WRITES"],
            "WRITES": "60",
            "WRITES_THEN": "SIGKILL",
            "WRITES_RANK": "",
        }
        process = self.start(*words, "field.h5", env={**os.environ, **killing})
        process.communicate(timeout=120)
        self.assertNotEqual(process.returncode, 0)
        self.assertEqual(attributes(self.at("field.h5"))["complete"], 0)
        self.run_program("field.h5", "--resume", ranks=2)
        self.assert_same_field(self.at("field.h5"), arrays(self.at("whole.h5")))

    def test_is_made_of_parts(self):
        for quantity in QUANTITIES:
            self.run_program(*request(quantity), "whole.h5", "--overwrite")
            whole = values_of(self.at("whole.h5"))
            parts = [f"field.part-{i}-of-2.h5" for i in (1, 2)]
            for i in (1, 2):
                words = [*request(quantity), "--part", f"{i}/2", "--slab", 500, "--overwrite"]
                self.run_program(*words, "field.h5")
            self.run_program("join", "field.h5", *parts, "--overwrite")
            for name, values in values_of(self.at("field.h5")).items():
                self.assert_same_bits(values, whole[name], name)
            self.run_program("verify", "field.h5")
            self.run_program("extract", "field.h5", "values", "--overwrite")
            self.assertEqual(self.at("values").read_bytes(), whole[quantity].tobytes())
            box = ["--first", 3, 2, 8, "--size", 5, 4, 7, "--overwrite"]
            self.run_program("extract", "field.h5", "values", *box)
            inside = whole[quantity][8:15, 2:6, 3:8]
            self.assertEqual(self.at("values").read_bytes(), inside.tobytes())

    def test_is_compressed_and_mended(self):
        self.run_program(*request(), "field.h5", "--slab", 500)
        whole = arrays(self.at("field.h5"))
        with h5py.File(self.at("field.h5"), "r+") as file:
            file["velocity"][3, 4, 5, 1] += 1e-12
        said = self.run_program("verify", "field.h5", status=1).out
        self.assertIn(" 1 changed since they were written", said)
        self.run_program("field.h5", "--resume")
        self.assert_same_field(self.at("field.h5"), whole)
        self.run_program("field.h5", "--resume", "--compress", 1)
        self.assert_same_field(self.at("field.h5"), whole)
        self.assertEqual(attributes(self.at("field.h5"))["quantity"], "velocity")
        self.run_program("verify", "field.h5")


class OtherFieldTest(ProgramTest):
    def test_is_not_gone_on_with_nor_joined(self):
        self.run_program(*request(), "field.h5")
        before = self.at("field.h5").read_bytes()
        self.run_program(*request(), "field.h5", "--resume")
        for other in ("intensity", "pressure"):
            message = self.refused("field.h5", "--resume", "--quantity", other)
            self.assertIn("--quantity differs from the request that field.h5 was begun", message)
        self.assertEqual(self.at("field.h5").read_bytes(), before)
        self.run_program(*request("velocity"), "--part", "1/2", "a.h5")
        self.run_program(*request("intensity"), "--part", "2/2", "a.h5")
        message = self.refused("join", "a.h5", "a.part-1-of-2.h5", "a.part-2-of-2.h5")
        self.assertIn("a.part-2-of-2.h5 belongs to another field", message)

    def test_is_the_pressure_as_ever(self):
        self.run_program(*options(tolerance=1e-6), "plain.h5")
        self.run_program(*request("pressure"), "field.h5")
        self.assert_same_field(self.at("field.h5"), arrays(self.at("plain.h5")))
        found = attributes(self.at("field.h5"))
        self.assertEqual(found["format"], 3)
        self.assertEqual(found["identity"], attributes(self.at("plain.h5"))["identity"])
        self.assertNotIn("quantity", found)

    def test_is_no_beam(self):
        self.run_program(*request(), "field.h5")
        message = self.refused("beam", "field.h5")
        self.assertIn("field.h5: quantity: beams are measured of pressures alone", message)


class AccountTest(ProgramTest):
    def test_is_told_and_kept(self):
        for quantity, symbol, unit in [
            ("velocity", "|v|", "m/s"),
            ("intensity", "|p| times the largest |v|", "W/m^2"),
        ]:
            with self.subTest(quantity=quantity):
                words = [*request(quantity), f"{quantity}.h5"]
                said = self.run_program(*words, "--estimate").out
                self.assertIn(f"tolerance 1e-06 of the largest {symbol}\n", said)
                self.assertIn(f"\nvalues  {quantity}, 3 components at each point\n", said)
                # 7429 points of three complex numbers and a magnitude.
                self.assertIn("\ndisk    386.3 kB in ", said)
                self.run_program(*words)
                found = attributes(self.at(f"{quantity}.h5"))
                self.assertEqual((found["format"], found["quantity"]), (6, quantity))
                self.assertIn(unit, found["conventions"])
                self.assertIn(f"{quantity} and magnitude without unit", found["units"])
                self.assertIn(f"{quantity}[iz][iy][ix][0, 1, 2]", found["axes"])
                self.assertLessEqual(found["error"], found["error_bound"])
                with h5py.File(self.at(f"{quantity}.h5")) as file:
                    self.assertEqual(set(datasets(file)), {quantity, "magnitude", "slabs"})
                shown = self.run_program("show", f"{quantity}.h5").out
                self.assertIn(f'\nquantity = "{quantity}"\n', shown)

    def test_that_was_changed_is_refused(self):
        for name, value in [("quantity", "intensity"), ("format", 5), ("baffle", "soft")]:
            with self.subTest(name=name):
                self.run_program(*request(), "field.h5", "--overwrite")
                with h5py.File(self.at("field.h5"), "r+") as file:
                    file.attrs.modify(name, value)
                self.assertIn("field.h5 is damaged: ", self.refused("show", "field.h5"))


class MistakesTest(ProgramTest):
    def test_are_told_by_name(self):
        takes = "velocities and intensities take a tolerance"
        for words, complaint in [
            (options(quantity="velocity"), f"--quantity: {takes}"),
            (options(quantity="velocity", order=9), f"--quantity: {takes}"),
            (request("speed"), "--quantity: 'speed' is none of pressure, velocity, intensity"),
            (request(device="gpu"), "--quantity: velocities and intensities are not computed in"),
        ]:
            with self.subTest(words=words):
                self.assertIn(complaint, self.refused(*words, "field.h5"))
        self.assertEqual(self.files(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
