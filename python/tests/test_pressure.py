# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import numpy as np
import pytest
from conftest import rayleigh, turn
from hypothesis import given, settings
from hypothesis import strategies as st

import pistonfield as pf


def test_the_pressure_is_the_surface_integral(piston, grid):
    medium = pf.Medium(speed=1500, density=900)
    p = pf.pressure(piston, grid, 0.8e6, medium=medium, velocity=0.2, tolerance=1e-9)
    assert p.shape == (7, 6, 5)
    assert p.dtype == np.complex128
    for index in [(0, 0, 0), (3, 2, 1), (6, 5, 4)]:
        wanted = rayleigh(piston, grid.positions()[index], 0.8e6, medium, 0.2)
        assert abs(p[index] - wanted) <= 2e-9 * abs(p).max()


def test_a_moved_and_turned_piston_radiates_along_its_normal():
    orientation = turn(20, 1) @ turn(40, 2) @ turn(10, 0)
    center = np.array([4e-3, -5e-3, 6e-3])
    piston = pf.Piston(width=3e-3, height=2e-3, center=center, orientation=orientation)
    own = np.array([[0.5e-3, 1.2e-3, 2e-3], [-1e-3, 0.3e-3, 3e-3]])
    points = center + own @ orientation.T
    p = pf.pressure(piston, points, 1e6, tolerance=1e-9)
    one = [pf.pressure(piston, pf.Grid(x=x, y=y, z=z), 1e6, tolerance=1e-9) for x, y, z in points]
    for i, point in enumerate(points):
        wanted = rayleigh(piston, point, 1e6)
        assert abs(p[i] - wanted) <= 3e-9 * abs(p).max()
        assert abs(one[i][0, 0, 0] - wanted) <= 3e-9 * abs(wanted)


def test_far_off_on_the_axis_the_piston_is_a_point(piston):
    k = 2 * np.pi * 1e6 / 1482
    p = pf.pressure(piston, [[0, 0, 50]], 1e6)[0]
    wanted = 1j * 1e6 * 998 * 6e-6 / 50 * np.exp(-1j * k * 50)
    # The first term neglected turns the phase by k*(width^2 + height^2)/(24 z), 4.6e-5.
    assert abs(p - wanted) <= 5e-5 * abs(wanted)


def test_an_array_is_the_sum_of_its_elements_times_their_weights(line, grid):
    weights = np.exp(1j * np.arange(8)) * np.linspace(0.5, 2, 8)
    p = pf.pressure(line, grid, 1e6, weights=weights, tolerance=1e-9)
    wanted = sum(
        weight * pf.pressure(element, grid, 1e6, tolerance=1e-11)
        for weight, element in zip(weights, line, strict=True)
    )
    assert abs(p - wanted).max() <= 2e-9 * abs(wanted).max()


def test_several_weightings_come_first(line, grid):
    weights = np.random.default_rng(1).normal(size=(3, 8, 2)) @ [1, 1j]
    p = pf.pressure(line, grid, 1e6, weights=weights, tolerance=1e-9)
    assert p.shape == (3, 7, 6, 5)
    for i in range(3):
        one = pf.pressure(line, grid, 1e6, weights=weights[i], tolerance=1e-9)
        assert abs(p[i] - one).max() <= 2e-9 * abs(one).max()
    # One weighting as a row keeps its axis.
    assert pf.pressure(line, grid, 1e6, weights=weights[:1]).shape == (1, 7, 6, 5)
    points = grid.positions().reshape(-1, 3)
    listed = pf.pressure(line, points, 1e6, weights=weights, tolerance=1e-9)
    assert listed.shape == (3, 210)
    assert abs(listed.reshape(3, 7, 6, 5) - p).max() <= 4e-9 * abs(p).max()


def test_the_arrays_own_weights_are_those_where_there_are_no_others(line, grid):
    weights = np.arange(1, 9) * 1j
    driven = pf.Array(line, weights=weights)
    p = pf.pressure(driven, grid, 1e6)
    np.testing.assert_array_equal(p, pf.pressure(line, grid, 1e6, weights=weights))
    np.testing.assert_array_equal(
        pf.pressure(driven, grid, 1e6, weights=np.ones(8)), pf.pressure(line, grid, 1e6)
    )


@pytest.mark.parametrize("relative", ["largest", "local"])
@pytest.mark.parametrize("precision", ["double", "single"])
def test_a_tolerance_is_kept(piston, relative, precision):
    away = pf.Grid(x=np.arange(-3, 4) * 20e-3, y=1e-3, z=np.arange(1, 5) * 50e-3)
    exact = pf.pressure(piston, away, 1e6, tolerance=1e-12, relative="local")
    p = pf.pressure(piston, away, 1e6, tolerance=1e-4, relative=relative, precision=precision)
    distance = np.linalg.norm(away.positions(), axis=-1)
    scale = 1e6 * 998 * 6e-6 / distance if relative == "local" else abs(exact).max()
    assert (abs(p - exact) / scale).max() <= 1e-4
    assert (abs(p - exact) / scale).max() > 0


