# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import logging

import numpy as np
import pytest
from conftest import turn

import pistonfield as pf

TOLERANCE = {"tolerance": 1e-10}


@pytest.fixture
def convex() -> pf.Array:
    return pf.Array.convex(elements=9, radius=30e-3, pitch=2e-3, width=1.5e-3, height=5e-3)


def own(array, points, **options):
    """The fields of the elements, each driven by 1."""
    return pf.pressure(array, points, 1e6, weights=np.eye(len(array)), **TOLERANCE, **options).T


def test_at_a_focus_the_waves_of_all_elements_are_in_phase(convex):
    place = [3e-3, 1e-3, 20e-3]
    weights = pf.focus(convex, place, 1e6)
    assert weights.shape == (9,)
    np.testing.assert_allclose(abs(weights), 1, rtol=1e-12)
    p = pf.pressure(convex, [place], 1e6, weights=weights, **TOLERANCE)
    assert abs(p[0]) == pytest.approx(abs(own(convex, [place])).sum(), rel=1e-7)
    np.testing.assert_array_equal(weights, pf.focus(convex, [place], 1e6))
    np.testing.assert_allclose(pf.focus(convex, place, 1e6, drive_limit=3), 3 * weights)


def test_several_foci_have_the_pressures_that_are_demanded(convex):
    foci = np.array([[3, 1, 20], [-4, 0, 25], [0, -1, 15]]) * 1e-3
    demanded = np.array([1e5, -2e5j, 5e4])
    medium = {"velocity": 0.2, "medium": pf.Medium(speed=1540, density=1050)}
    weights = pf.focus(convex, foci, 1e6, pressures=demanded, **medium)
    p = pf.pressure(convex, foci, 1e6, weights=weights, **medium, **TOLERANCE)
    np.testing.assert_allclose(p, demanded, atol=1e-6 * 2e5)
    least = np.linalg.pinv(own(convex, foci, **medium)) @ demanded
    np.testing.assert_allclose(weights, least, atol=1e-6 * np.linalg.norm(least))


def test_without_pressures_those_of_foci_are_equal(convex):
    foci = np.array([[3, 1, 20], [-4, 0, 25]]) * 1e-3
    weights = pf.focus(convex, foci, 1e6)
    assert abs(weights).max() == pytest.approx(1, rel=1e-9)
    p = own(convex, foci) @ weights
    assert p[1] == pytest.approx(p[0], rel=1e-6)
    even = pf.focus(convex, foci, 1e6, iterations=100, drive_limit=2)
    assert abs(even).max() == pytest.approx(2, rel=1e-9)
    assert (abs(even) ** 2).mean() / 4 > (abs(weights) ** 2).mean()


def test_steering_needs_no_point(convex):
    steered = pf.focus(convex, frequency=1e6, steer=20)
    np.testing.assert_array_equal(steered, pf.focus(convex, None, 1e6, steer=20))
    with pytest.raises(TypeError, match="^frequency: is missing"):
        pf.focus(convex, steer=20)


def test_steering_is_in_the_frame_of_the_points(line):
    c, s = np.cos(0.4), np.sin(0.4)
    matrix = np.array([[c, 0, s], [0, 1, 0], [-s, 0, c]])
    turned = pf.Array.line(elements=8, pitch=1e-3, width=0.8e-3, height=5e-3, orientation=matrix)
    np.testing.assert_allclose(turned.center, line.center @ matrix.T, atol=1e-15)
    away = np.degrees(0.4) + 10
    np.testing.assert_allclose(
        pf.focus(turned, frequency=1e6, steer=away),
        pf.focus(line, frequency=1e6, steer=10),
        atol=1e-9,
    )


def test_what_cannot_be_had_is_noted(convex, caplog):
    angle = np.arange(12) * np.pi / 6
    foci = np.stack([1e-4 * np.cos(angle), 1e-4 * np.sin(angle), 0 * angle + 20e-3], axis=1)
    with caplog.at_level(logging.WARNING, logger="pistonfield"):
        pf.focus(convex, foci, 1e6, pressures=(-1.0) ** np.arange(12), least_ratio=1e-2)
    assert "singular values were dropped" in caplog.text


def test_a_plane_wave_is_steered_by_angles_or_a_direction(convex):
    direction = turn(20, 1) @ turn(-10, 0) @ [0, 0, 1]
    wanted = np.exp(-2j * np.pi * 1e6 / 1482 * convex.center @ direction)
    np.testing.assert_allclose(pf.focus(convex, None, 1e6, steer=(20, 10)), wanted, atol=1e-12)
    np.testing.assert_allclose(
        pf.focus(convex, None, 1e6, plane_wave=7 * direction), wanted, atol=1e-12
    )
    np.testing.assert_array_equal(
        pf.focus(convex, None, 1e6, steer=20), pf.focus(convex, None, 1e6, steer=(20, 0))
    )


