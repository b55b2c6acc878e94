# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import os
import subprocess

import numpy as np
import pytest

import pistonfield as pf

h5py = pytest.importorskip("h5py")

REQUEST = """
frequency = 1e6
tolerance = 1e-6
[medium]
speed = 1482
density = 998
"""

PISTON = """
[piston]
width = 3e-3
height = 2e-3
"""

ARRAY = """
[array]
kind = "line"
elements = 8
pitch = 1e-3
width = 0.8e-3
height = 5e-3
"""

GRID = """
[grid]
x = [-2e-3, 0.5e-3, 9]
y = [0, 1e-3, 3]
z = [1e-3, 1e-3, 20]
"""

AS_GRID = pf.Grid(origin=[-2e-3, 0, 1e-3], steps=np.diag([0.5e-3, 1e-3, 1e-3]), sizes=[9, 3, 20])


@pytest.fixture(scope="module")
def program(sources):
    found = sources / "build" / "run" / "pistonfield-run"
    if not found.exists():
        pytest.skip("pistonfield-run is not built in build/run")
    return found


@pytest.fixture
def computed(program, tmp_path):
    def compute(*parts: str):
        request = tmp_path / "request.toml"
        request.write_text("".join(parts))
        file = tmp_path / "field.h5"
        subprocess.run(
            [program, "--request", request, "--overwrite", file],
            check=True,
            env={**os.environ, "OMPI_ALLOW_RUN_AS_ROOT": "1"},
            capture_output=True,
        )
        return file

    return compute


def test_a_field_in_a_file_is_what_is_computed_here(computed, piston):
    wanted = pf.pressure(piston, AS_GRID, 1e6, velocity=0.2, tolerance=1e-6)
    with pf.read(computed(REQUEST, PISTON, GRID), frequency=1e6, velocity=0.2) as field:
        assert field.shape == field.grid.shape == wanted.shape
        assert field.source == piston
        np.testing.assert_array_equal(field[...], wanted)
        np.testing.assert_array_equal(np.asarray(field), wanted)
        np.testing.assert_array_equal(field[:, 1, 3:7], wanted[:, 1, 3:7])
        np.testing.assert_array_equal(field[2], wanted[2])
        np.testing.assert_array_equal(field[..., -1], wanted[..., -1])
        np.testing.assert_allclose(field.grid.positions(), AS_GRID.positions(), atol=1e-18)
        assert field.attributes["tolerance"] == 1e-6
        assert repr(field) == "<Field of 9 by 3 by 20 points, Pa>"
        for wrong in ([0, 1], (0, 0, 0, 0), "x"):
            with pytest.raises((TypeError, IndexError), match="^field: "):
                _ = field[wrong]


def test_without_a_frequency_values_have_no_unit(computed):
    file = computed(REQUEST, PISTON, GRID)
    with pf.read(str(file)) as plain, pf.read(file, frequency=1e6) as field:
        np.testing.assert_allclose(1j * 998 * 1482 * plain[...], field[...], rtol=1e-15)


def test_the_array_of_a_field_is_in_its_file(computed, line):
    wanted = pf.pressure(line, AS_GRID, 1e6, tolerance=1e-6)
    with pf.read(computed(REQUEST, ARRAY, GRID), frequency=1e6) as field:
        assert field.source == line
        np.testing.assert_array_equal(field[...], wanted)


PIECES = [
    '[piston]\nshape = "disc"\nradius = 2e-3\n',
    '[piston]\nshape = "ring"\ninner = 1e-3\nouter = 2e-3\n',
    '[piston]\nshape = "sector"\nouter = 2e-3\nangles_degrees = [10, 130]\n',
    '[piston]\nshape = "polygon"\ncorners = [[0, 0], [3e-3, 0], [0, 2e-3]]\n',
]


@pytest.mark.parametrize("source", PIECES)
def test_the_source_of_any_shape_is_in_its_file(computed, source):
    with pf.read(computed(REQUEST, source, GRID), frequency=1e6) as field:
        found = pf.pressure(field.source, AS_GRID, 1e6, tolerance=1e-6)
        np.testing.assert_allclose(found, field[...], rtol=0, atol=1e-11 * abs(found).max())


def test_shapes_in_files_are_those_that_were_asked_for(computed):
    with pf.read(computed(REQUEST, PIECES[0], GRID)) as field:
        assert field.source == pf.Disc(radius=2e-3)
    with pf.read(computed(REQUEST, PIECES[3], GRID)) as field:
        assert field.source == pf.Polygon(corners=[[0, 0], [3e-3, 0], [0, 2e-3]])


