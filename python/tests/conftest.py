# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import os
from pathlib import Path

import numpy as np
import pytest
from hypothesis import settings
from scipy.integrate import dblquad

import pistonfield as pf

# A busy machine has no deadlines, and every run tries the same.
settings.register_profile("project", deadline=None, derandomize=True)
settings.load_profile("project")


def surface_integral(piston: pf.Piston, point, wavenumber: complex) -> complex:
    """The integral of exp(-jkR)/R, by a quadrature that knows nothing of the library."""
    at = piston.orientation.T @ (np.asarray(point, float) - piston.center)

    def wave(y: float, x: float) -> complex:
        distance = np.sqrt((at[0] - x) ** 2 + (at[1] - y) ** 2 + at[2] ** 2)
        return np.exp(-1j * wavenumber * distance) / distance

    def integral(part) -> float:
        return dblquad(
            lambda y, x: part(wave(y, x)),
            *(-piston.width / 2, piston.width / 2, -piston.height / 2, piston.height / 2),
            epsabs=1e-12,
            epsrel=1e-9,
        )[0]

    return integral(np.real) + 1j * integral(np.imag)


def rayleigh(
    piston: pf.Piston, point, frequency: float, medium: pf.Medium = pf.WATER, velocity: float = 1
) -> complex:
    """The pressure that the surface integral makes, without losses."""
    wavenumber = 2 * np.pi * frequency / medium.speed
    surface = surface_integral(piston, point, wavenumber)
    return 1j * frequency * medium.density * velocity * surface


def turn(degrees: float, axis: int) -> np.ndarray:
    c, s = np.cos(np.radians(degrees)), np.sin(np.radians(degrees))
    i, j = (axis + 1) % 3, (axis + 2) % 3
    matrix = np.eye(3)
    matrix[i, i] = matrix[j, j] = c
    matrix[i, j], matrix[j, i] = -s, s
    return matrix


@pytest.fixture
def piston() -> pf.Piston:
    return pf.Piston(width=3e-3, height=2e-3)


@pytest.fixture
def grid() -> pf.Grid:
    return pf.Grid(
        x=np.arange(-3, 4) * 0.7e-3, y=np.arange(-2, 4) * 0.9e-3, z=np.arange(1, 6) * 1.1e-3
    )


@pytest.fixture
def line() -> pf.Array:
    return pf.Array.line(elements=8, pitch=1e-3, width=0.8e-3, height=5e-3)


@pytest.fixture
def lengthy() -> pf.Plan:
    """A plan that takes many seconds."""
    line = np.linspace(-0.1, 0.1, 700)
    # Turned, so that neighbours share nothing.
    steps = turn(20, 1) * (line[1] - line[0])
    grid = pf.Grid(origin=[-0.1, -0.1, 0.2], steps=steps, sizes=[700, 700, 700])
    return pf.Plan(pf.Piston(width=50e-3, height=50e-3), grid, 2e6, tolerance=1e-9)


@pytest.fixture(scope="session")
def sources() -> Path:
    """The project's folder, for what is not in the package."""
    folder = os.environ.get("PISTONFIELD_SOURCES")
    if not folder:
        pytest.skip("PISTONFIELD_SOURCES does not name the project's folder")
    return Path(folder)
