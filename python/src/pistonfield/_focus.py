# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Weights that focus or steer an array."""

from __future__ import annotations

import logging
from ctypes import c_double
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks, _library, _medium
from ._array import Array
from ._jobs import Job, stopping
from ._medium import WATER, Medium
from ._options import baffle_number
from ._request import Source, new_request

_log = logging.getLogger("pistonfield")

_PLAIN = ("rectangular", "hann", "hamming", "blackman")
_TUNABLE = ("tukey", "kaiser", "gaussian")

_NAMES = {
    "attenuation": "medium",
    "bits": "phase_bits",
    "direction": "plane_wave",
    "elements": "array",
    "largest_weight": "drive_limit",
    "levels": "amplitude_levels",
    "points": "point",
    "step": "quantized",
    "wavenumber": "frequency",
    "window": "apodization",
}

_Weights = npt.NDArray[np.complex128]


def focus(
    array: Array,
    point: npt.ArrayLike | None = None,
    frequency: float | None = None,
    *,
    medium: Medium = WATER,
    baffle: str = "rigid",
    velocity: float = 1.0,
    pressures: npt.ArrayLike | None = None,
    drive_limit: float | None = None,
    iterations: int = 0,
    least_ratio: float = 1e-6,
    steer: npt.ArrayLike | None = None,
    plane_wave: npt.ArrayLike | None = None,
    apodization: str | tuple[str, float] | None = None,
    along: str = "x",
    quantized: float | None = None,
    phase_bits: int | None = None,
    amplitude_levels: int | None = None,
    tolerance: float = 1e-8,
    behind: bool = False,
) -> _Weights:
    """Find complex weights that focus or steer an array.

    At one point the waves of all elements arrive in phase: the phases are those of the elements'
    own fields there, not of distances. At several points the pressures are those demanded, by the
    weights of the least norm that do so (Ebbini and Cain, IEEE Trans. UFFC 36, 540-548, 1989).
    `steer` and `plane_wave` give the phases of a plane wave at the elements' centres.

    Parameters
    ----------
    array : Array
        What is driven.
    point : array_like, optional
        The focus, three numbers in m; or several foci, (N, 3), at most 256. There is none with
        `steer` or `plane_wave`.
    frequency : float
        In Hz; without a point by its name.
    medium : Medium, optional
        The fluid; water by default.
    baffle : {"rigid", "soft", "free"}, optional
        What surrounds each element in its plane.
    velocity : float, optional
        The velocity in m/s that `pressure` is to have: `pressures` in Pa depend on it.
    pressures : array_like, optional
        The complex pressures in Pa that are demanded, one for each point. By default all are equal,
        and such that the largest magnitude of a weight is 1.
    drive_limit : float, optional
        The weights are scaled such that the largest magnitude is this one, before `apodization` and
        what rounds them. By default 1, or no scaling with `pressures`.
    iterations : int, optional
        For several points: so often at most the weights are found again such that their magnitudes
        are more even, with the same pressures.
    least_ratio : float, optional
        For several points: singular values below this part of the largest one are dropped.
    steer : float or (float, float), optional
        In place of points: azimuth and elevation of a plane wave in degrees. The azimuth is the
        angle from z towards x, the elevation from there towards y: of the points' frame, however
        the array is turned.
    plane_wave : array_like, optional
        In place of points: the direction of a plane wave, three numbers in the points' frame.
    apodization : str or (str, float), optional
        A window that multiplies the weights: "rectangular", "hann", "hamming", "blackman", or one
        with a parameter: ("tukey", r) that falls over the outer part r, ("kaiser", beta),
        ("gaussian", sigma) with sigma in half widths of the array.
    along : {"x", "y", "radius"}, optional
        What the window lies along. It ends at the rim of the array.
    quantized : float, optional
        The delays of the weights are rounded to multiples of this step in s, at most half a period.
    phase_bits : int, optional
        The phases are rounded to 2**phase_bits in a period.
    amplitude_levels : int, optional
        The magnitudes are rounded to so many levels from 0 to the largest one.
    tolerance : float, optional
        The largest error of the elements' fields at the points, relative to "local" of `pressure`.
    behind : bool, optional
        Whether points behind elements are asked for.

    Returns
    -------
    ndarray
        A complex weight for each element, (N,).

    Notes
    -----
    Where singular values were dropped, so that the pressures are not those demanded, the logger
    "pistonfield" is told.

    Examples
    --------
    >>> import numpy as np
    >>> import pistonfield as pf
    >>> array = pf.Array.line(elements=32, pitch=0.6e-3, width=0.5e-3, height=10e-3)
    >>> weights = pf.focus(array, [0, 0, 30e-3], 1e6)
    >>> p = pf.pressure(array, [[0, 0, 30e-3]], 1e6, weights=weights, velocity=0.01)
    >>> bool(np.isclose(np.angle(p[0]), np.pi / 2, atol=1e-3))
    True
    >>> pf.focus(array, frequency=1e6, steer=20).shape
    (32,)
    """
    if not isinstance(array, Array):
        raise TypeError(f"array: must be an Array, not {type(array).__name__}")
    if frequency is None:
        raise TypeError("frequency: is missing; without a point it goes by its name")
    request = new_request(medium, frequency)
    request.baffle = baffle_number(baffle)
    unit = _medium.pascal(
        medium, frequency, _checks.positive(velocity, "velocity", "a velocity in m/s")
    )
    limit = drive_limit
    if limit is not None:
        limit = _checks.positive(limit, "drive_limit", "a number")
    _require_one_aim(point, steer, plane_wave)
    if pressures is not None and point is None:
        raise ValueError("pressures: are demanded at points, which there are none of")
    asked = _Asked(array, request)
    if point is not None:
        weights = asked.at_points(
            _places(point),
            pressures=pressures,
            unit=unit,
            limit=limit,
            iterations=_checks.whole(iterations, "iterations"),
            least_ratio=_checks.positive(least_ratio, "least_ratio", "a number"),
            tolerance=_checks.positive(tolerance, "tolerance", "a number"),
            behind=_checks.flag(behind, "behind"),
        )
    else:
        weights = asked.of_plane_wave(_direction(steer, plane_wave))
        weights *= 1 if limit is None else limit
    asked.apodize(weights, apodization, _checks.word(along, "along", _library.ALONG))
    _round(weights, float(frequency), quantized, phase_bits, amplitude_levels)
    return weights