def test_points_behind_are_refused_or_mirrored(piston):
    points = [[1e-3, 0, 2e-3], [1e-3, 0, -2e-3]]
    with pytest.raises(ValueError, match=r"^behind: point 1, \(0.001, 0, -0.002\) m, lies 0.002 m"):
        pf.pressure(piston, points, 1e6)
    p = pf.pressure(piston, points, 1e6, behind=True)
    assert p[0] == p[1]
    below = pf.Grid(x=0, y=0, z=[-1e-3, 0, 1e-3])
    with pytest.raises(ValueError, match=r"^behind: the grid reaches 0.001 m behind the plane"):
        pf.pressure(piston, below, 1e6)
    p = pf.pressure(piston, below, 1e6, behind=True)
    assert p[0, 0, 0] == p[0, 0, 2]
    array = pf.Array([piston])
    with pytest.raises(ValueError, match=r"^behind: .*behind element 1, where there is no field"):
        pf.pressure(array, below, 1e6)
    assert pf.pressure(array, below, 1e6, behind=True).shape == (1, 1, 3)


def test_a_turned_grid_may_touch_the_pistons_plane(piston):
    rotation = turn(33, 1) @ turn(21, 0)
    turned = pf.Piston(width=3e-3, height=2e-3, center=[0.1, 0.2, 0.3], orientation=rotation)
    corner = turned.center + rotation @ [-5e-3, -5e-3, 0]
    grid = pf.Grid(origin=corner, steps=1e-3 * rotation, sizes=[11, 11, 3])
    own = pf.Grid(x=np.arange(-5, 6) * 1e-3, y=np.arange(-5, 6) * 1e-3, z=np.arange(3) * 1e-3)
    p = pf.pressure(turned, grid, 1e6, tolerance=1e-8)
    assert abs(p - pf.pressure(piston, own, 1e6, tolerance=1e-8)).max() <= 3e-8 * abs(p).max()
    plane = corner + rng_points(rotation)
    assert np.isfinite(pf.pressure(turned, plane, 1e6)).all()


def rng_points(rotation):
    inside = np.random.default_rng(3).uniform(0, 0.01, size=(50, 3)) * [1, 1, 0]
    return inside @ rotation.T


def test_bits_depend_on_neither_threads_nor_parts(piston, line, grid):
    for source in (piston, line):
        plan = pf.Plan(source, grid, 1e6, threads=2)
        p = plan.compute()
        np.testing.assert_array_equal(p, pf.Plan(source, grid, 1e6, threads=1).compute())
        np.testing.assert_array_equal(p[2:5, 3, 1:], plan.compute(np.s_[2:5, 3, 1:]))


sides = st.floats(1e-4, 5e-3)
places = st.tuples(st.floats(-5e-3, 5e-3), st.floats(-5e-3, 5e-3), st.floats(1e-4, 20e-3))


@settings(max_examples=40)
@given(sides, sides, st.lists(places, min_size=1, max_size=4), st.floats(1e5, 3e6))
def test_a_piston_is_its_halves_together(width, height, points, frequency):
    whole = pf.Piston(width=width, height=height)
    halves = pf.Array(
        pf.Piston(width=width / 2, height=height, center=[side * width / 4, 0, 0])
        for side in (-1, 1)
    )
    p = pf.pressure(whole, points, frequency, tolerance=1e-8, relative="local")
    both = pf.pressure(halves, points, frequency, tolerance=1e-8, relative="local")
    assert abs(p - both).max() <= 3e-8 * 998 * 1482


@settings(max_examples=30)
@given(
    st.floats(-180, 180),
    st.floats(-180, 180),
    st.tuples(*[st.floats(-1, 1)] * 3),
    st.lists(places, min_size=1, max_size=4),
)
def test_motions_of_all_change_nothing(first, second, shift, points):
    rotation = turn(first, 0) @ turn(second, 2)
    piston = pf.Piston(width=3e-3, height=2e-3)
    moved = pf.Piston(width=3e-3, height=2e-3, center=shift, orientation=rotation)
    there = np.array(points) @ rotation.T + shift
    p = pf.pressure(piston, points, 1e6, tolerance=1e-7)
    assert abs(pf.pressure(moved, there, 1e6, tolerance=1e-7) - p).max() <= 5e-7 * abs(p).max()
