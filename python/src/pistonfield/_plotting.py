# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Pictures of fields and arrays, to scale."""

from __future__ import annotations

from collections.abc import Mapping
from typing import TYPE_CHECKING, Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._array import Array, faces_of
from ._flat import Flat
from ._grid import Grid, checked

if TYPE_CHECKING:
    from matplotlib.axes import Axes

_SCALES = {"MPa": 1e6, "kPa": 1e3}
_SYMBOLS = {"Pa": "p", "m/s": "v", "W/m²": "I"}


def plot(
    what: npt.ArrayLike | Flat | Array,
    grid: Grid | None = None,
    *,
    at: Mapping[str, float] | None = None,
    quantity: str = "magnitude",
    unit: str = "Pa",
    label: str | None = None,
    limits: tuple[float, float] | None = None,
    cmap: Any = None,
    ax: Axes | None = None,
) -> Axes:
    """Draw a field's plane or profile, or an array, to scale and in mm.

    It takes Matplotlib.

    Parameters
    ----------
    what : array_like, Piston, Disc, Ring, Sector, Polygon or Array
        The pressure in Pa on a grid, or another field of the grid's shape; or what radiates.
    grid : Grid, optional
        Of a pressure: the grid that it was computed on, aligned with the axes.
    at : dict, optional
        Of a field in three dimensions, where the plane lies: ``{"y": 0}`` takes the layer next to
        y = 0 m, which must not lie more than half a step outside the grid. Two of these make a
        profile.
    quantity : {"magnitude", "phase", "real", "level"}, optional
        The magnitude, the phase in degrees, the real part, or the level in dB below the largest
        magnitude.
    unit : str, optional
        The values' unit, such as "m/s". Those in Pa are drawn in kPa or MPa where they are large.
    label : str, optional
        The values' symbol; by default p, v or I as Pa, m/s or W/m² say.
    limits : (float, float), optional
        Of the colours, in the unit that the bar names.
    cmap : optional
        The colours, as Matplotlib takes them.
    ax : matplotlib.axes.Axes, optional
        Where to draw; by default in a new figure.

    Returns
    -------
    matplotlib.axes.Axes
        What was drawn into; of an array in three dimensions.

    Examples
    --------
    >>> import matplotlib
    >>> matplotlib.use("Agg")
    >>> import numpy as np
    >>> import pistonfield as pf
    >>> grid = pf.Grid(x=np.linspace(-15e-3, 15e-3, 61), y=0, z=np.linspace(1e-3, 60e-3, 60))
    >>> p = pf.pressure(pf.Piston(width=7.5e-3, height=5e-3), grid, 1e6)
    >>> pf.plot(p, grid).get_xlabel()
    'z (mm)'
    """
    try:
        from matplotlib import pyplot
    except ImportError as failure:
        raise ImportError("plot takes Matplotlib: pip install matplotlib") from failure
    if isinstance(what, (Flat, Array)):
        if grid is not None:
            raise TypeError("grid: goes with a pressure, not with what radiates")
        array = what if isinstance(what, Array) else Array([what])
        return _draw_array(array, ax, pyplot)
    if grid is None:
        raise TypeError("grid: is missing: give the grid that the pressure was computed on")
    values = np.asarray(what)
    shape = checked(grid).shape
    if values.shape == (*shape, 3):
        raise ValueError("what: has components along x, y and z; draw one of them, what[..., 2]")
    if values.shape != shape:
        raise ValueError(f"what: must be of the shape of the grid, {shape}, not {values.shape}")
    symbol = _SYMBOLS.get(unit, "values") if label is None else label
    quantity = _checks.word(quantity, "quantity", _QUANTITIES)
    shown, caption = _shown(values, quantity, symbol, unit)
    shown, axes = _layer(shown, grid, at or {})
    if ax is None:
        _, ax = pyplot.subplots(layout="constrained")
    if len(axes) == 1:
        return _draw_profile(ax, shown, axes, caption, limits)
    return _draw_plane(ax, shown, axes, caption, limits, cmap)


_QUANTITIES = ("magnitude", "phase", "real", "level")

_Axis = tuple[str, npt.NDArray[np.float64]]


def _shown(
    values: npt.NDArray[Any], quantity: str, symbol: str, unit: str
) -> tuple[npt.NDArray[Any], str]:
    """Give the values to draw, and what they are."""
    if quantity == "phase":
        return np.angle(values, deg=True), "phase (°)"
    magnitude = np.abs(values)
    largest = magnitude.max()
    if quantity == "level":
        with np.errstate(divide="ignore", invalid="ignore"):
            return 20 * np.log10(magnitude / largest), "level (dB)"
    scale = 1.0
    if unit == "Pa":
        unit, scale = next((one for one in _SCALES.items() if largest >= one[1]), (unit, scale))
    if quantity == "real":
        return values.real / scale, f"real part of {symbol} ({unit})"
    return magnitude / scale, f"|{symbol}| ({unit})"


