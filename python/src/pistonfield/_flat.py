# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Where a flat piston lies, whatever its shape."""

from __future__ import annotations

from abc import ABC, abstractmethod
from collections.abc import Hashable
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks
from ._outline import Outline


class Flat(ABC):
    """A flat piston somewhere, which radiates along its normal."""

    __slots__ = ("_center", "_orientation")

    def __init__(self, center: npt.ArrayLike, orientation: npt.ArrayLike | None) -> None:
        self._center = _checks.vector(center, "center")
        self._orientation = (
            np.eye(3) if orientation is None else _checks.rotation(orientation, "orientation")
        )
        self._center.flags.writeable = False
        self._orientation.flags.writeable = False

    @property
    def center(self) -> npt.NDArray[np.float64]:
        """The centre, three numbers in m; not to be written."""
        return self._center

    @property
    def orientation(self) -> npt.NDArray[np.float64]:
        """Columns: the piston's x, its y and its normal; not to be written."""
        return self._orientation

    @property
    def is_turned(self) -> bool:
        """Whether its axes are not those of the points."""
        return not np.array_equal(self._orientation, np.eye(3))

    @property
    @abstractmethod
    def sides(self) -> tuple[float, float]:
        """Extents along the piston's x and y, in m."""

    @property
    @abstractmethod
    def outline(self) -> Outline | None:
        """Its boundary; None of a rectangle."""

    @property
    @abstractmethod
    def parameters(self) -> dict[str, Any]:
        """The arguments that it is made from, but for its place."""

    def __repr__(self) -> str:
        parts = [f"{name}={_plain(value)!r}" for name, value in self.parameters.items()]
        if self.center.any():
            parts.append(f"center={self.center.tolist()}")
        if self.is_turned:
            parts.append(f"orientation={self.orientation.tolist()}")
        return f"{type(self).__name__}({', '.join(parts)})"

    def __eq__(self, other: object) -> bool:
        if not isinstance(other, Flat):
            return NotImplemented
        return self._values() == other._values()

    def __hash__(self) -> int:
        return hash(self._values())

    def __reduce__(self) -> tuple[Any, ...]:
        place = {"center": self.center, "orientation": self.orientation}
        return _made, (type(self), {**self.parameters, **place})

    def _values(self) -> tuple[Hashable, ...]:
        shape: Hashable = self.sides if self.outline is None else self.outline
        return (shape, *self.center.tolist(), *self.orientation.ravel().tolist())


def _made(kind: type[Flat], arguments: dict[str, Any]) -> Flat:
    return kind(**arguments)


def _plain(value: Any) -> Any:
    if isinstance(value, np.ndarray):
        return value.tolist()
    return [_plain(one) for one in value] if isinstance(value, tuple) else value
