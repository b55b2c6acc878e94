# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The beam of a request's source, and of a field in a file, against sums over the face."""

import json
import math
import unittest

import h5py
import numpy
from programs import ProgramTest

WIDTH, HEIGHT, FREQUENCY, SPEED, DENSITY = 9e-3, 6e-3, 1e6, 1482, 998
REGION = "[grid]\nx = [-6e-3, 0.5e-3, 25]\ny = [-6e-3, 0.5e-3, 25]\nz = [14e-3, 0.75e-3, 60]\n"


def request(more="", grid=REGION):
    return (
        f"frequency = {FREQUENCY}\nvelocity = 0.3\ntolerance = 1e-7\n{more}\n"
        f"[piston]\nwidth = {WIDTH}\nheight = {HEIGHT}\n{grid}"
    )


def field(x, y, z):
    """p by a Gauss rule over the face, in Pa of a velocity of 0.3 m/s."""
    k = 2 * math.pi * FREQUENCY / SPEED
    nodes, weights = numpy.polynomial.legendre.leggauss(60)
    u, v = numpy.meshgrid(nodes * WIDTH / 2, nodes * HEIGHT / 2, indexing="ij")
    area = numpy.outer(weights, weights) * WIDTH * HEIGHT / 4
    r = numpy.sqrt((x - u) ** 2 + (y - v) ** 2 + z**2)
    wave = numpy.sum(area * numpy.exp(-1j * k * r) / r)
    return wave * k / (2 * math.pi) * DENSITY * SPEED * 0.3


def pressure(*place):
    return abs(field(*place))


