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


def outline_of_file(rows: npt.NDArray[np.float64]) -> Outline:
    """Read an outline as files of fields have it: a row of 7 numbers for each edge.

    Behind the loop's number these are a 0, both ends and a 0 of a straight edge, and of an arc a 1,
    the centre, the radius, and the angles at which it begins and by which it turns.
    """
    edges = np.zeros(len(rows), _library.EDGE)
    loop, is_arc, x, y, third, fourth, sweep = rows.T
    arc = is_arc == 1
    edges["loop"] = loop
    edges["start"] = np.stack([x, y], axis=1)
    edges["to"] = np.where(arc[:, None], edges["start"], np.stack([third, fourth], axis=1))
    edges["start"][arc] += (third * np.stack([np.cos(fourth), np.sin(fourth)])).T[arc]
    edges["sweep"] = np.where(arc, sweep, 0)
    return Outline(edges)


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
