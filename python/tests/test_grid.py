# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import pickle

import numpy as np
import pytest
from conftest import turn
from hypothesis import given
from hypothesis import strategies as st

import pistonfield as pf


def test_a_grid_lies_along_its_coordinates():
    grid = pf.Grid(x=[1e-3, 2e-3, 3e-3], y=0.5, z=[4e-3, 2e-3])
    assert grid.shape == (3, 1, 2)
    assert grid.size == 6
    np.testing.assert_allclose(grid.x, [1e-3, 2e-3, 3e-3], rtol=1e-15)
    np.testing.assert_array_equal(grid.z, [4e-3, 2e-3])
    np.testing.assert_allclose(grid.positions()[2, 0, 1], [3e-3, 0.5, 2e-3], rtol=1e-15)
    assert repr(grid) == "<Grid of 3 by 1 by 2 points from (1, 500, 4) to (3, 500, 2) mm>"


def test_a_grid_of_steps_lies_along_them():
    steps = turn(30, 1) * [1e-3, 2e-3, 3e-3]
    grid = pf.Grid(origin=[1, 2, 3], steps=steps, sizes=(2, 3, 4))
    assert not grid.is_aligned
    np.testing.assert_allclose(
        grid.positions()[1, 2, 3], np.array([1, 2, 3]) + steps @ [1, 2, 3], rtol=1e-15
    )
    with pytest.raises(ValueError, match=r"^grid: it is turned against the axes"):
        _ = grid.x


def test_a_direction_of_one_point_may_be_any():
    steps = np.array([[1e-3, 1, 0], [0, 1, 0], [0, 1, 2e-3]])
    assert pf.Grid(origin=[0, 0, 0], steps=steps, sizes=[3, 1, 3]).is_aligned


coordinates = st.floats(-1e3, 1e3)


@given(coordinates, st.floats(1e-6, 1e3), st.integers(1, 500), st.booleans())
def test_evenly_spaced_coordinates_are_taken_as_they_are(first, step, count, falling):
    x = first + (-step if falling else step) * np.arange(count)
    if count > 1 and step < 1e-9 * abs(first):
        return
    grid = pf.Grid(x=x, y=0, z=[1])
    assert grid.shape == (count, 1, 1)
    np.testing.assert_allclose(grid.x, x, rtol=1e-12, atol=1e-12 * (1 + abs(first)))


@given(st.integers(3, 40), st.integers(0, 38), st.floats(1e-3, 0.9))
def test_uneven_coordinates_are_refused_by_name(count, which, off):
    z = np.arange(count, dtype=float)
    z[1 + which % (count - 2)] += off
    with pytest.raises(ValueError, match=r"^z: must be evenly spaced"):
        pf.Grid(x=0, y=0, z=z)


def test_coordinates_in_single_precision_are_even_to_their_own_rounding():
    assert pf.Grid(x=np.linspace(0, 1, 1001, dtype=np.float32), y=0, z=0).shape[0] == 1001


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ({"x": 0, "y": 0}, TypeError, "Grid: give x, y and z, or origin, steps and sizes; there"),
        ({}, TypeError, "there are none"),
        ({"x": 0, "y": 0, "z": 0, "origin": 0}, TypeError, "there are x, y, z, origin"),
        ({"x": [], "y": 0, "z": 0}, ValueError, "^x: must be a number or a vector"),
        ({"x": [[1, 2]], "y": 0, "z": 0}, ValueError, "^x: must be a number or a vector"),
        ({"x": [1, 1], "y": 0, "z": 0}, ValueError, "^x: must be evenly spaced"),
        ({"x": 0, "y": np.nan, "z": 0}, ValueError, "^y: every number must be finite"),
        ({"x": 0, "y": [1e308, -1e308], "z": 0}, ValueError, "^y: must be evenly spaced"),
        ({"x": 0, "y": 1j, "z": 0}, TypeError, "^y: must be evenly spaced coordinates"),
        ({"x": "far", "y": 0, "z": 0}, TypeError, "^x: "),
        ({"x": [[1], [2, 3]], "y": 0, "z": 0}, ValueError, "^x: "),
        (
            {"origin": [0, 0], "steps": np.eye(3), "sizes": [1, 1, 1]},
            ValueError,
            "^origin: must be three numbers",
        ),
        (
            {"origin": [0, 0, 0], "steps": [1, 2, 3], "sizes": [1, 1, 1]},
            ValueError,
            "^steps: must be a 3 by 3",
        ),
        (
            {"origin": [0, 0, 0], "steps": np.eye(3), "sizes": [1, 1, 0]},
            ValueError,
            "^sizes: each must be 1",
        ),
        (
            {"origin": [0, 0, 0], "steps": np.eye(3), "sizes": [1, 1]},
            ValueError,
            "^sizes: must be three",
        ),
        (
            {"origin": [0, 0, 0], "steps": np.eye(3), "sizes": [1, 1, 1.5]},
            TypeError,
            "^sizes: must be three",
        ),
        ({"origin": [0, 0, 0], "steps": np.eye(3), "sizes": 3}, TypeError, "^sizes: must be"),
    ],
)
def test_what_is_no_grid_is_refused(given, error, text):
    with pytest.raises(error, match=text):
        pf.Grid(**given)


def test_grids_are_values(grid):
    assert pickle.loads(pickle.dumps(grid)) == grid
    assert hash(pickle.loads(pickle.dumps(grid))) == hash(grid)
    assert grid != pf.Grid(x=0, y=0, z=0)
    with pytest.raises(ValueError, match="read-only"):
        grid.origin[0] = 1