def test_windows_end_at_the_rim(convex):
    rim = abs(convex.center[:, 0]).max() + 0.75e-3 * convex.orientation[0, 0, 0]
    x = convex.center[:, 0] / rim
    plain = pf.focus(convex, None, 1e6, steer=0)

    def window(apodization, **options):
        return pf.focus(convex, None, 1e6, steer=0, apodization=apodization, **options) / plain

    np.testing.assert_allclose(window("hann"), (1 + np.cos(np.pi * x)) / 2, atol=1e-9)
    np.testing.assert_allclose(window(("tukey", 1)), (1 + np.cos(np.pi * x)) / 2, atol=1e-9)
    np.testing.assert_allclose(window(("gaussian", 0.4)), np.exp(-(x**2) / 0.32), atol=1e-9)
    np.testing.assert_allclose(window("hann", along="y"), 1, atol=1e-12)


def test_delays_phases_and_amplitudes_are_rounded(convex):
    place = [3e-3, 1e-3, 20e-3]
    delays = -np.angle(pf.focus(convex, place, 1e6, quantized=50e-9)) / (2 * np.pi * 1e6) / 50e-9
    np.testing.assert_allclose(delays, np.round(delays), atol=1e-6)
    quarters = np.angle(pf.focus(convex, place, 1e6, phase_bits=2)) / (np.pi / 2)
    np.testing.assert_allclose(quarters, np.round(quarters), atol=1e-9)
    weights = abs(pf.focus(convex, place, 1e6, apodization="hann", amplitude_levels=5))
    levels = 4 * weights / weights.max()
    np.testing.assert_allclose(levels, np.round(levels), atol=1e-9)


FAR = [0, 0, 1]


@pytest.mark.parametrize(
    ("point", "given", "error", "text"),
    [
        (None, {}, ValueError, "^point: give points, or steer"),
        (FAR, {"steer": 3}, ValueError, "^steer: give point or steer, not both"),
        (None, {"steer": 3, "plane_wave": FAR}, ValueError, "^plane_wave: give steer or"),
        ([0, 0, 1, 2], {}, ValueError, "^point: must be an"),
        ([0, 0, np.nan], {}, ValueError, "^point: every number must be finite"),
        ("here", {}, TypeError, "^point: must be three"),
        ([0, 0, -1], {}, ValueError, "^behind: .*where there is no field"),
        (np.ones((257, 3)), {}, ValueError, "^point: 257 are not within 1 to 256"),
        (None, {"steer": 3, "pressures": 1}, ValueError, "^pressures: are demanded at points"),
        (FAR, {"pressures": [1, 2]}, ValueError, "^pressures: must be 1, one for each"),
        (FAR, {"pressures": np.nan}, ValueError, "^pressures: every number must be finite"),
        (FAR, {"pressures": 0}, ValueError, "^pressures: all are 0"),
        (FAR, {"drive_limit": 0}, ValueError, "^drive_limit: "),
        ([FAR, [1, 0, 1]], {"iterations": -1}, ValueError, "^iterations: must be within 0"),
        ([FAR, [1, 0, 1]], {"iterations": 10**12}, ValueError, "^iterations: must be within 0"),
        (FAR, {"iterations": 1.5}, TypeError, "^iterations: must be a whole number"),
        ([FAR, [1, 0, 1]], {"least_ratio": 1e-9}, ValueError, "^least_ratio: must be within"),
        (None, {"steer": [1, 2, 3]}, ValueError, "^steer: must be one or two angles"),
        (None, {"plane_wave": [1, 2]}, ValueError, "^plane_wave: must be three"),
        (None, {"plane_wave": [0, 0, 0]}, ValueError, "^plane_wave: must be of a length above 0"),
        (FAR, {"apodization": "square"}, ValueError, "^apodization: 'square' is none of"),
        (FAR, {"apodization": 3}, TypeError, "^apodization: must be one of"),
        (FAR, {"apodization": "tukey"}, ValueError, "^apodization: tukey takes a number"),
        (FAR, {"apodization": ("hann", 1)}, ValueError, "^apodization: hann takes no number"),
        (FAR, {"apodization": ("tukey", 2)}, ValueError, "^apodization: the tapered part"),
        (FAR, {"along": "z"}, ValueError, "^along: 'z' is none of x, y, radius"),
        (FAR, {"quantized": 1e-6}, ValueError, "^quantized: must be a time above 0"),
        (FAR, {"phase_bits": 33}, ValueError, "^phase_bits: 33 is not within 1 to 32"),
        (FAR, {"phase_bits": -1}, ValueError, "^phase_bits: .* is not within 1 to 32"),
        (FAR, {"amplitude_levels": 1}, ValueError, "^amplitude_levels: must be 2 or more"),
        (FAR, {"tolerance": 1e-20}, ValueError, "^tolerance: "),
        (FAR, {"behind": 1}, TypeError, "^behind: must be True or False"),
        (FAR, {"velocity": -1}, ValueError, "^velocity: must be a velocity in m/s above 0"),
        (FAR, {"medium": 1482}, TypeError, "^medium: must be a Medium, not int"),
    ],
)
def test_what_cannot_be_aimed_at_is_refused(convex, point, given, error, text):
    with pytest.raises(error, match=text):
        pf.focus(convex, point, 1e6, **given)


def test_a_piston_is_not_focused():
    with pytest.raises(TypeError, match="^array: must be an Array, not Piston"):
        pf.focus(pf.Piston(width=1e-3, height=1e-3), [0, 0, 1], 1e6)
