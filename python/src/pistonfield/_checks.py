# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What an argument has to be before it reaches the library: each refusal names the argument."""

from __future__ import annotations

import math
import operator
from collections.abc import Iterable
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _devices


def real(value: Any, name: str) -> float:
    """Read a finite real number."""
    number = np.asarray(value)
    if number.ndim != 0 or number.dtype.kind not in "iuf":
        raise TypeError(f"{name}: must be a real number, not {_kind(value)}")
    if not math.isfinite(number):
        raise ValueError(f"{name}: must be finite, not {float(number)}")
    return float(number)


def positive(value: Any, name: str, what: str) -> float:
    """Read a real number above 0; `what` says what it is, such as "a length in m"."""
    number = real(value, name)
    if number <= 0:
        raise ValueError(f"{name}: must be {what} above 0, not {number:g}")
    return number


def optional_real(value: Any, name: str) -> float | None:
    """Read a real number, or None."""
    return None if value is None else real(value, name)


def whole(value: Any, name: str) -> int:
    """Read a whole number that the library can take."""
    if isinstance(value, (bool, np.bool_)):
        raise TypeError(f"{name}: must be a whole number, not {_kind(value)}")
    try:
        number = operator.index(value)
    except TypeError:
        raise TypeError(f"{name}: must be a whole number, not {_kind(value)}") from None
    if not -(2**63) <= number < 2**63:
        raise ValueError(f"{name}: {number} is too large")
    return number


def optional_whole(value: Any, name: str) -> int | None:
    """Read a whole number, or None."""
    return None if value is None else whole(value, name)


def word(value: Any, name: str, choices: Iterable[str]) -> str:
    """Read one of some words."""
    listed = tuple(choices)
    if not isinstance(value, str):
        raise TypeError(f"{name}: must be one of {', '.join(listed)}, not {_kind(value)}")
    if value not in listed:
        raise ValueError(f"{name}: '{value}' is none of {', '.join(listed)}")
    return value


def flag(value: Any, name: str) -> bool:
    """Read True or False."""
    if not isinstance(value, (bool, np.bool_)):
        raise TypeError(f"{name}: must be True or False, not {_kind(value)}")
    return bool(value)


def reals(value: Any, name: str, what: str) -> npt.NDArray[np.float64]:
    """Read an array of finite real numbers, as a copy in double precision."""
    numbers = _numeric(value, name, "iuf", f"{what}, real numbers")
    copied = np.array(numbers, dtype=np.float64, order="C")
    if not np.isfinite(copied).all():
        raise ValueError(f"{name}: every number must be finite")
    return copied


def complexes(value: Any, name: str, what: str) -> npt.NDArray[np.complex128]:
    """Read an array of finite complex numbers, as a copy in double precision."""
    numbers = _numeric(value, name, "iufc", f"{what}, numbers")
    copied = np.array(numbers, dtype=np.complex128, order="C")
    if not np.isfinite(copied).all():
        raise ValueError(f"{name}: every number must be finite")
    return copied


def vector(value: Any, name: str) -> npt.NDArray[np.float64]:
    """Read three finite numbers."""
    numbers = reals(value, name, "three numbers")
    if numbers.shape != (3,):
        raise ValueError(f"{name}: must be three numbers, not of the shape {numbers.shape}")
    return numbers


def rotation(value: Any, name: str) -> npt.NDArray[np.float64]:
    """Read a rotation matrix."""
    turn = reals(value, name, "a 3 by 3 rotation matrix")
    if turn.shape != (3, 3):
        raise ValueError(f"{name}: must be a 3 by 3 rotation matrix, not of the shape {turn.shape}")
    if np.linalg.norm(turn.T @ turn - np.eye(3), 2) >= 1e-9 or np.linalg.det(turn) < 0:
        raise ValueError(
            f"{name}: must be a rotation: columns of length 1, at right angles, "
            "the third the cross product of the others"
        )
    return turn


def points(value: Any, name: str) -> npt.NDArray[np.float64]:
    """Read a list of points: a row of x, y and z for each."""
    listed = reals(value, name, "an (N, 3) array")
    if listed.ndim != 2 or listed.shape[1] != 3:
        hint = ""
        if listed.ndim == 2 and listed.shape[0] == 3:
            hint = f"; give them transposed, {name}.T"
        raise ValueError(
            f"{name}: must be an (N, 3) array, a row of x, y and z for each point, "
            f"not of the shape {listed.shape}{hint}"
        )
    if listed.shape[0] == 0:
        raise ValueError(f"{name}: the list of points is empty")
    return listed


def _numeric(value: Any, name: str, kinds: str, what: str) -> npt.NDArray[Any]:
    readable = _devices.on_host(value, name)
    try:
        numbers = np.asarray(readable)
    except ValueError:
        raise ValueError(f"{name}: must be {what}, in rows of one length") from None
    if numbers.dtype.kind not in kinds and numbers.size > 0:
        raise TypeError(f"{name}: must be {what}, not {_kind(value)}")
    return numbers


def _kind(value: Any) -> str:
    if isinstance(value, np.ndarray):
        return f"an array of {value.dtype}" + (f" of the shape {value.shape}" if value.ndim else "")
    return type(value).__name__
