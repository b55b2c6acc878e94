# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Fields in media with losses and in other baffles than a rigid one keep their tolerance, are the
same however they are computed, and are other fields than those without."""

import math
import os
import unittest

import h5py
import numpy
from programs import TILTED, ProgramTest, arrays, options

L, S, K = 5e-3, 7.5e-3, 4188.79
BAFFLES = ("rigid", "soft", "free")
# Np/m: waves lose a tenth to a third on the way to the points of the tilted lattice.
LOSSES = 40.5


def request(tolerance=1e-6, attenuation=LOSSES, baffle="soft", **others):
    return options(tolerance=tolerance, attenuation=attenuation, baffle=baffle, **others)


def attributes(path):
    with h5py.File(path) as file:
        return dict(file.attrs)


def values_of(path):
    """Values and magnitudes, without what depends on the slabs."""
    values = arrays(path)
    values.pop("slabs", None)
    return values


class ValuesTest(ProgramTest):
    # Of the tilted lattice, near and far.
    POINTS = [(0, 0, 0), (18, 16, 22), (9, 8, 11), (0, 16, 0), (17, 1, 20), (3, 9, 2), (12, 0, 7)]

    @staticmethod
    def integrals(at, attenuation):
        """What the pressure is in each baffle, by sums over the piston, and about how large."""
        iz, iy, ix = at
        x, y, z, _ = numpy.array(TILTED).reshape(4, 4) @ [ix, iy, iz, 1] / TILTED[-1]
        # Smooth at this distance: 100 nodes a side are exact to rounding.
        nodes, weights = numpy.polynomial.legendre.leggauss(100)
        u, v = numpy.meshgrid(nodes * S / 2, nodes * L / 2)
        areas = numpy.outer(weights, weights) * S * L / 4
        distance = numpy.sqrt((x - u) ** 2 + (y - v) ** 2 + z**2)
        k = K - 1j * attenuation
        wave = areas * numpy.exp(-1j * k * distance) / distance
        rigid = K / (2 * numpy.pi) * numpy.sum(wave)
        slope = -(1j * k + 1 / distance) * z / distance
        soft = 1j / (2 * numpy.pi) * numpy.sum(slope * wave)
        reach = max(numpy.linalg.norm([x, y, z]), numpy.sqrt(S * L) / 4)
        local = min(1, K * S * L / (2 * numpy.pi * reach)) * math.exp(-attenuation * reach)
        return {"rigid": rigid, "soft": soft, "free": (rigid + soft) / 2}, local

    def test_keep_the_tolerance(self):
        for baffle in BAFFLES:
            for attenuation in (0, LOSSES):
                for relative in ("largest", "local"):
                    for precision, tolerance in (("double", 1e-10), ("single", 1e-4)):
                        how = {"relative": relative, "precision": precision}
                        with self.subTest(baffle=baffle, attenuation=attenuation, **how):
                            self.assert_kept(tolerance, attenuation, baffle, how)

    def assert_kept(self, tolerance, attenuation, baffle, how):
        words = request(tolerance, attenuation, baffle, **how)
        self.run_program(*words, "field.h5", "--overwrite")
        pressure = arrays(self.at("field.h5"))["pressure"]
        self.assertEqual(pressure.dtype, "c16" if how["precision"] == "double" else "c8")
        largest = numpy.max(abs(pressure))
        for at in self.POINTS:
            values, local = self.integrals(at, attenuation)
            unit = largest if how["relative"] == "largest" else local
            self.assertLessEqual(abs(pressure[at] - values[baffle]), tolerance * unit)

    def test_of_an_array_are_the_sum_of_its_elements(self):
        head = f"transform = {TILTED}\nsizes = [23, 17, 19]\nk = {K}\ntolerance = 1e-9\n"
        head += f"attenuation = {LOSSES}\nbaffle = 'free'\n"
        array = "[array]\nkind = 'line'\nelements = 1\nwidth = 7.5e-3\nheight = 5e-3\n"
        self.at("request.toml").write_text(head + array)
        said = self.run_program("--request", "request.toml", "array.h5").out
        self.assertIn("array   1 element, by the engine contours\n", said)
        self.run_program(*request(1e-9, LOSSES, "free"), "piston.h5")
        array, piston = (arrays(self.at(name))["pressure"] for name in ("array.h5", "piston.h5"))
        self.assertLessEqual(numpy.max(abs(array - piston)), 2e-9 * numpy.max(abs(piston)))
        found = attributes(self.at("array.h5"))
        self.assertEqual((found["format"], found["engine"]), (5, "contours"))
        # And back, out of the field's file.
        self.at("again.toml").write_text(self.run_program("show", "array.h5").out)
        self.run_program("--request", "again.toml", "again.h5")
        self.assert_same_field(self.at("again.h5"), arrays(self.at("array.h5")))


class SameFieldTest(ProgramTest):
    def test_is_written_by_any_number_of_processes(self):
        words = request(relative="local") + ["--slab", 611]
        self.run_program(*words, "one.h5")
        alone = arrays(self.at("one.h5"))
        self.assertGreater(len(alone["slabs"]), 4)
        for ranks in (2, 3):
            with self.subTest(ranks=ranks):
                self.run_program(*words, "many.h5", "--overwrite", ranks=ranks)
                self.assert_same_field(self.at("many.h5"), alone)

    def test_has_the_same_values_in_slabs_of_any_size_and_by_any_threads(self):
        self.run_program(*request(), "whole.h5")
        whole = values_of(self.at("whole.h5"))
        for slab, threads in [(7, 1), (391, 2), (1001, 5)]:
            with self.subTest(slab=slab, threads=threads):
                words = ["--slab", slab, "--threads", threads, "--overwrite"]
                self.run_program(*request(), *words, "field.h5")
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
        self.run_program(*request(), "whole.h5")
        whole = values_of(self.at("whole.h5"))
        parts = [f"field.part-{i}-of-3.h5" for i in (1, 2, 3)]
        for i in (1, 2, 3):
            self.run_program(*request(), "--part", f"{i}/3", "--slab", 500, "field.h5")
        other = request(attenuation=LOSSES + 1)
        self.run_program(*other, "--part", "1/3", "other.h5")
        message = self.refused("join", "field.h5", "other.part-1-of-3.h5", *parts[1:])
        self.assertIn("part", message)
        self.run_program("join", "field.h5", *parts)
        for name, values in values_of(self.at("field.h5")).items():
            self.assert_same_bits(values, whole[name], name)
        self.run_program("verify", "field.h5")
        self.run_program("extract", "field.h5", "values")
        self.assertEqual(self.at("values").read_bytes(), whole["pressure"].tobytes())
        shown = self.run_program("show", "field.h5").out
        self.assertIn('\nattenuation = 40.5\nbaffle = "soft"\n', shown)

    def test_is_compressed(self):
        self.run_program(*request(), "field.h5")
        values = values_of(self.at("field.h5"))
        self.run_program("field.h5", "--resume", "--compress", 1)
        found = attributes(self.at("field.h5"))
        self.assertEqual((found["attenuation"], found["baffle"]), (LOSSES, "soft"))
        for name, after in values_of(self.at("field.h5")).items():
            self.assert_same_bits(after, values[name], name)


class OtherFieldTest(ProgramTest):
    def test_is_not_gone_on_with(self):
        self.run_program(*request(), "field.h5")
        before = self.at("field.h5").read_bytes()
        self.run_program(*request(), "field.h5", "--resume")
        for option, value in [("--attenuation", 40.500000000000007), ("--baffle", "free")]:
            message = self.refused("field.h5", "--resume", option, value)
            self.assertIn(f"{option} differs from the request that field.h5 was begun", message)
        self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_is_that_without_losses_in_a_rigid_baffle(self):
        self.run_program(*options(tolerance=1e-6), "plain.h5")
        self.run_program(*request(attenuation=0, baffle="rigid"), "field.h5")
        self.assert_same_field(self.at("field.h5"), arrays(self.at("plain.h5")))
        found = attributes(self.at("field.h5"))
        self.assertEqual(found["format"], 3)
        self.assertEqual(found["identity"], attributes(self.at("plain.h5"))["identity"])
        self.assertNotIn("attenuation", found)
        message = self.refused("plain.h5", "--resume", "--attenuation", 1)
        self.assertIn("--attenuation differs", message)


class AccountTest(ProgramTest):
    def test_is_told_and_kept(self):
        estimate = self.run_program(*request(), "field.h5", "--estimate").out
        self.assertIn("\nwave    attenuation 40.5 Np per unit of length, soft baffle\n", estimate)
        estimate = self.run_program(*request(baffle="rigid"), "field.h5", "--estimate").out
        self.assertIn("\nwave    attenuation 40.5 Np per unit of length\n", estimate)
        estimate = self.run_program(*request(attenuation=0), "field.h5", "--estimate").out
        self.assertIn("\nwave    soft baffle\n", estimate)
        self.run_program(*request(), "field.h5")
        found = attributes(self.at("field.h5"))
        self.assertEqual((found["format"], found["mode"]), (5, "cpu"))
        self.assertEqual((found["attenuation"], found["baffle"]), (LOSSES, "soft"))
        self.assertLessEqual(found["error"], found["error_bound"])
        self.assertIn("exp(-j*(k - j*attenuation)*R)/R", found["conventions"])
        self.assertIn("derivative along its normal", found["conventions"])
        self.assertIn("attenuation in Np per that unit", found["units"])

    def test_that_was_changed_is_refused(self):
        for name, value in [("attenuation", 2.5), ("baffle", "free"), ("format", 3)]:
            with self.subTest(name=name):
                self.run_program(*request(), "field.h5", "--overwrite")
                with h5py.File(self.at("field.h5"), "r+") as file:
                    file.attrs.modify(name, value)
                message = self.refused("show", "field.h5")
                self.assertIn("what it says of its field is not what this program", message)
        with h5py.File(self.at("field.h5"), "r+") as file:
            file.attrs.modify("format", 6)
        message = self.refused("show", "field.h5")
        self.assertIn("has the format 6, and this version reads 2 to 5 alone", message)


class MistakesTest(ProgramTest):
    def test_are_told_by_name(self):
        for words, complaint in [
            (options(attenuation=1), "--attenuation: losses take a tolerance"),
            (options(baffle="soft"), "--baffle: soft and free ones take a tolerance"),
            (options(baffle="soft", order=9), "--baffle: soft and free ones take a tolerance"),
            (request(baffle="hard"), "--baffle: 'hard' is none of rigid, soft, free"),
            (request(attenuation=-1), "--attenuation: must be within 0 and the wavenumber"),
            (request(attenuation=5000), "--attenuation: must be within 0 and the wavenumber"),
            (request(attenuation="much"), "--attenuation: 'much' is no number"),
            (request(device="gpu"), "--attenuation: losses are not computed in the mode cudadp"),
            (
                request(attenuation=0, device="gpu", precision="single"),
                "--baffle: soft and free ones are not computed in the mode cuda",
            ),
        ]:
            with self.subTest(words=words):
                self.assertIn(complaint, self.refused(*words, "field.h5"))
        self.assertEqual(self.files(), [])


class SiTest(ProgramTest):
    def write(self, medium, more="tolerance = 1e-6\n"):
        self.at("request.toml").write_text(
            f"frequency = 2e6\n{more}[medium]\nspeed = 1540\n{medium}\n"
            "[piston]\nwidth = 7.5e-3\nheight = 5e-3\n"
            "[grid]\nx = [-4e-3, 0.5e-3, 7]\ny = 0.7e-3\nz = [9e-3, 0.75e-3, 5]\n"
        )

    def compute(self, medium):
        self.write(medium)
        self.run_program("--request", "request.toml", "field.h5", "--overwrite")
        return attributes(self.at("field.h5"))

    def test_are_decibels_of_a_power_of_the_frequency(self):
        k = 2 * math.pi * 2e6 / 1540
        for medium, decibels in [
            ("attenuation = 0.5", 0.5 * 2),
            ("attenuation = 0.5\nexponent = 1.25", 0.5 * 2**1.25),
            ("attenuation = 0.002\nexponent = 2", 0.002 * 4),
        ]:
            found = self.compute(medium)
            self.assertEqual(found["k"], k)
            expected = 100 * decibels * math.log(10) / 20
            self.assertAlmostEqual(found["attenuation"] / expected, 1, delta=1e-14)
        self.assertEqual(self.compute("nepers = 12.5")["attenuation"], 12.5)

    def test_are_those_of_the_raw_request(self):
        found = self.compute("nepers = 12.5")
        raw = options(
            [0.5e-3, 0, 0, -4e-3, 0, 1, 0, 0.7e-3, 0, 0, 0.75e-3, 9e-3, 0, 0, 0, 1],
            (7, 1, 5),
            k=found["k"],
            tolerance=1e-6,
            attenuation=12.5,
        )
        self.run_program(*raw, "raw.h5")
        self.assert_same_field(self.at("field.h5"), arrays(self.at("raw.h5")))

    def test_may_change_the_phase_speed(self):
        k = 2 * math.pi * 2e6 / 1540
        found = self.compute("nepers = 12.5\nexponent = 1\ndispersion_frequency = 1e6")
        # 1/c = 1/c0 - 2/pi * a * ln(w/w0), of a*w nepers.
        self.assertAlmostEqual(found["k"] - k, -2 / math.pi * 12.5 * math.log(2), delta=1e-9)
        found = self.compute("nepers = 12.5\nexponent = 1.5\ndispersion_frequency = 1e6")
        # 1/c = 1/c0 + a * tan(pi*y/2) * (w^(y-1) - w0^(y-1)), of a*w^y nepers.
        change = 12.5 * math.tan(0.75 * math.pi) * (1 - 0.5**0.5)
        self.assertAlmostEqual(found["k"] - k, change, delta=1e-9)

    def test_that_were_left_out_are_another_request(self):
        self.compute("nepers = 12.5")
        before = self.at("field.h5").read_bytes()
        for medium, place in [
            ("nepers = 12", "5: medium.nepers"),
            ("attenuation = 0.5", "5: medium.attenuation"),
            ("", "1: frequency"),
        ]:
            self.write(medium)
            message = self.refused("--request", "request.toml", "--resume", "field.h5")
            self.assertIn(f"request.toml:{place} differs from the request", message)
        self.assertEqual(self.at("field.h5").read_bytes(), before)

    def test_that_are_wrong_are_told_with_their_line(self):
        for medium, complaint in [
            ("attenuation = -1", "5: medium.attenuation: must be 0 or above"),
            ("attenuation = 'much'", "5: medium.attenuation: takes numbers, not a text"),
            ("attenuation = 1\nnepers = 1", "6: medium.nepers: give the attenuation or nepers"),
            ("exponent = 1.1", "5: medium.exponent: goes with an attenuation, and there is none"),
            ("attenuation = 1\nexponent = 3", "6: medium.exponent: must be from 0 to below 3"),
            ("nepers = 1e5", "5: medium.nepers: must be within 0 and the wavenumber"),
            ("nepers = 1\ndispersion_frequency = 0", "6: medium.dispersion_frequency: must be"),
            ("atenuation = 1", "5: medium.atenuation is no option, did you mean attenuation?"),
            ("baffle = 'soft'", "5: medium.baffle is no option; baffle stands before the first"),
        ]:
            with self.subTest(medium=medium):
                self.write(medium)
                self.assertIn(complaint, self.refused("--request", "request.toml", "field.h5"))
        self.write("nepers = 1", more="order = 20\n")
        message = self.refused("--request", "request.toml", "field.h5")
        self.assertIn("request.toml:5: medium.nepers: losses take a tolerance", message)
        self.write("", more="attenuation = 1\n")
        message = self.refused("--request", "request.toml", "field.h5")
        self.assertIn("1: frequency, in SI units, excludes request.toml:2: attenuation", message)
        self.assertEqual(self.files(), ["request.toml"])


if __name__ == "__main__":
    unittest.main(verbosity=2)
