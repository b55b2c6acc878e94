# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The boundary of a flat piston."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt

from . import _library

_CHORDS = 96
"""Of a whole turn of an arc, in pictures."""


class Outline:
    """Straight edges and arcs, loop by loop, as the library has them.

    Outlines are values: equal ones are shared by the elements of an array.
    """

    __slots__ = ("edges",)

    def __init__(self, edges: npt.NDArray[Any]) -> None:
        self.edges = edges.astype(_library.EDGE)
        self.edges.flags.writeable = False

    def __eq__(self, other: object) -> bool:
        return isinstance(other, Outline) and self.edges.tobytes() == other.edges.tobytes()

    def __hash__(self) -> int:
        return hash(self.edges.tobytes())

    def __reduce__(self) -> tuple[Any, ...]:
        return Outline, (np.array(self.edges),)

    def loops(self) -> list[npt.NDArray[np.float64]]:
        """Give the corners of each loop, and of arcs points between them: rows of x and y."""
        numbers = self.edges["loop"]
        return [
            np.concatenate([_points(edge) for edge in self.edges[numbers == number]])
            for number in np.unique(numbers)
        ]

    @property
    def sides(self) -> tuple[float, float]:
        """The extents along x and y."""
        along, up = np.ptp(np.concatenate(self.loops()), axis=0).tolist()
        return along, up


def _points(edge: Any) -> npt.NDArray[np.float64]:
    """Give points of an edge, without its end."""
    start: npt.NDArray[np.float64] = np.array(edge["start"])
    if edge["sweep"] == 0:
        return start.reshape(1, 2)
    count = max(2, int(np.ceil(abs(edge["sweep"]) / (2 * np.pi) * _CHORDS)))
    angles = edge["sweep"] * np.arange(count) / count
    c, s = np.cos(angles), np.sin(angles)
    x, y = start - edge["to"]
    points: npt.NDArray[np.float64] = edge["to"] + np.stack([c * x - s * y, s * x + c * y], axis=1)
    return points
