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
            [program, "--request", request, file],
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
