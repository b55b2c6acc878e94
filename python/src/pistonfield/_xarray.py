# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Fields with their coordinates, for xarray."""

from __future__ import annotations

from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._grid import Grid

if TYPE_CHECKING:
    import xarray

_NAMES = {"Pa": "pressure", "m/s": "particle_velocity", "W/m²": "intensity"}


def to_xarray(
    p: npt.ArrayLike,
    grid: Grid | npt.ArrayLike,
    *,
    units: str | None = None,
    name: str | None = None,
) -> xarray.DataArray:
    """Give a field its coordinates and units.

    It takes xarray.

    Parameters
    ----------
    p : array_like
        The pressure in Pa, as `pressure` returns it, or a velocity or an intensity; several
        weightings come first, components last.
    grid : Grid or array_like
        Where it was computed.
    units : str, optional
        The values' unit, Pa by default. With components it has to be said: m/s or W/m².
    name : str, optional
        What the field is called; by default pressure, particle_velocity or intensity as Pa, m/s or
        W/m² say.

    Returns
    -------
    xarray.DataArray
        With the dimensions x, y and z and coordinates in m; of a grid that is turned against the
        axes with the dimensions i, j and k, and of points with the dimension point. Several
        weightings are the dimension weighting, which comes first; components are the dimension
        component, which comes last and has the coordinates "x", "y" and "z".

    Examples
    --------
    >>> import pistonfield as pf
    >>> grid = pf.Grid(x=[0, 1e-3], y=0, z=[0.01, 0.02, 0.03])
    >>> p = pf.pressure(pf.Piston(width=7.5e-3, height=5e-3), grid, 1e6)
    >>> abs(pf.to_xarray(p, grid)).sel(x=0, y=0).idxmax("z").item()
    0.01
    """
    try:
        import xarray
    except ImportError as failure:
        raise ImportError("to_xarray takes xarray: pip install xarray") from failure
    values = np.asarray(p)
    dims, coordinates = _axes(grid)
    shape = grid.shape if isinstance(grid, Grid) else (len(coordinates["x"][1]),)
    # Three points of three weightings are no components.
    if values.shape[-len(shape) :] != shape and values.shape[-len(shape) - 1 :] == (*shape, 3):
        if units is None:
            raise ValueError("units: p has components along x, y and z; say m/s or W/m²")
        dims, shape = (*dims, "component"), (*shape, 3)
        coordinates["component"] = ("component", list("xyz"), {})
    if values.ndim == len(shape) + 1:
        dims = ("weighting", *dims)
        shape = (values.shape[0], *shape)
    if values.shape != shape:
        raise ValueError(f"p: must be of the shape of the grid, {shape}, not {values.shape}")
    units = "Pa" if units is None else units
    name = _NAMES.get(units, "field") if name is None else name
    return xarray.DataArray(
        values,
        dims=dims,
        coords=coordinates,
        name=name,
        attrs={"units": units, "long_name": name, "time_convention": "exp(+j*omega*t)"},
    )


def _axes(grid: Any) -> tuple[tuple[str, ...], dict[str, tuple[Any, Any, dict[str, str]]]]:
    """Give the dimensions, and the coordinates as xarray takes them."""
    metres = {"units": "m"}
    if not isinstance(grid, Grid):
        points = _checks.points(grid, "points")
        along = {name: ("point", points[:, i], metres) for i, name in enumerate("xyz")}
        return ("point",), along
    if grid.is_aligned:
        return ("x", "y", "z"), {
            "x": ("x", grid.x, metres),
            "y": ("y", grid.y, metres),
            "z": ("z", grid.z, metres),
        }
    positions = grid.positions()
    turned = ("i", "j", "k")
    return turned, {name: (turned, positions[..., i], metres) for i, name in enumerate("xyz")}