class BeamTest(ProgramTest):
    def beam(self, *words, text=None):
        self.at("request.toml").write_text(text or request())
        return json.loads(self.run_program("beam", "request.toml", "--json", *words).out)

    def complaint(self, *words, text=None):
        self.at("request.toml").write_text(text or request())
        return self.refused("beam", "request.toml", *words)

    def test_has_its_peak_where_the_pressure_is_largest(self):
        peak = self.beam()["peak"]
        x, y, z = peak["place"]
        numpy.testing.assert_allclose([x, y], [0, 0], atol=2e-6)
        self.assertFalse(peak["on_edge"])
        self.assertAlmostEqual(peak["pressure"] / pressure(x, y, z), 1, delta=1e-6)
        around = [pressure(x, y, z + way * 1e-4) for way in range(-30, 31)]
        self.assertAlmostEqual(max(around) / peak["pressure"], 1, delta=1e-6)

    def test_has_the_widths_between_which_the_pressure_falls(self):
        found = self.beam()
        for direction in range(3):
            for level, decibels in enumerate(found["levels"]):
                for sign, side in ((-1, "before"), (1, "behind")):
                    way = found[side][direction][level]
                    if way is None:
                        continue
                    place = numpy.array(found["peak"]["place"])
                    place += sign * way * numpy.array(found["directions"][direction])
                    fallen = 20 * math.log10(pressure(*place) / found["peak"]["pressure"])
                    self.assertAlmostEqual(fallen, decibels, delta=1e-4)
        self.assertIsNotNone(found["widths"][0][1])
        # The axis does not fall by 20 dB in this region.
        self.assertIsNone(found["widths"][2][2])

    def test_has_intensities_and_a_mechanical_index(self):
        found = self.beam("--duty", 0.02, "--derating", 0.5)
        p = found["peak"]["pressure"]
        intensity = p**2 / (2 * DENSITY * SPEED)
        self.assertAlmostEqual(found["intensity"]["sppa"] / intensity, 1, delta=1e-9)
        self.assertAlmostEqual(found["intensity"]["spta"] / intensity, 0.02, delta=1e-9)
        derated = found["derated"]
        z = derated["place"][2]
        wanted = pressure(*derated["place"]) * 10 ** (-0.5 * z * 100 / 20)
        self.assertAlmostEqual(derated["pressure"] / wanted, 1, delta=1e-6)
        self.assertAlmostEqual(found["mechanical_index"], wanted / 1e6, delta=1e-6)

    def test_is_told_as_a_hydrophone_has_it(self):
        found = self.beam("--hydrophone", 2e-3, 1e-3)
        x, y, z = found["peak"]["place"]
        nodes, weights = numpy.polynomial.legendre.leggauss(8)
        average = sum(
            a * b / 4 * field(x + u * 1e-3, y + v * 0.5e-3, z)
            for u, a in zip(nodes, weights)
            for v, b in zip(nodes, weights)
        )
        told = found["hydrophone"]["pressure"]
        self.assertAlmostEqual(told / abs(average), 1, delta=1e-6)
        fallen = 20 * math.log10(told / found["peak"]["pressure"])
        self.assertAlmostEqual(found["hydrophone"]["level"], fallen, delta=1e-6)
        self.assertLess(found["hydrophone"]["error"], 1e-5 * found["peak"]["pressure"])

    def test_of_a_file_is_that_of_its_values(self):
        wanted = self.beam()
        self.run_program("--request", "request.toml", "field.h5")
        words = ["beam", "field.h5", "--velocity", 0.3, "--json"]
        found = json.loads(self.run_program(*words).out)
        ratio = found["peak"]["pressure"] / wanted["peak"]["pressure"]
        self.assertAlmostEqual(ratio, 1, delta=2e-4)
        numpy.testing.assert_allclose(found["peak"]["place"], wanted["peak"]["place"], atol=2e-4)
        numpy.testing.assert_allclose(found["widths"][0][:2], wanted["widths"][0][:2], rtol=2e-3)
        self.assertAlmostEqual(found["power"] / wanted["power"], 1, delta=1e-9)
        self.assertAlmostEqual(found["focal_gain"] / wanted["focal_gain"], 1, delta=2e-4)

    def test_of_a_part_is_in_its_own_points(self):
        self.at("request.toml").write_text(request())
        self.run_program("--request", "request.toml", "--part", "2/3", "field.h5")
        name = "field.part-2-of-3.h5"
        with h5py.File(self.at(name), "r") as file:
            first = file.attrs["first_point"]
            values = file["pressure"][...]
        found = json.loads(self.run_program("beam", name, "--json").out)
        index = numpy.unravel_index(numpy.argmax(abs(values)), values.shape)
        z = 14e-3 + (first[2] + index[0]) * 0.75e-3
        self.assertAlmostEqual(found["peak"]["place"][2], z, delta=0.75e-3)

    def test_is_a_table(self):
        self.at("request.toml").write_text(request())
        table = self.run_program("beam", "request.toml").out
        for word in (
            "Peak pressure",
            "Depth of field",
            "beyond the region",
            "Side lobes",
            "Mechanical index",
            "Radiated power",
        ):
            self.assertIn(word, table)

    def test_of_an_array_has_grating_lobes(self):
        array = (
            f"frequency = {FREQUENCY}\n"
            "[array]\nkind = 'line'\nelements = 12\nwidth = 0.4e-3\nheight = 0.4e-3\n"
            "pitch = 2e-3\n[grid]\nx = [-40e-3, 4e-3, 21]\ny = 0\nz = [2, 20e-3, 11]\n"
        )
        lobes = self.beam(text=array)["lobes"]
        angles = [a for a, is_one in zip(lobes["angle"], lobes["grating"]) if is_one]
        self.assertEqual(len(angles), 2)
        wanted = math.degrees(math.asin(SPEED / FREQUENCY / 2e-3))
        numpy.testing.assert_allclose(numpy.abs(angles), wanted, atol=0.05)

    def test_of_a_disc_with_losses_is_that_of_its_axis(self):
        radius, nepers = 8e-3, 5
        k = 2 * math.pi * FREQUENCY / SPEED

        def along(z, soft):
            s = complex(nepers, k)
            rim = math.hypot(z, radius)
            if soft:
                return abs(numpy.exp(-s * z) - z / rim * numpy.exp(-s * rim))
            return abs(k / s * (numpy.exp(-s * z) - numpy.exp(-s * rim)))

        for baffle in ("rigid", "soft"):
            with self.subTest(baffle=baffle):
                disc = (
                    f"frequency = {FREQUENCY}\nvelocity = 0.3\nbaffle = '{baffle}'\n"
                    f"tolerance = 1e-7\n[medium]\nnepers = {nepers}\n[piston]\nshape = 'disc'\nradius = {radius}\n"
                    "[grid]\nx = 0\ny = 0\nz = [20e-3, 2e-3, 31]\n"
                )
                found = self.beam(text=disc)
                unit = DENSITY * SPEED * 0.3
                largest = max(along(0.02 + i * 1e-5, baffle == "soft") for i in range(6001))
                self.assertAlmostEqual(found["peak"]["pressure"] / unit / largest, 1, delta=1e-6)
                self.assertEqual("power" in found, baffle == "rigid")
        self.run_program("--request", "request.toml", "field.h5")
        words = ["beam", "field.h5", "--velocity", 0.3, "--json"]
        of_file = json.loads(self.run_program(*words).out)
        ratio = of_file["peak"]["pressure"] / found["peak"]["pressure"]
        self.assertAlmostEqual(ratio, 1, delta=1e-3)

    def test_refuses_what_makes_no_beam(self):
        self.assertIn("--duty: ", self.complaint("--duty", 2))
        self.assertIn("--axis: ", self.complaint("--axis", 0, 0, 0))
        self.assertIn("--hydrophone: ", self.complaint("--hydrophone", -1))
        self.assertIn("--derating: ", self.complaint("--derating", "much"))
        self.assertIn("--speed: ", self.complaint("--speed", 1500))
        self.assertIn("request.toml: transform is missing", self.complaint(text="k = 1\n"))
        self.assertIn("none.toml: ", self.refused("beam", "none.toml"))


if __name__ == "__main__":
    unittest.main(verbosity=2)
