# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What a beam is like."""

from __future__ import annotations

import ctypes
import logging
from collections.abc import Callable, Iterator, Mapping
from typing import Any

import numpy as np
import numpy.typing as npt

from . import _checks, _library, _medium
from ._array import Array
from ._flat import Flat
from ._grid import Grid, checked
from ._jobs import Job
from ._medium import WATER, Medium
from ._options import FieldOptions, Settings, settings
from ._piston import Piston
from ._power import velocity_of
from ._request import NAMES, Place, Source, new_request, refuse

_log = logging.getLogger("pistonfield")

_POINTS = 6
"""In a wavelength, that figures of a computed pressure rest on."""

_NAMES = {
    **NAMES,
    "sizes": "grid",
    "transform": "grid",
    "values": "p",
}


class Beam(Mapping[str, Any]):
    """The figures of a beam, which `beam` measures.

    They are its attributes and those of its groups, such as ``b.widths`` and ``b.peak.pressure``;
    and the beam is a mapping of them. Its text, as of ``print(b)``, is a table for people. What is
    not known is not a number, such as a width that ends beyond the region.

    Attributes
    ----------
    peak : group
        Of the largest magnitude: `pressure` in Pa, `place` and `depth`, its distance from the face,
        in m, `on_edge`, whether it lies on the region's edge, so that there may be more beyond, and
        `uncertainty` of the pressure, relative to it.
    directions : ndarray
        (3, 3): rows of the first and the second lateral direction and the axis.
    levels : ndarray
        In dB relative to the peak: -3, -6 and -20.
    widths, before, behind : ndarray
        (3, 3) in m: for each direction, a row, and level, a column, from where the magnitude first
        falls to it before the peak to where it first does behind; and both parts.
    depth_of_field : ndarray
        The widths along the axis at -3 and -6 dB, in m.
    lobes : group
        Local maxima on arcs about the source's centre through the peak in the planes of the axis
        and a lateral direction, of a computed field on lines: `plane`, 1 or 2, `level` in dB,
        `angle` in degrees, `place` in m, `grating`, whether the pitch has a grating lobe there.
    focal_gain : float
        The peak's pressure over rho c u0 times the mean magnitude of weights.
    intensity : group
        At the peak, as of a plane wave: `sppa`, a pulse's mean, and `spta`, that times the duty, in
        W/m².
    derated : group
        Of the largest derated magnitude: `rate`, `pressure`, `place`, `depth`, `on_edge`, `sppa`,
        `spta`.
    mechanical_index : float
        The derated pressure in MPa over the square root of the frequency in MHz.
    hydrophone : group
        Where one was given: `pressure` in Pa that it tells at the peak, `error` of it in Pa,
        `level` in dB relative to the peak, and `widths` in m.
    power : float
        The radiated power in W, unless it was not asked for.
    """

    def __init__(self, figures: Mapping[str, Any], text: str) -> None:
        self._figures: dict[str, Any] = {}
        for path, value in figures.items():
            group, dot, name = path.partition(".")
            if dot:
                self._figures.setdefault(group, _Group()).take(name, value)
            else:
                self._figures[path] = value
        self._text = text

    def __getattr__(self, name: str) -> Any:
        # Before they are there, as while it is copied.
        figures = self.__dict__.get("_figures", {})
        if name not in figures:
            raise AttributeError(f"a beam has no {name}; there are: {', '.join(figures)}")
        return figures[name]

    def __getitem__(self, name: str) -> Any:
        return self._figures[name]

    def __iter__(self) -> Iterator[str]:
        return iter(self._figures)

    def __len__(self) -> int:
        return len(self._figures)

    def __str__(self) -> str:
        return self._text

    def __repr__(self) -> str:
        return f"<Beam with a peak of {self.peak.pressure:.4g} Pa>"


class _Group(dict[str, Any]):
    """Figures that belong together."""

    def take(self, name: str, value: Any) -> None:
        self[name] = value

    def __getattr__(self, name: str) -> Any:
        if name not in self:
            raise AttributeError(f"there is no {name}, but: {', '.join(self)}")
        return self[name]


