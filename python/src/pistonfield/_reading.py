# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Fields in the files of pistonfield-run."""

from __future__ import annotations

import math
import os
from types import TracebackType
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks, _medium
from ._array import Array
from ._grid import Grid
from ._medium import WATER, Medium
from ._outline import Outline, outline_of_file
from ._piston import Piston
from ._scaling import scale
from ._shapes import Shape

_FORMATS = (2, 3, 4, 5, 6)

# The quantities, of which a file has one as a dataset, and their units.
_UNITS = {"pressure": "Pa", "velocity": "m/s", "intensity": "W/m^2"}


class Field:
    """The field in a file, of which only what is asked for is read.

    `read` makes it. An index gives values, as of an array of the field's shape:
    ``field[:, 0, 10]``; ``field[...]`` or ``numpy.asarray(field)`` all of them. Velocities and
    intensities have a fourth direction, the components along x, y and z of the piston's or the
    array's frame. Under ``with`` the file is closed at the end.

    Attributes
    ----------
    quantity : str
        What the values are: "pressure", "velocity" or "intensity", whose real part is the active
        and whose imaginary part the reactive one.
    grid : Grid
        Where the values lie, in the frame of the piston or the array.
    source : Piston, Shape or Array
        What radiates. Discs and other pistons that are no rectangles are a `Shape`, with the edges
        that the file has.
    wavenumber : float
        In rad/m, where the request was in m.
    attributes : dict
        What else the file says, by its own names.
    """

    def __init__(self, file: Any, unit: complex | None) -> None:
        self._file = file
        self._unit = unit
        self.attributes: dict[str, Any] = {name: _plain(file.attrs[name]) for name in file.attrs}
        self.quantity: str = _quantity(file)
        self._values = file[self.quantity]
        self.wavenumber = float(self.attributes["k"])
        self.grid = self._grid()
        self.source = self._source()

    @property
    def shape(self) -> tuple[int, ...]:
        """The number of points along each direction, and of components where there are several."""
        z, y, x, *components = self._values.shape
        return (x, y, z, *components)

    @property
    def dtype(self) -> np.dtype[Any]:
        """The type of the values: complex64 where the file is in single precision."""
        dtype: np.dtype[Any] = self._values.dtype
        return dtype

    def __getitem__(self, key: Any) -> npt.NDArray[Any]:
        dimensions = len(self._values.shape)
        keys = _all_keys(key, dimensions)
        in_file = (*keys[2::-1], *keys[3:])
        stored = np.asarray(self._values[in_file])
        # The components, where any are left, stay the last direction.
        components = dimensions > 3 and not _is_index(keys[3])
        points = stored.ndim - components
        axes = (*reversed(range(points)), *range(points, stored.ndim))
        values: npt.NDArray[Any] = stored.transpose(axes)
        if self._unit is not None:
            scale(values, self._unit)
        return values

    def __array__(self, dtype: Any = None, copy: bool | None = None) -> npt.NDArray[Any]:
        if copy is False:
            raise ValueError("copy: the values of a file cannot be had without one")
        values = self[...]
        return values if dtype is None else values.astype(dtype)

    def close(self) -> None:
        """Close the file."""
        self._file.close()

    def __enter__(self) -> Field:
        return self

    def __exit__(
        self,
        kind: type[BaseException] | None,
        failure: BaseException | None,
        trace: TracebackType | None,
    ) -> None:
        self.close()

    def __repr__(self) -> str:
        sizes = " by ".join(str(size) for size in self.grid.shape)
        unit = _UNITS[self.quantity] if self._unit is not None else "without unit"
        return f"<Field of {sizes} points, {unit}>"

    def _grid(self) -> Grid:
        transform = np.asarray(self.attributes["transform"], float).reshape(4, 4)
        transform = transform / transform[3, 3]
        first = np.asarray(self.attributes["first_point"], float)
        steps = transform[:3, :3]
        return Grid(origin=transform[:3, 3] + steps @ first, steps=steps, sizes=self.shape[:3])

    def _source(self) -> Piston | Shape | Array:
        if "outline" in self._file:
            return Shape(outline=outline_of_file(np.array(self._file["outline"][...], float)))
        if "elements" not in self._file:
            return Piston(width=self.attributes["s"], height=self.attributes["l"])
        weights = np.asarray(self._file["weights"][...], np.complex128).reshape(-1)
        rows = np.array(self._file["elements"][...], float)
        return Array._shaped(rows, weights, *self._outlines())

    def _outlines(self) -> tuple[tuple[Outline, ...], npt.NDArray[np.int64] | None]:
        """Read the outlines of an array's elements, and which is whose."""
        if "outlines" not in self._file:
            return (), None
        rows = np.array(self._file["outlines"][...], float)
        numbers = range(int(rows[:, 0].max()) + 1)
        outlines = tuple(outline_of_file(rows[rows[:, 0] == number, 1:]) for number in numbers)
        return outlines, np.array(self._file["outline_of"][...], np.int64)


