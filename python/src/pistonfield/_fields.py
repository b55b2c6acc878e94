# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Fields of pressures, particle velocities and intensities."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy.typing as npt

from ._array import Array
from ._flat import Flat
from ._grid import Grid
from ._options import FieldOptions, Progress, with_options
from ._plan import Plan

if TYPE_CHECKING:
    from ._options import Unpack


@with_options
def pressure(
    source: Flat | Array,
    grid: Grid | npt.ArrayLike,
    frequency: float,
    *,
    out: Any = None,
    stream: Any = None,
    progress: Progress | None = None,
    **options: Unpack[FieldOptions],
) -> npt.NDArray[Any]:
    """Compute the complex pressure of a piston or an array.

    The piston vibrates along its normal with the velocity u0 exp(+jωt) in a rigid baffle. The
    pressure is the Rayleigh integral jω rho u0/(2π) ∫ exp(-jkR)/R dS over its surface; at the time
    t it is the real part of p exp(+jωt). The field of an array is the sum over its elements, each
    times its weight. In a medium with losses k is complex in the exponent, and the face moves with
    u0 all the same.

    Parameters
    ----------
    {source}
    {options}
    {out}

    Returns
    -------
    ndarray
        The pressure in Pa, complex128: of the grid's shape, or (N,) for points, behind M where the
        weights are (M, N). Or `out`.

    See Also
    --------
    Plan : computes the same field again and again, or in parts.
    focus : finds weights.
    particle_velocity, intensity : other quantities of the same field.

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
    return Plan(source, grid, frequency, **options).compute(
        out=out, stream=stream, progress=progress
    )


@with_options
def particle_velocity(
    source: Flat | Array,
    grid: Grid | npt.ArrayLike,
    frequency: float,
    *,
    out: Any = None,
    stream: Any = None,
    progress: Progress | None = None,
    **options: Unpack[FieldOptions],
) -> npt.NDArray[Any]:
    """Compute the complex particle velocity of a piston or an array.

    By Euler's equation jω rho v = -grad p it follows from the pressure, here by the derivatives of
    the integral along the piston's outline, not by differences. At the face of a piston in a rigid
    baffle its normal component is the piston's velocity.

    Parameters
    ----------
    {source}
    {options}
    {out}

    Returns
    -------
    ndarray
        The velocity in m/s, complex128, of the shape of `pressure` and with the components along x,
        y and z last: ``v[..., 2]`` is that along z. Or `out`.

    Examples
    --------
    >>> import numpy as np
    >>> import pistonfield as pf
    >>> grid = pf.Grid(x=np.arange(-2, 3) * 1e-3, y=0, z=np.arange(4) * 1e-3)
    >>> v = pf.particle_velocity(pf.Disc(radius=5e-3), grid, 1e6, velocity=0.1)
    >>> v.shape
    (5, 1, 4, 3)
    >>> np.round(v[2, 0, 0], 4) + 0
    array([0. +0.j, 0. +0.j, 0.1+0.j])
    """
    plan = Plan(source, grid, frequency, quantity="velocity", **options)
    return plan.compute(out=out, stream=stream, progress=progress)


@with_options
def intensity(
    source: Flat | Array,
    grid: Grid | npt.ArrayLike,
    frequency: float,
    *,
    out: Any = None,
    stream: Any = None,
    progress: Progress | None = None,
    **options: Unpack[FieldOptions],
) -> npt.NDArray[Any]:
    """Compute the complex intensity p conj(v)/2 of a piston or an array.

    Its real part is the active intensity, the power that flows through a surface, a period's mean;
    its imaginary part the reactive one, which goes to and fro.

    Parameters
    ----------
    {source}
    {options}
    {out}

    Returns
    -------
    ndarray
        The intensity in W/m², complex128, of the shape of `pressure` and with the components along
        x, y and z last. Or `out`.

    Examples
    --------
    Far away the wave is plane: the intensity is that of its pressure.

    >>> import pistonfield as pf
    >>> disc = pf.Disc(radius=5e-3)
    >>> i = pf.intensity(disc, [[0, 0, 10.0]], 1e6)[0]
    >>> p = pf.pressure(disc, [[0, 0, 10.0]], 1e6)[0]
    >>> bool(abs(i[2].real - abs(p) ** 2 / (2 * 998 * 1482)) < 1e-3 * i[2].real)
    True
    """
    plan = Plan(source, grid, frequency, quantity="intensity", **options)
    return plan.compute(out=out, stream=stream, progress=progress)