def beam(
    source: Flat | Array | npt.ArrayLike,
    grid: Grid,
    frequency: float,
    *,
    medium: Medium = WATER,
    velocity: float | None = None,
    power: float | None = None,
    weights: npt.ArrayLike | None = None,
    baffle: str = "rigid",
    tolerance: float = 1e-4,
    threads: int | None = None,
    axis: npt.ArrayLike | None = None,
    duty: float = 1.0,
    derating: float = 0.3,
    hydrophone: npt.ArrayLike | None = None,
    total_power: bool = True,
    progress: Callable[[int], object] | None = None,
) -> Beam:
    """Measure a beam: its peak, widths, lobes, intensities and mechanical index.

    The largest magnitude is looked for within the region that a grid spans. The field of a source
    is computed wherever it is looked at, to 1e-8 of the largest magnitude there; of a field that
    has been computed the values between the grid's points are interpolated, by polynomials through
    6 points along each direction.

    Parameters
    ----------
    source : Piston, Disc, Ring, Sector, Polygon, Array or array_like
        What radiates; or a pressure in Pa on the grid, with 6 points or more in a wavelength along
        each direction. Of fewer the figures may be wrong, by more than `uncertainty` says, and the
        logger "pistonfield" is told.
    grid : Grid
        The region is what lies between its outermost points, in one, two or three directions. With
        more than a quarter of a wavelength between its points the search has more of them.
    frequency : float
        In Hz.
    medium : Medium, optional
        The fluid; water by default. Derating comes on top of its losses.
    velocity : float, optional
        The amplitude u0 of the piston's normal velocity in m/s, 1 by default.
    power : float, optional
        In place of the velocity: the radiated power in W.
    weights : array_like, optional
        Of an array: the elements' complex amplitudes, (N,). By default the array's own.
    baffle : {"rigid", "soft", "free"}, optional
        What surrounds the piston in its plane.
    tolerance : float, optional
        Of the search.
    threads : int, optional
        The most threads.
    axis : array_like, optional
        The direction that the beam goes in, three numbers. By default from the source's centre to
        the peak, or the normal where that is as good; of a pressure the grid's third direction.
    duty : float, optional
        The part of the time in which the source is driven, above 0 and at most 1.
    derating : float, optional
        In dB/(cm MHz), by which pressures are derated over the distance from the nearest face, or
        of a pressure from the plane z = 0. By default that of IEC 62359.
    hydrophone : float or (float, float), optional
        The active face of a hydrophone that looks along the axis: the diameter of a disc or the
        sides of a rectangle along both lateral directions, in m.
    total_power : bool, optional
        Whether the radiated power is found, which takes seconds for hundreds of elements. It is
        left out where `power` refuses it.
    progress : callable, optional
        Is told now and then how many points have been looked at. What it raises ends the search.

    Returns
    -------
    Beam
        The figures, and a table of them.

    Examples
    --------
    >>> import numpy as np
    >>> import pistonfield as pf
    >>> piston = pf.Piston(width=15e-3, height=10e-3)
    >>> side = np.linspace(-12e-3, 12e-3, 13)
    >>> b = pf.beam(piston, pf.Grid(x=side, y=side, z=np.linspace(35e-3, 0.15, 24)), 1e6)
    >>> print(f"{b.peak.pressure / 1e6:.2f} MPa, {1e3 * b.widths[0, 1]:.1f} mm at -6 dB")
    2.29 MPa, 12.7 mm at -6 dB
    """
    fluid = _medium.checked(medium)
    region = checked(grid)
    asked = _Asked(fluid, frequency, duty, derating, axis, hydrophone)
    if progress is not None and not callable(progress):
        raise TypeError(f"progress: must be callable, not {type(progress).__name__}")
    if not isinstance(source, (Flat, Array)):
        others = {"velocity": velocity, "power": power, "weights": weights}
        for name, value in others.items():
            if value is not None:
                raise TypeError(f"{name}: goes with what radiates, not with a pressure")
        return asked.of_pressure(source, region)
    options: FieldOptions = {
        "medium": fluid,
        "velocity": velocity,
        "power": power,
        "weights": weights,
        "baffle": baffle,
        "tolerance": tolerance,
        "threads": threads,
    }
    asked.options.without_power = not _checks.flag(total_power, "total_power")
    return asked.of_source(source, region, settings(options), progress)


