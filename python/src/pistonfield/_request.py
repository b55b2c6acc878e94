# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What radiates, where and how, as the library takes it."""

from __future__ import annotations

import ctypes
import math
from typing import Any, NoReturn

import numpy as np
import numpy.typing as npt

from . import _checks, _library, _medium, _placement
from ._array import Array, row_of, rows_of, shapes_of
from ._flat import Flat
from ._grid import Grid
from ._medium import Medium

_MANY = 4096
"""Points or elements from which on it takes hundredths of a second to prepare a field."""


class Source:
    """What radiates. The memory that a request points to is there as long as this is."""

    def __init__(self, given: Any, weights: Any) -> None:
        if isinstance(given, Array):
            self.rows = rows_of(given)
            self.weights = _weights(given, weights)
            outlines, of = shapes_of(given)
        elif isinstance(given, Flat):
            if weights is not None:
                raise TypeError(f"weights: go with an Array, not a {type(given).__name__}")
            self.rows = np.array([row_of(given)])
            self.weights = np.ones(1, complex)
            outline = given.outline
            outlines, of = ((), None) if outline is None else ((outline,), np.zeros(1, np.int64))
        else:
            raise TypeError(
                f"source: must be a Piston, another shape or an Array, not {type(given).__name__}"
            )
        self._of = of
        self._edges = [outline.edges for outline in outlines]
        self._outlines = (_library.OutlineStruct * max(1, len(outlines)))()
        for struct, edges in zip(self._outlines, self._edges, strict=False):
            struct.edges, struct.count = _library.address(edges), len(edges)

    @property
    def weightings(self) -> int:
        return math.prod(self.weights.shape[:-1])

    def fill(self, request: _library.Request) -> None:
        """Have a request point to the elements."""
        request.held.append(self)
        request.array = _library.address(self.rows)
        request.elements = len(self.rows)
        request.weights = _library.address(self.weights)
        request.weightings = self.weightings
        if self._of is not None:
            request.outlines = ctypes.cast(self._outlines, ctypes.c_void_p)
            request.outline_of = _library.address(self._of)
            request.outline_count = len(self._edges)

    def stand_at_origin(self) -> None:
        """Take the only element's frame for that of the points."""
        self.rows = self.rows.copy()
        self.rows[0, 2:] = (0, 0, 0, 1, 0, 0, 0, 1, 0)


class Place:
    """Where a field is asked for: a grid, or points."""

    def __init__(self, given: Any) -> None:
        self._points: npt.NDArray[np.float64] | None = None
        if isinstance(given, Grid):
            self.grid: Grid | None = given
            self.shape: tuple[int, ...] = given.shape
            self._origin, self._steps = given.origin, given.steps
            return
        if given is None or isinstance(given, (str, bytes)):
            raise TypeError(f"grid: must be a Grid or an (N, 3) array, not {type(given).__name__}")
        self.grid = None
        self._listed = _checks.points(given, "points")
        self.shape = (len(self._listed),)
        self._points = np.ascontiguousarray(self._listed.T)

    def see_from(self, piston: Flat, behind: bool, *, keep: bool) -> None:
        """Look at the points from a piston: refuse those behind it, unless they are asked for.

        Unless the frame is to be kept, they are then those in the piston's.
        """
        if self.grid is not None:
            placed = _placement.grid_before(piston, self.grid, behind)
            if not keep:
                self._origin, self._steps = placed
        else:
            points = _placement.points_before(piston, self._listed, behind)
            if not keep:
                self._points = points

    @property
    def name(self) -> str:
        return "points" if self.grid is None else "grid"

    @property
    def is_large(self) -> bool:
        return self.grid is None and self.shape[0] > _MANY

    def fill(self, request: _library.Request) -> None:
        """Have a request ask for the points."""
        request.held.append(self)
        if self._points is None:
            request.transform[:] = self.transform.ravel().tolist()
            request.sizes[:] = self.shape
        else:
            request.x, request.y, request.z = (_library.address(row) for row in self._points)
            request.points = self.shape[0]

    @property
    def transform(self) -> npt.NDArray[np.float64]:
        transform = np.eye(4)
        transform[:3, :3] = self._steps
        transform[:3, 3] = self._origin
        return transform


def new_request(medium: Medium, frequency: float) -> _library.Request:
    """Make a request for a wave."""
    request = _library.Request()
    _library.call(_library.functions.request_init, request, ctypes.sizeof(request))
    request.wavenumber, request.attenuation = _medium.wave_of(_medium.checked(medium), frequency)
    return request


NAMES = {
    "attenuation": "medium",
    "elements": "source",
    "mode": "precision",
    "wavenumber": "frequency",
    "weightings": "weights",
}
"""The words of the package for what requests are made of."""


def refuse(refusal: ValueError) -> NoReturn:
    """Raise a refusal of the library in the words of the package."""
    text = str(refusal)
    if " lies behind " in text:
        _, _, said = text.partition(": ")
        raise ValueError(f"behind: {said}, where there is no field") from None
    text = text.replace("take one of the local amplitude,", 'take relative="local",')
    if "wavelengths" in text:
        text += "; lengths are in m, the speed in m/s, the frequency in Hz"
    raise ValueError(text) from None


def _weights(array: Array, given: Any) -> npt.NDArray[np.complex128]:
    """Read the weights: of one weighting, or a row for each of several."""
    if given is None:
        return array.weights
    weights = _checks.complexes(given, "weights", "one for each element")
    count = len(array)
    if weights.ndim not in (1, 2) or weights.shape[-1] != count or weights.size == 0:
        hint = ""
        if weights.ndim == 2 and weights.shape[0] == count:
            hint = "; give them transposed, weights.T"
        raise ValueError(
            f"weights: must be of the shape ({count},) or (M, {count}), a row for each of M "
            f"weightings, not {weights.shape}{hint}"
        )
    return weights
