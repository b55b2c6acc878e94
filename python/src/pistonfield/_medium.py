# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The fluid that waves go through."""

from __future__ import annotations

import math
from ctypes import c_double
from dataclasses import dataclass, fields

from . import _checks, _library


@dataclass(frozen=True, kw_only=True, repr=False)
class Medium:
    """A homogeneous fluid, with losses or without.

    Losses grow as a power of the frequency: attenuation times frequency**exponent, with the
    frequency in MHz.

    Parameters
    ----------
    speed : float
        Speed of sound in m/s.
    density : float
        Density in kg/m³.
    attenuation : float, optional
        In dB/(cm MHz^exponent). Water has 0.0022 with the exponent 2, soft tissue about 0.5 with 1.
    exponent : float, optional
        From 0 to below 3.
    nepers : float, optional
        In place of the attenuation: the losses themselves at the frequency, in Np/m; 1 Np is
        8.69 dB.
    dispersion_frequency : float, optional
        The frequency in Hz at which the phase speed is `speed`. Elsewhere that then differs as such
        losses demand, since no wave may arrive before it was sent (Szabo, J. Acoust. Soc. Am. 96,
        491-500, 1994, and 97, 14-24, 1995; Waters et al., IEEE Trans. UFFC 50, 68-76, 2003). By
        default it is `speed` at all frequencies.

    Examples
    --------
    >>> import pistonfield as pf
    >>> pf.Medium(speed=1540, density=1050)
    Medium(speed=1540.0, density=1050.0)
    >>> tissue = pf.Medium(speed=1540, density=1050, attenuation=0.5)
    >>> round(tissue.loss(3e6), 2)
    17.27
    """

    speed: float
    density: float
    attenuation: float = 0.0
    exponent: float = 1.0
    nepers: float | None = None
    dispersion_frequency: float | None = None

    def __post_init__(self) -> None:
        given = {
            "speed": _checks.positive(self.speed, "speed", "a speed in m/s"),
            "density": _checks.positive(self.density, "density", "a density in kg/m³"),
            "attenuation": _checks.real(self.attenuation, "attenuation"),
            "exponent": _checks.real(self.exponent, "exponent"),
            "nepers": _checks.optional_real(self.nepers, "nepers"),
            "dispersion_frequency": None
            if self.dispersion_frequency is None
            else _checks.positive(
                self.dispersion_frequency, "dispersion_frequency", "a frequency in Hz"
            ),
        }
        for name, value in given.items():
            object.__setattr__(self, name, value)
        # What the library says of it at that frequency it says at any one but for the phase speed.
        wave_of(self, self.dispersion_frequency or 1e6)

    def __repr__(self) -> str:
        told = [
            f"{field.name}={getattr(self, field.name)!r}"
            for field in fields(self)
            if getattr(self, field.name) != field.default
        ]
        return f"Medium({', '.join(told)})"

    def wavenumber(self, frequency: float) -> float:
        """Give the wavenumber of a frequency.

        Parameters
        ----------
        frequency : float
            In Hz.

        Returns
        -------
        float
            2π frequency / phase speed, in rad/m.

        Examples
        --------
        >>> import pistonfield as pf
        >>> round(pf.WATER.wavenumber(1e6), 3)
        4239.666
        """
        return wave_of(self, frequency)[0]

    def loss(self, frequency: float) -> float:
        """Give the losses at a frequency.

        Parameters
        ----------
        frequency : float
            In Hz.

        Returns
        -------
        float
            In Np/m.

        Examples
        --------
        >>> import pistonfield as pf
        >>> pf.Medium(speed=1540, density=1050, nepers=30).loss(1e6)
        30.0
        """
        return wave_of(self, frequency)[1]

    def phase_speed(self, frequency: float) -> float:
        """Give the phase speed at a frequency.

        Parameters
        ----------
        frequency : float
            In Hz.

        Returns
        -------
        float
            In m/s.

        Examples
        --------
        >>> import pistonfield as pf
        >>> pf.WATER.phase_speed(1e6)
        1482.0
        """
        wavenumber = wave_of(self, frequency)[0]
        if self.dispersion_frequency is None:
            return self.speed
        return 2 * math.pi * float(frequency) / wavenumber


def wave_of(medium: Medium, frequency: float) -> tuple[float, float]:
    """Give the wavenumber in rad/m and the losses in Np/m."""
    number = _checks.positive(frequency, "frequency", "a frequency in Hz")
    given = _library.Medium(
        medium.speed,
        medium.attenuation,
        medium.exponent,
        _library.optional_number(medium.nepers),
        _library.optional_number(medium.dispersion_frequency),
    )
    wavenumber, loss = c_double(), c_double()
    _library.call(_library.functions.wave, given, number, wavenumber, loss)
    return wavenumber.value, loss.value


WATER = Medium(speed=1482, density=998)
"""Water at 20 degrees Celsius."""


def pascal(medium: Medium, frequency: float, velocity: float) -> float:
    """Give the pressure in Pa of a plane wave with an amplitude of velocity in m/s.

    Times 1j and the library's values it is the pressure.
    """
    pressure = medium.density * medium.phase_speed(frequency) * velocity
    if not 0 < pressure < math.inf:
        raise ValueError(f"velocity: {velocity:g} m/s makes pressures beyond the numbers there are")
    return pressure


def checked(medium: Medium) -> Medium:
    """Refuse what is no medium."""
    if not isinstance(medium, Medium):
        raise TypeError(f"medium: must be a Medium, not {type(medium).__name__}")
    return medium
