# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Pressure fields."""

from __future__ import annotations

from typing import Any

import numpy.typing as npt

from ._array import Array
from ._grid import Grid
from ._medium import WATER, Medium
from ._piston import Piston
from ._plan import Plan, Progress


def pressure(
    source: Piston | Array,
    grid: Grid | npt.ArrayLike,
    frequency: float,
    *,
    medium: Medium = WATER,
    velocity: float = 1.0,
    weights: npt.ArrayLike | None = None,
    tolerance: float = 1e-4,
    relative: str = "largest",
    precision: str = "double",
    threads: int | None = None,
    behind: bool = False,
    out: npt.NDArray[Any] | None = None,
    progress: Progress | None = None,
) -> npt.NDArray[Any]:
    """Compute the complex pressure of a piston or an array.

    The piston vibrates along its normal with the velocity u0 exp(+jωt) in a rigid baffle. The
    pressure is the Rayleigh integral jω rho u0/(2π) ∫ exp(-jkR)/R dS over its surface; at the time
    t it is the real part of p exp(+jωt). The field of an array is the sum over its elements, each
    times its weight.

    Parameters
    ----------
    source : Piston or Array
        What radiates.
    grid : Grid or array_like
        Where: a grid, or any points as an (N, 3) array, a row of x, y and z in m for each.
    frequency : float
        In Hz.
    medium : Medium, optional
        The fluid; water by default.
    velocity : float, optional
        The amplitude u0 of the piston's normal velocity in m/s. That of an element is its weight
        times u0.
    weights : array_like, optional
        Of an array: the elements' complex amplitudes in units of the velocity, (N,); or (M, N) for
        M weightings with a field each, for little more time than one. By default the array's own,
        which are 1 unless it was made with others. `focus` makes them.
    tolerance : float, optional
        The largest error of a value, above 0 and below 1.
    relative : {"largest", "local"}, optional
        What it is relative to: the largest magnitude at all points, of each weighting; or at each
        point what the magnitude is on the axis at that distance from the piston's centre, of an
        array the sum over its elements.
    precision : {"double", "single"}, optional
        Of the arithmetic. Single keeps tolerances down to about 1e-5 and refuses others.
    threads : int, optional
        The most threads. By default as the environment variable PISTONFIELD_THREADS says, else one
        for each core that the process may use. Values do not depend on it.
    behind : bool, optional
        Whether points behind a piston are asked for, where the integral is that of the mirrored
        point. By default they are refused.
    out : ndarray, optional
        Where the values go, see `Plan.compute`.
    progress : callable, optional
        Is told how many points are done, and of how many, see `Plan.compute`.

    Returns
    -------
    ndarray
        The pressure in Pa, complex128: of the grid's shape, or (N,) for points, behind M where the
        weights are (M, N). Or `out`.

    See Also
    --------
    Plan : computes the same field again and again, or in parts.
    focus : finds weights.

    Examples
    --------
    >>> import numpy as np
    >>> import pistonfield as pf
    >>> piston = pf.Piston(width=7.5e-3, height=5e-3)
    >>> grid = pf.Grid(x=np.linspace(-15e-3, 15e-3, 101), y=0, z=np.linspace(0.5e-3, 0.12, 240))
    >>> p = pf.pressure(piston, grid, 1e6, velocity=0.01)
    >>> p.shape
    (101, 1, 240)
    >>> print(f"{abs(p).max() / 1e3:.1f} kPa")
    25.3 kPa
    """
    plan = Plan(
        source,
        grid,
        frequency,
        medium=medium,
        velocity=velocity,
        weights=weights,
        tolerance=tolerance,
        relative=relative,
        precision=precision,
        threads=threads,
        behind=behind,
    )
    return plan.compute(out=out, progress=progress)
