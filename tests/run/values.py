# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The values in the file are those of the field: as the formula gives them, and as Octave does."""

import os
import subprocess
import unittest

import numpy
from programs import TILTED, ProgramTest, arrays, options

L, S, K, ORDER = 5e-3, 7.5e-3, 4188.79, 20
SIZES = (23, 17, 19)


def positions():
    """x, y and z of all points, each in the order [z][y][x]."""
    iz, iy, ix = numpy.meshgrid(*map(numpy.arange, reversed(SIZES)), indexing="ij")
    m = numpy.array(TILTED, dtype=numpy.longdouble).reshape(4, 4)
    return [(m[i, 0] * ix + m[i, 1] * iy + m[i, 2] * iz + m[i, 3]) / m[3, 3] for i in range(3)]


def edge_integral(offset, start, end, z):
    """The rule applied along an edge, split at the foot of the point; and to the integrand's
    largest magnitude."""
    nodes, weights = numpy.polynomial.legendre.leggauss(ORDER)
    inside = (start > 0) != (end > 0)
    total, bound = 0, 0
    for a, b in [(start, numpy.where(inside, 0, end)), (numpy.where(inside, 0, end), end)]:
        half, middle = (b - a) / 2, (a + b) / 2
        for node, weight in zip(nodes, weights):
            d = offset**2 + (half * node + middle) ** 2
            over_d = half * weight / d
            total = total + over_d * (
                numpy.exp(-1j * K * numpy.sqrt(z**2 + d)) - numpy.exp(-1j * K * z)
            )
            bound = bound + 2 * abs(over_d)
    return total, bound


def reference():
    """The pressure, and what its rounding errors grow with: (1 + k*R) times the integrands' sizes,
    with R the way to the far corner."""
    x, y, z = positions()
    x1, x2, y1, y2 = x - S / 2, x + S / 2, y - L / 2, y + L / 2
    pressure, scale = 0, 0
    for sign, offset, start, end in [
        (1, x1, y1, y2),
        (-1, x2, y1, y2),
        (1, y1, x1, x2),
        (-1, y2, x1, x2),
    ]:
        integral, bound = edge_integral(offset, start, end, z)
        pressure = pressure + sign * offset * integral
        scale = scale + abs(offset) * bound
    far = [numpy.maximum(abs(a), abs(b)) for a, b in [(x1, x2), (y1, y2)]]
    reach = numpy.sqrt(z**2 + far[0] ** 2 + far[1] ** 2)
    return -1j * pressure / (2 * numpy.pi), (1 + K * reach) * scale / (2 * numpy.pi)


class ValuesTest(ProgramTest):
    def test_are_those_of_the_formula(self):
        expected, measure = reference()
        # Roundings: two of the evaluation's own, one of the nodes and weights, and four of a
        # position, which sums four terms and divides.
        roundings = 7
        for mode, unit in [("cpu", 2.0**-53), ("cpusp", 2.0**-24)]:
            with self.subTest(mode=mode):
                self.run_program(*options(sizes=SIZES, mode=mode, order=ORDER), f"{mode}.h5")
                field = arrays(self.at(f"{mode}.h5"))
                error = numpy.max(abs(field["pressure"] - expected) / measure) / unit
                print(f"{mode}: at most {float(error):.2f} roundings from the formula")
                self.assertLess(error, roundings)
                # The magnitude is a float in every mode: its rounding, and three of its formula.
                magnitude = abs(field["pressure"].astype(complex))
                off = numpy.max(abs(field["magnitude"] - magnitude) / magnitude)
                self.assertLess(off, 3 * 2.0**-24)

    def test_converge_to_the_integral_over_the_piston(self):
        self.run_program(*options(sizes=SIZES, order=60), "field.h5")
        pressure = arrays(self.at("field.h5"))["pressure"]
        # Smooth everywhere but near the face: 80 nodes a side are exact to rounding here.
        nodes, weights = numpy.polynomial.legendre.leggauss(80)
        u, v = numpy.meshgrid(nodes * S / 2, nodes * L / 2)
        w = numpy.outer(weights, weights) * S * L / 4
        x, y, z = (a.astype(float) for a in positions())
        for at in [(0, 0, 0), (18, 16, 22), (9, 8, 11), (0, 16, 0), (17, 1, 20)]:
            distance = numpy.sqrt((x[at] - u) ** 2 + (y[at] - v) ** 2 + z[at] ** 2)
            expected = K / (2 * numpy.pi) * numpy.sum(w * numpy.exp(-1j * K * distance) / distance)
            self.assertLess(abs(pressure[at] - expected), 1e-12)

    @unittest.skipUnless("PISTONFIELD_MODULE" in os.environ, "this build has no module for Octave")
    def test_are_those_of_the_module_for_octave_bit_for_bit(self):
        self.run_program(*options(sizes=SIZES, order=ORDER), "field.h5")
        # MATLAB and Octave give the transform's transpose, and store the values x fastest.
        script = (
            f"T = reshape([{' '.join(map(repr, TILTED))}], 4, 4);"
            f"p = pistonfield(T, {list(SIZES)}, {L}, {S}, {K}, 'cpu', {ORDER});"
            "f = fopen('octave.bin', 'w');"
            "fwrite(f, [real(p(:)) imag(p(:))]', 'double'); fclose(f);"
        )
        octave = [os.environ["PISTONFIELD_OCTAVE"], "--no-history", "--no-init-file"]
        octave += [
            "--no-window-system",
            "--path",
            os.environ["PISTONFIELD_MODULE"],
            "--eval",
            script,
        ]
        subprocess.run(octave, cwd=self.folder, check=True, capture_output=True)
        expected = numpy.fromfile(self.at("octave.bin"), dtype=complex).reshape(SIZES[::-1])
        self.assert_same_bits(arrays(self.at("field.h5"))["pressure"], expected)


if __name__ == "__main__":
    unittest.main(verbosity=2)