def _layer(
    values: npt.NDArray[Any], grid: Grid, at: Mapping[str, float]
) -> tuple[npt.NDArray[Any], list[_Axis]]:
    """Give the values at some coordinates, and the axes that remain."""
    coordinates = {"x": grid.x, "y": grid.y, "z": grid.z}
    for name in at:
        _checks.word(name, "at", coordinates)
    axes = [
        (name, 1e3 * along)
        for name, along in coordinates.items()
        if name not in at and along.size > 1
    ]
    if len(axes) not in (1, 2):
        raise ValueError(
            f"at: the field has {len(axes)} directions; say where along the others, "
            "such as at={'y': 0}"
        )
    key: list[Any] = [0 if along.size == 1 else slice(None) for along in coordinates.values()]
    for i, (name, along) in enumerate(coordinates.items()):
        if name in at:
            key[i] = _nearest(along, _checks.real(at[name], f"at[{name!r}]"), name)
    return values[tuple(key)], axes


def _nearest(along: npt.NDArray[np.float64], place: float, name: str) -> int:
    """Give the index of the coordinate next to a place within the grid."""
    low, high = along.min(), along.max()
    # Half a step, and rounding; a single layer is taken wherever it is asked for.
    beyond = 0.501 * (high - low) / (along.size - 1) if along.size > 1 else np.inf
    if not low - beyond <= place <= high + beyond:
        raise ValueError(f"at: {name} = {place:g} m is outside the grid, {low:g} to {high:g} m")
    return int(np.abs(along - place).argmin())


def _draw_plane(
    ax: Axes,
    values: npt.NDArray[Any],
    axes: list[_Axis],
    label: str,
    limits: tuple[float, float] | None,
    cmap: Any,
) -> Axes:
    # What is further away lies further to the right.
    (up, up_at), (along, along_at) = axes
    if along != "z":
        (up, up_at), (along, along_at) = (along, along_at), (up, up_at)
        values = values.T
    low, high = limits if limits is not None else (None, None)
    image = ax.pcolormesh(
        along_at, up_at, values, vmin=low, vmax=high, cmap=cmap, shading="nearest"
    )
    ax.set_aspect("equal")
    ax.set_xlabel(f"{along} (mm)")
    ax.set_ylabel(f"{up} (mm)")
    # As high as the plane, which may be flat.
    ax.figure.colorbar(image, cax=ax.inset_axes((1.03, 0, 0.03, 1)), label=label)
    return ax


def _draw_profile(
    ax: Axes,
    values: npt.NDArray[Any],
    axes: list[_Axis],
    label: str,
    limits: tuple[float, float] | None,
) -> Axes:
    ((along, along_at),) = axes
    ax.plot(along_at, values)
    ax.set_xlabel(f"{along} (mm)")
    ax.set_ylabel(label)
    if limits is not None:
        ax.set_ylim(*limits)
    return ax


def _draw_array(array: Array, ax: Any, pyplot: Any) -> Axes:
    from matplotlib.ticker import MaxNLocator
    from mpl_toolkits.mplot3d.art3d import Line3DCollection, Poly3DCollection

    faces = [[1e3 * rim for rim in face] for face in faces_of(array)]
    if ax is None:
        ax = pyplot.figure(layout="constrained").add_subplot(projection="3d")
    if not hasattr(ax, "set_zlim"):
        raise ValueError("ax: an array takes axes in three dimensions, projection='3d'")
    for face in faces:
        ax.add_collection3d(Poly3DCollection(_filled(face), facecolor="tab:blue", alpha=0.8))
        for rim in face:
            closed = np.concatenate([rim, rim[:, :1]], axis=1)
            ax.add_collection3d(Line3DCollection(closed, color="black", linewidth=0.3))
    corners = np.concatenate([rim.reshape(-1, 3) for face in faces for rim in face])
    least, most = corners.min(axis=0), corners.max(axis=0)
    margin = 0.05 * (most - least).max()
    sides = most - least + 2 * margin
    ax.set_box_aspect(sides)
    for i, name in enumerate("xyz"):
        axis = getattr(ax, f"{name}axis")
        getattr(ax, f"set_{name}lim")(least[i] - margin, most[i] + margin)
        axis.set_label_text(f"{name} (mm)")
        # Numbers have room along a side that is long.
        axis.set_major_locator(MaxNLocator(max(1, round(6 * sides[i] / sides.max()))))
    return ax  # type: ignore[no-any-return]


def _filled(face: list[npt.NDArray[np.float64]]) -> npt.NDArray[np.float64]:
    """Give polygons whose way goes from the first rim to each of the others and back."""
    way = [face[0], face[0][:, :1]]
    for hole in face[1:]:
        way += [hole, hole[:, :1], face[0][:, :1]]
    return np.concatenate(way, axis=1)