class _Asked:
    """Questions about the weights of an array that radiates a wave."""

    def __init__(self, array: Array, request: _library.Request) -> None:
        self._held: list[Any] = []
        self._count = len(array)
        self._source = Source(array, None)
        self._source.fill(request)
        self._request = request

    def at_points(
        self,
        points: npt.NDArray[np.float64],
        *,
        pressures: Any,
        unit: float,
        limit: float | None,
        iterations: int,
        least_ratio: float,
        tolerance: float,
        behind: bool,
    ) -> _Weights:
        columns = np.ascontiguousarray(points.T)
        places = _library.Places(
            *(self._hold(column) for column in columns), len(points), tolerance, behind
        )
        weights = np.empty(self._count, complex)
        if len(points) == 1 and pressures is None:
            self._ask(_library.functions.request_focus_watched, places, self._hold(weights))
            weights *= 1 if limit is None else limit
            return weights
        demanded = _demanded(len(points), pressures, unit)
        if limit is None and pressures is None:
            limit = 1.0
        foci = _library.Foci(
            places,
            self._hold(demanded),
            least_ratio,
            _library.optional_number(limit),
            max(-(2**31), min(iterations, 2**31 - 1)),
        )
        result = _library.FociResult()
        self._ask(_library.functions.request_foci_watched, foci, self._hold(weights), result)
        if result.dropped:
            _log.warning(
                "focus: %d singular values were dropped: pressures are off by up to %.2g of the "
                "largest one that is demanded",
                result.dropped,
                result.residual,
            )
        return weights

    def of_plane_wave(self, direction: Any) -> _Weights:
        weights = np.empty(self._count, complex)
        self._ask(_library.functions.request_plane_wave_watched, direction, self._hold(weights))
        return weights

    def apodize(self, weights: _Weights, apodization: Any, along: str) -> None:
        if apodization is None:
            return
        name, parameter = _window(apodization)
        window = _library.Window(name.encode(), parameter, _library.ALONG[along])
        _library.call(
            _library.functions.request_window,
            self._request,
            window,
            _library.address(weights),
            names=_NAMES,
        )

    def _hold(self, values: npt.NDArray[Any]) -> int:
        """Give an array's address, and keep it: a call may outlive its interrupted caller."""
        self._held.append(values)
        return _library.address(values)

    def _ask(self, function: Any, aim: Any, *to: Any) -> None:
        def find(job: Job[None]) -> None:
            _library.call(function, self._request, aim, stopping(job), *to, names=_NAMES)

        try:
            Job(find).run()
        except ValueError as refusal:
            text = str(refusal)
            if " lies behind " in text:
                text = f"behind: {text.partition(': ')[2]}, where there is no field"
            raise ValueError(text) from None