class _Asked:
    """How a beam is measured."""

    def __init__(
        self,
        medium: Medium,
        frequency: float,
        duty: Any,
        derating: Any,
        axis: Any,
        hydrophone: Any,
    ) -> None:
        self.options = _library.BeamOptions()
        _library.call(
            _library.functions.beam_options_init, self.options, ctypes.sizeof(self.options)
        )
        self._medium = medium
        self._request = new_request(medium, frequency)
        self.options.frequency = frequency
        self.options.speed = medium.phase_speed(frequency)
        self.options.density = medium.density
        self.options.duty = _checks.real(duty, "duty")
        self.options.derating = _checks.real(derating, "derating")
        self._frequency = frequency
        if axis is not None:
            self._axis = _checks.vector(axis, "axis")
            self.options.axis = _library.address(self._axis)
        if hydrophone is not None:
            size = _checks.reals(hydrophone, "hydrophone", "one length or two in m").reshape(-1)
            if size.size not in (1, 2):
                raise ValueError("hydrophone: must be the diameter of a disc or two sides, in m")
            self._size = size
            self.options.hydrophone = _library.address(size)
            self.options.hydrophone_sides = size.size

    def of_source(
        self,
        source: Flat | Array,
        region: Grid,
        given: Settings,
        progress: Callable[[int], object] | None,
    ) -> Beam:
        elements = Source(source, given.weights)
        if elements.weightings != 1:
            raise ValueError("weights: a beam is that of one weighting")
        place = Place(region)
        self.options.velocity = velocity_of(given, self._frequency, elements)
        request = self._request
        request.tolerance = given.tolerance
        request.baffle = given.baffle
        if isinstance(source, Flat):
            place.see_from(source, behind=False, keep=True)
            request.behind = True
        # Of a piston in the frame of the points neighbours share their work.
        if isinstance(source, Piston) and not source.is_turned and not source.center.any():
            request.width, request.height = source.sides
        else:
            elements.fill(request)
        place.fill(request)

        def measure(job: Job[Beam]) -> Beam:
            def told(points: int, _user: Any) -> int:
                job.done = points
                return job.stop

            conduct = _library.conduct(given.threads, told)
            return self._taken(_library.functions.beam_of_request, request, self.options, conduct)

        return Job(measure).run(progress)

    def of_pressure(self, given: Any, region: Grid) -> Beam:
        p = _checks.complexes(given, "p", "a pressure at each point of the grid")
        if p.shape != region.shape:
            raise ValueError(f"p: must be of the shape of the grid, {region.shape}, not {p.shape}")
        self._note_coarseness(region)
        # x is fastest in the library.
        values = np.ascontiguousarray(p.T) / (self.options.density * self.options.speed)
        # The library reads them in a thread that may outlive this call.
        self._values = values
        self.options.without_power = True
        sampled = _library.Sampled(
            wavenumber=self._request.wavenumber, values=_library.address(values)
        )
        sampled.transform[:] = Place(region).transform.ravel().tolist()
        sampled.sizes[:] = region.shape

        def measure(_job: Job[Beam]) -> Beam:
            return self._taken(_library.functions.beam_of_samples, sampled, self.options)

        return Job(measure).run()

    def _note_coarseness(self, region: Grid) -> None:
        steps = np.linalg.norm(region.steps, axis=0)[np.array(region.shape) > 1]
        wavelength = self.options.speed / self._frequency
        # Steps of exactly that many points may be rounded.
        if steps.size and wavelength < (_POINTS - 1e-6) * steps.max():
            _log.warning(
                "beam: the grid has %.2g points in a wavelength of %.3g m; with fewer than %d "
                "figures of a pressure may be wrong, by more than the uncertainty says",
                wavelength / steps.max(),
                wavelength,
                _POINTS,
            )

    @staticmethod
    def _taken(make: Any, *given: Any) -> Beam:
        try:
            return Beam(*_library.take_beam(make, *given, names=_NAMES))
        except ValueError as refusal:
            refuse(refusal)
