# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Values with a unit."""

from __future__ import annotations

from typing import Any

import numpy as np
import numpy.typing as npt


def scale(values: npt.NDArray[Any], unit: complex) -> None:
    """Multiply values; infinite ones by a real number stay what they are."""
    if isinstance(unit, complex):
        np.multiply(values, unit, out=values)
        return
    for part in (values.real, values.imag):
        np.multiply(part, unit, out=part)
