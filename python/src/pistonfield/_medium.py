# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The fluid that waves go through."""

from __future__ import annotations

import math
from dataclasses import dataclass

from . import _checks


@dataclass(frozen=True, kw_only=True)
class Medium:
    """A homogeneous fluid without losses.

    Parameters
    ----------
    speed : float
        Speed of sound in m/s.
    density : float
        Density in kg/m³.

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Medium(speed=1540, density=1050)
    Medium(speed=1540.0, density=1050.0)
    """

    speed: float
    density: float

    def __post_init__(self) -> None:
        speed = _checks.positive(self.speed, "speed", "a speed in m/s")
        density = _checks.positive(self.density, "density", "a density in kg/m³")
        object.__setattr__(self, "speed", speed)
        object.__setattr__(self, "density", density)

    def wavenumber(self, frequency: float) -> float:
        """Give the wavenumber of a frequency.

        Parameters
        ----------
        frequency : float
            In Hz.

        Returns
        -------
        float
            2π frequency / speed, in rad/m.

        Examples
        --------
        >>> import pistonfield as pf
        >>> round(pf.WATER.wavenumber(1e6), 3)
        4239.666
        """
        number = _checks.positive(frequency, "frequency", "a frequency in Hz")
        return 2 * math.pi * number / self.speed


WATER = Medium(speed=1482, density=998)
"""Water at 20 degrees Celsius."""


def pascal(medium: Medium, velocity: float) -> float:
    """Give the pressure in Pa of a plane wave with an amplitude of velocity in m/s.

    Times 1j and the library's values it is the pressure.
    """
    pressure = medium.density * medium.speed * velocity
    if not 0 < pressure < math.inf:
        raise ValueError(f"velocity: {velocity:g} m/s makes pressures beyond the numbers there are")
    return pressure


def checked(medium: Medium) -> Medium:
    """Refuse what is no medium."""
    if not isinstance(medium, Medium):
        raise TypeError(f"medium: must be a Medium, not {type(medium).__name__}")
    return medium