def read(
    file: str | os.PathLike[str],
    *,
    frequency: float | None = None,
    medium: Medium = WATER,
    velocity: float = 1.0,
) -> Field:
    """Open a field that pistonfield-run has computed.

    It takes h5py. The file has neither the medium nor the velocity: with the frequency, which has
    to fit the file, values are in Pa, m/s or W/m^2; without it they have no unit.

    Parameters
    ----------
    file : str or path
        The file.
    frequency : float, optional
        In Hz.
    medium : Medium, optional
        The fluid; water by default.
    velocity : float, optional
        The velocity u0 in m/s.

    Returns
    -------
    Field
        The open file; values are read when they are asked for.

    Examples
    --------
    >>> import pistonfield as pf
    >>> with pf.read("field.h5", frequency=1e6) as field:  # doctest: +SKIP
    ...     plane = field[:, :, 300]
    """
    try:
        import h5py
    except ImportError as failure:
        raise ImportError("reading a field takes h5py: pip install h5py") from failure
    try:
        name = os.fspath(file)
    except TypeError:
        raise TypeError(f"file: must be a path, not {type(file).__name__}") from None
    speed = _checks.positive(velocity, "velocity", "a velocity in m/s")
    _medium.checked(medium)
    factor = 0.0 if frequency is None else _medium.pascal(medium, frequency, speed)
    opened = h5py.File(name, "r")
    try:
        _require_field(opened, name)
        if frequency is None:
            return Field(opened, None)
        _require_wavenumber(float(opened.attrs["k"]), medium.wavenumber(frequency))
        units = {"pressure": 1j * factor, "velocity": speed, "intensity": factor * speed / 2}
        return Field(opened, units[_quantity(opened)])
    except BaseException:
        opened.close()
        raise


def _quantity(file: Any) -> str:
    return next((name for name in _UNITS if name in file), "")


def _require_field(file: Any, name: Any) -> None:
    if not _quantity(file) or "format" not in file.attrs:
        raise ValueError(f"file: {name} is no field of pistonfield-run")
    found = int(file.attrs["format"])
    if found not in _FORMATS:
        raise ValueError(f"file: {name} has the format {found}, which is none of 2 to 6")
    if not file.attrs["complete"]:
        raise ValueError(f"file: {name} is not complete; pistonfield-run --resume completes it")


def _require_wavenumber(found: float, wanted: float) -> None:
    if not math.isclose(found, wanted, rel_tol=1e-9):
        raise ValueError(
            f"frequency: the wavenumber would be {wanted:g} rad/m; that of the file is {found:g}"
        )


def _all_keys(key: Any, dimensions: int) -> tuple[Any, ...]:
    """Give a key for each of the three directions, and of components."""
    keys = key if isinstance(key, tuple) else (key,)
    if not all(part is Ellipsis or isinstance(part, slice) or _is_index(part) for part in keys):
        raise TypeError("field: an index is made of whole numbers, slices and ...")
    if keys.count(Ellipsis) > 1 or len(keys) - keys.count(Ellipsis) > dimensions:
        count = "three" if dimensions == 3 else "four"
        raise IndexError(f"field: there are {count} directions")
    if Ellipsis not in keys:
        keys = (*keys, Ellipsis)
    at = keys.index(Ellipsis)
    return (*keys[:at], *(slice(None),) * (dimensions + 1 - len(keys)), *keys[at + 1 :])


def _is_index(part: Any) -> bool:
    return hasattr(part, "__index__") and not isinstance(part, (bool, np.ndarray))


def _plain(value: Any) -> Any:
    if isinstance(value, bytes):
        return value.decode(errors="replace")
    return value
