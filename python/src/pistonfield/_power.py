# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Radiated powers, and velocities for them."""

from __future__ import annotations

import ctypes
import math

import numpy as np
import numpy.typing as npt

from . import _checks, _library, _medium
from ._array import Array
from ._flat import Flat
from ._jobs import Job, stopping
from ._medium import WATER, Medium
from ._options import Settings, baffle_number, thread_count
from ._request import NAMES, Source, new_request


def power(
    source: Flat | Array,
    frequency: float,
    *,
    medium: Medium = WATER,
    velocity: float = 1.0,
    baffle: str = "rigid",
    weights: npt.ArrayLike | None = None,
    threads: int | None = None,
) -> float:
    """Find the power that a piston or an array radiates, a period's mean.

    Of elements in one plane, which are each other's baffle, it is the power that goes through their
    faces; of others what arrives far away, in the half space before them, as it is without a
    baffle. With losses it is what leaves the faces, of which the medium takes up some at every
    distance: of elements in one plane in a rigid baffle; others are refused.

    Parameters
    ----------
    source : Piston, Disc, Ring, Sector, Polygon or Array
        What radiates.
    frequency : float
        In Hz.
    medium : Medium, optional
        The fluid; water by default.
    velocity : float, optional
        The amplitude u0 of the piston's normal velocity in m/s. That of an element is its weight
        times u0.
    baffle : {"rigid", "soft", "free"}, optional
        What surrounds the piston in its plane.
    weights : array_like, optional
        Of an array: the elements' complex amplitudes in units of the velocity, (N,). By default the
        array's own.
    threads : int, optional
        The most threads. The power does not depend on them.

    Returns
    -------
    float
        In W.

    See Also
    --------
    pressure : takes a power in place of a velocity.

    Examples
    --------
    A piston of many wavelengths radiates what a plane wave carries through its face.

    >>> import pistonfield as pf
    >>> print(f"{pf.power(pf.Piston(width=50e-3, height=40e-3), 1e6, velocity=0.1):.1f} W")
    14.8 W
    >>> print(f"{998 * 1482 * 0.1**2 / 2 * 50e-3 * 40e-3:.1f} W")
    14.8 W
    """
    fluid = _medium.checked(medium)
    speed = _checks.positive(velocity, "velocity", "a velocity in m/s")
    elements = Source(source, weights)
    area = _area(elements, fluid, frequency, thread_count(threads), baffle_number(baffle))
    return fluid.density * fluid.phase_speed(frequency) * area * speed * speed


def velocity_of(given: Settings, frequency: float, elements: Source) -> float:
    """Give the velocity with which the power that was asked for is radiated, or that itself."""
    if given.power is None:
        assert given.velocity is not None
        return given.velocity
    area = _area(elements, given.medium, frequency, given.threads, given.baffle)
    return math.sqrt(
        given.power / (given.medium.density * given.medium.phase_speed(frequency) * area)
    )


def _area(elements: Source, medium: Medium, frequency: float, threads: int, baffle: int) -> float:
    """Give the power over rho c u0^2."""
    if elements.weights.ndim == 2 and len(elements.weights) > 1:
        raise ValueError("weights: a power is that of one weighting")
    request = new_request(medium, frequency)
    # Points mean nothing to it.
    request.tolerance = 1e-4
    request.transform[:] = np.eye(4).ravel().tolist()
    request.sizes[:] = (1, 1, 1)
    request.baffle = baffle
    elements.fill(request)
    found = ctypes.c_double()

    def work(job: Job[None]) -> None:
        conduct = stopping(job, threads)
        _library.call(_library.functions.request_power, request, conduct, found, names=NAMES)

    Job(work).run()
    return found.value
