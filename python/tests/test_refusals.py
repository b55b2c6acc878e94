# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import numpy as np
import pytest

import pistonfield as pf

HUGE = {"origin": [0, 0, 1], "steps": np.eye(3)}


@pytest.mark.parametrize(
    ("given", "error", "text"),
    [
        ({"frequency": 0}, ValueError, "^frequency: must be a frequency in Hz above 0"),
        ({"frequency": "1 MHz"}, TypeError, "^frequency: must be a real number, not str"),
        ({"frequency": np.nan}, ValueError, "^frequency: must be finite"),
        ({"frequency": [1e6, 2e6]}, TypeError, "^frequency: must be a real number"),
        ({"velocity": -1}, ValueError, "^velocity: must be a velocity in m/s above 0"),
        ({"velocity": 1e305}, ValueError, "^velocity: 1e\\+305 m/s makes pressures beyond"),
        ({"tolerance": 0}, ValueError, "^tolerance: must be a number above 0"),
        ({"tolerance": 1}, ValueError, "^tolerance: must be above 0 and below 1"),
        ({"tolerance": 1e-18}, ValueError, "^tolerance: "),
        ({"relative": "global"}, ValueError, "^relative: 'global' is none of largest, local"),
        ({"precision": 64}, TypeError, "^precision: must be one of double, single, not int"),
        ({"precision": "single", "tolerance": 1e-9}, ValueError, "^tolerance: "),
        ({"threads": 0}, ValueError, "^threads: must be a whole number from 1 to 1024, not 0"),
        ({"threads": -1}, ValueError, "^threads: must be a whole number from 1 to 1024, not -1"),
        ({"threads": 2.0}, TypeError, "^threads: must be a whole number, not float"),
        ({"behind": "no"}, TypeError, "^behind: must be True or False, not str"),
        ({"medium": (1482, 998)}, TypeError, "^medium: must be a Medium, not tuple"),
        ({"weights": [1]}, TypeError, "^weights: go with an Array, not a Piston"),
        ({"progress": 3}, TypeError, "^progress: must be callable, not int"),
        (
            {"source": {"width": 1}},
            TypeError,
            "^source: must be a Piston, another shape or an Array, not",
        ),
        ({"grid": None}, TypeError, r"^grid: must be a Grid or an \(N, 3\) array, not NoneType"),
        ({"grid": "here"}, TypeError, "^grid: must be a Grid"),
        ({"grid": [0, 0, 1]}, ValueError, r"^points: must be an \(N, 3\) array"),
        ({"grid": np.ones((3, 50))}, ValueError, "^points: .*give them transposed, points.T"),
        ({"speed": 1540}, TypeError, r"^speed: pressure has no such .* medium=pf.Medium\(speed="),
        ({"colour": 3}, TypeError, "^colour: pressure has no such argument$"),
        ({"grid": np.empty((0, 3))}, ValueError, "^points: the list of points is empty"),
        ({"grid": [[0, 0, np.inf]]}, ValueError, "^points: every number must be finite"),
        ({"grid": [[0, 0, 1], [0, 0]]}, ValueError, "^points: must be an"),
        ({"grid": [["a", "b", "c"]]}, TypeError, "^points: must be an"),
        ({"frequency": 1e14}, ValueError, "^width: .*wavelengths.*lengths are in m"),
        ({"grid": pf.Grid(**HUGE, sizes=[10**6] * 3)}, MemoryError, "^grid: "),
        ({"grid": pf.Grid(**HUGE, sizes=[10**5] * 3)}, MemoryError, "allocate"),
        ({"grid": pf.Grid(**HUGE, sizes=[2**54, 1, 1])}, ValueError, "^grid: .* in a row"),
    ],
)
def test_what_cannot_be_computed_is_refused(piston, grid, given, error, text):
    arguments = {"source": piston, "grid": grid, "frequency": 1e6, **given}
    with pytest.raises(error, match=text):
        pf.pressure(**arguments)


@pytest.mark.parametrize(
    ("weights", "error", "text"),
    [
        ([1, 2], ValueError, r"^weights: must be of the shape \(8,\) or \(M, 8\)"),
        (np.ones((8, 3)), ValueError, "^weights: .*give them transposed, weights.T"),
        (np.ones((0, 8)), ValueError, "^weights: must be of the shape"),
        (np.ones((1, 1, 8)), ValueError, "^weights: must be of the shape"),
        ([np.nan] * 8, ValueError, "^weights: every number must be finite"),
        (["a"] * 8, TypeError, "^weights: must be one for each element, numbers"),
        ([0] * 8, ValueError, "^weights: all of weighting 1 are 0"),
        (np.ones((4097, 8)), ValueError, "^weights: 4097 are not within 1 to 4096"),
    ],
)
def test_what_are_no_weights_is_refused(line, grid, weights, error, text):
    with pytest.raises(error, match=text):
        pf.pressure(line, grid, 1e6, weights=weights)


def test_a_medium_is_a_value():
    assert pf.Medium(speed=1482, density=998) == pf.WATER
    with pytest.raises(ValueError, match="^speed: must be a speed in m/s above 0, not 0"):
        pf.Medium(speed=0, density=998)
    with pytest.raises(TypeError, match="^density: "):
        pf.Medium(speed=1482, density=None)
    with pytest.raises(AttributeError):
        pf.WATER.speed = 1500


def test_a_number_of_threads_in_the_environment_that_is_none_is_told(lengthy, monkeypatch):
    monkeypatch.setenv("PISTONFIELD_THREADS", "many")
    with pytest.raises(RuntimeError, match="PISTONFIELD_THREADS: 'many' is no whole number"):
        lengthy.compute(np.s_[:2])


def test_nothing_is_printed(piston, grid, capfd):
    pf.pressure(piston, grid, 1e6)
    with pytest.raises(ValueError, match="tolerance"):
        pf.pressure(piston, grid, 1e6, tolerance=2)
    assert capfd.readouterr() == ("", "")


def test_unknown_arguments_are_those_of_the_function_that_was_called(piston, grid):
    for called in (pf.Plan, pf.intensity, pf.particle_velocity):
        with pytest.raises(
            TypeError, match=f"^density: {called.__name__} has no such argument; it"
        ):
            called(piston, grid, 1e6, density=3)


def test_a_velocity_on_the_rim_alone_says_what_to_ask_for(piston):
    with pytest.raises(ValueError, match='infinite.*take relative="local"'):
        pf.particle_velocity(piston, [[1.5e-3, 0, 0]], 1e6)


def test_windows_are_all_named(line):
    for apodization in ("square", ("square", 2)):
        with pytest.raises(ValueError, match="none of rectangular, .*, tukey, kaiser, gaussian"):
            pf.focus(line, frequency=1e6, steer=3, apodization=apodization)


def test_an_array_by_half_of_dlpack_says_what_is_missing(piston, grid):
    class Half:
        def __dlpack__(self, **options):
            raise AssertionError

    with pytest.raises(TypeError, match="^out: has __dlpack__, but no __dlpack_device__"):
        pf.pressure(piston, grid, 1e6, out=Half())