# A rectangle, a triangle, a ring of four arcs, and the triangle again.
TABLE = """x [mm],y [mm],width [mm],height [mm],outline [mm],re,im
1,0,1,1,,1,0
-1,0,1,1,-1 0 1 0;1 0 0 1;0 1 -1 0,0,1
3,1,1,1,0 0 1 0 3;0 0 1 3 3.283185307179586/0 0 0.5 0 -3;0 0 0.5 -3 -3.283185307179586,1,1
-3,0,1,1,-1 0 1 0;1 0 0 1;0 1 -1 0,1,0
"""


def test_arrays_of_shapes_are_in_their_files(computed, tmp_path):
    (tmp_path / "elements.csv").write_text(TABLE)
    file = computed(REQUEST, '[array]\ntable = "elements.csv"\n', GRID)
    with pf.read(file, frequency=1e6) as field:
        assert isinstance(field.source[0], pf.Piston)
        assert isinstance(field.source[1], pf.Shape)
        assert field.source[1].outline == field.source[3].outline != field.source[2].outline
        assert field.source == pf.Array.from_table(tmp_path / "elements.csv")
        found = pf.pressure(field.source, AS_GRID, 1e6, tolerance=1e-6)
        np.testing.assert_allclose(found, field[...], rtol=0, atol=1e-11 * abs(found).max())


def _differences(values: np.ndarray, steps: list[float]) -> np.ndarray:
    """Give the gradient in the middle of three points along each direction."""
    parts = [np.gradient(values, step, axis=axis) for axis, step in enumerate(steps)]
    return np.stack(parts, axis=-1)[1, 1, 1]


def test_velocities_and_intensities_have_components(computed):
    grid = "[grid]\nx = [2e-3, 1e-6, 3]\ny = [1e-3, 1e-6, 3]\nz = [9e-3, 1e-6, 3]\n"
    request = REQUEST.replace("1e-6\n", "1e-11\n")
    with pf.read(computed(request, PISTON, grid), frequency=1e6, velocity=0.2) as field:
        pressure = field[...]
        assert field.quantity == "pressure"
    # By Euler's equation, whose differences err by (k h)^2 / 6 and the pressure's 1e-11 / (k h).
    wanted = -_differences(pressure, [1e-6] * 3) / (2j * np.pi * 1e6 * 998)
    velocity = computed('quantity = "velocity"\n', request, PISTON, grid)
    with pf.read(velocity, frequency=1e6, velocity=0.2) as field:
        assert field.shape == (3, 3, 3, 3)
        assert field.grid.shape == (3, 3, 3)
        assert repr(field) == "<Field of 3 by 3 by 3 points, m/s>"
        found = field[1, 1, 1]
        np.testing.assert_allclose(found, wanted, rtol=0, atol=1e-5 * np.abs(wanted).max())
        everything = field[...]
        np.testing.assert_array_equal(everything[1, 1, 1], found)
        np.testing.assert_array_equal(field[:, 0, 1:, 2], everything[:, 0, 1:, 2])
        np.testing.assert_array_equal(field[2], everything[2])
        with pytest.raises(IndexError, match="^field: there are four"):
            _ = field[0, 0, 0, 0, 0]
    file = computed('quantity = "intensity"\n', request, PISTON, grid)
    with pf.read(file, frequency=1e6, velocity=0.2) as field:
        wanted = pressure[1, 1, 1] * np.conj(found) / 2
        np.testing.assert_allclose(field[1, 1, 1], wanted, rtol=1e-9)


def test_on_an_edge_a_velocity_is_infinite_and_no_part_of_it_lost(computed):
    disc = '[piston]\nshape = "disc"\nradius = 2e-3\n'
    grid = "[grid]\nx = [0, 1e-3, 3]\ny = [0, 1e-3, 2]\nz = [0, 1e-3, 2]\n"
    file = computed('quantity = "velocity"\n', REQUEST, disc, grid)
    with pf.read(file, frequency=1e6, velocity=0.2) as field:
        assert np.isinf(field[2, 0, 0]).any()
        assert not np.isnan(field[...]).any()
        np.testing.assert_allclose(field[0, 0, 0, 2], 0.2, atol=1e-5)


def test_what_does_not_fit_a_file_is_refused(computed, tmp_path):
    file = computed(REQUEST, PISTON, GRID)
    with pytest.raises(ValueError, match="^frequency: the wavenumber would be"):
        pf.read(file, frequency=2e6)
    with pytest.raises(FileNotFoundError):
        pf.read(tmp_path / "none.h5")
    with pytest.raises(TypeError, match="^file: must be a path"):
        pf.read(3)
    other = tmp_path / "other.h5"
    h5py.File(other, "w").close()
    with pytest.raises(ValueError, match=r"^file: .* is no field of pistonfield-run"):
        pf.read(other)
    with h5py.File(file, "r+") as opened:
        opened.attrs["complete"] = np.int32(0)
    with pytest.raises(ValueError, match=r"^file: .* is not complete"):
        pf.read(file)