def _require_one_aim(point: Any, steer: Any, plane_wave: Any) -> None:
    aims = {"point": point, "steer": steer, "plane_wave": plane_wave}
    given = [name for name, aim in aims.items() if aim is not None]
    if not given:
        raise ValueError("point: give points, or steer or plane_wave in their place")
    if len(given) > 1:
        raise ValueError(f"{given[-1]}: give {given[0]} or {given[-1]}, not both")


def _places(point: Any) -> npt.NDArray[np.float64]:
    places = _checks.reals(point, "point", "three numbers or an (N, 3) array")
    if places.shape == (3,):
        return places.reshape(1, 3)
    return _checks.points(places, "point")


def _demanded(count: int, pressures: Any, unit: float) -> _Weights:
    """Give the pressures without unit, as the library takes them."""
    if pressures is None:
        return np.ones(count, complex)
    demanded = _checks.complexes(pressures, "pressures", "one for each point").reshape(-1)
    if demanded.size != count:
        raise ValueError(f"pressures: must be {count}, one for each point, not {demanded.size}")
    return np.ascontiguousarray((demanded.imag - 1j * demanded.real) / unit)


def _direction(steer: Any, plane_wave: Any) -> Any:
    direction = (c_double * 3)()
    if plane_wave is not None:
        direction[:] = _checks.vector(plane_wave, "plane_wave").tolist()
        return direction
    angles = np.atleast_1d(_checks.reals(steer, "steer", "one or two angles in degrees"))
    if angles.shape not in ((1,), (2,)):
        raise ValueError("steer: must be one or two angles in degrees: azimuth and elevation")
    azimuth, elevation = (*angles.tolist(), 0.0)[:2]
    _library.functions.direction(azimuth * np.pi / 180, elevation * np.pi / 180, direction)
    return direction


def _window(given: Any) -> tuple[str, float]:
    if isinstance(given, str):
        if given in _TUNABLE:
            raise ValueError(f"apodization: {given} takes a number: ('{given}', 0.5)")
        return _checks.word(given, "apodization", (*_PLAIN, *_TUNABLE)), 0.0
    if not isinstance(given, (tuple, list)) or len(given) != 2:
        raise TypeError(
            "apodization: must be one of " + ", ".join(_PLAIN) + "; or "
            "(" + " or ".join(_TUNABLE) + ", a number)"
        )
    name, parameter = given
    if name in _PLAIN:
        raise ValueError(f"apodization: {name} takes no number")
    return _checks.word(name, "apodization", (*_PLAIN, *_TUNABLE)), _checks.real(
        parameter, "apodization"
    )


def _round(
    weights: _Weights,
    frequency: float,
    quantized: Any,
    phase_bits: Any,
    amplitude_levels: Any,
) -> None:
    where, count = _library.address(weights), len(weights)
    if quantized is not None:
        step = _checks.real(quantized, "quantized")
        _library.call(
            _library.functions.weights_round_delays, where, count, frequency, step, names=_NAMES
        )
    if phase_bits is not None:
        bits = max(0, min(_checks.whole(phase_bits, "phase_bits"), 2**31 - 1))
        _library.call(_library.functions.weights_round_phases, where, count, bits, names=_NAMES)
    if amplitude_levels is not None:
        levels = _checks.whole(amplitude_levels, "amplitude_levels")
        _library.call(
            _library.functions.weights_round_amplitudes, where, count, levels, names=_NAMES
        )
