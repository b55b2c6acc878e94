# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""What fields can be asked for by name, in one place for all functions that take it."""

from __future__ import annotations

import functools
import inspect
from collections.abc import Callable
from dataclasses import dataclass
from typing import TYPE_CHECKING, Any, TypedDict, TypeVar, cast

import numpy.typing as npt

from . import _checks, _devices, _library, _medium
from ._documents import documented
from ._medium import WATER, Medium

if TYPE_CHECKING:
    from typing_extensions import Unpack as Unpack

_Callable = TypeVar("_Callable", bound=Callable[..., Any])

Progress = Callable[[int, int], object]


class FieldOptions(TypedDict, total=False):
    """The options of a field, which `OPTIONS` describes."""

    medium: Medium
    baffle: str
    velocity: float | None
    power: float | None
    weights: npt.ArrayLike | None
    tolerance: float
    relative: str
    precision: str
    device: str
    threads: int | None
    behind: bool


_DEFAULTS: dict[str, Any] = {
    "medium": WATER,
    "baffle": "rigid",
    "velocity": None,
    "power": None,
    "weights": None,
    "tolerance": 1e-4,
    "relative": "largest",
    "precision": "double",
    "device": "cpu",
    "threads": None,
    "behind": False,
}

_HINTS = {
    name: f"; it goes in medium=pf.Medium({name}=...)"
    for name in ("speed", "density", "attenuation", "exponent", "nepers", "dispersion_frequency")
}

SOURCE = """source : Piston, Disc, Ring, Sector, Polygon or Array
    What radiates.
grid : Grid or array_like
    Where: a grid, or any points as an (N, 3) array, a row of x, y and z in m for each.
frequency : float
    In Hz."""

OPTIONS = """medium : Medium, optional
    The fluid; water by default.
baffle : {"rigid", "soft", "free"}, optional
    The plane about the piston, or about each element: it moves nowhere; or it has no pressure, and
    the face has one of rho c u0; or it is not there, and the field is half the sum of both.
velocity : float, optional
    The amplitude u0 of the piston's normal velocity in m/s, 1 by default. That of an element is its
    weight times u0.
power : float, optional
    In place of the velocity: the radiated power, a period's mean, in W, as `power` finds it: that
    of an array, with its weights, may take seconds.
weights : array_like, optional
    Of an array: the elements' complex amplitudes in units of the velocity, (N,); or (M, N) for M
    weightings with a field each, for little more time than one. By default the array's own, which
    are 1 unless it was made with others. `focus` makes them.
tolerance : float, optional
    The largest error of a value, above 0 and below 1.
relative : {"largest", "local"}, optional
    What it is relative to: the largest magnitude at all points, of each weighting; or at each point
    what the magnitude is on the axis at that distance from the piston's centre, of an array the sum
    over its elements.
precision : {"double", "single"}, optional
    Of the arithmetic. Single keeps tolerances down to about 1e-5 and refuses others. All but the
    pressure of rectangles without losses in a rigid baffle is computed in double all the same; with
    "single" it is rounded to single, and tolerances below 2.4e-7 are refused.
device : {"cpu", "gpu"}, optional
    What computes: the processor, or in the variant of the package for NVIDIA GPUs one of these,
    which has the pressure of rectangles without losses in a rigid baffle.
threads : int, optional
    The most threads. By default as the environment variable PISTONFIELD_THREADS says, else one for
    each core that the process may use. Values do not depend on it.
behind : bool, optional
    Whether points behind a piston are asked for, where the integral is that of the mirrored point.
    By default they are refused."""

OUT = """out : array, optional
    Where the values go, see `Plan.compute`.
stream : int, optional
    Of an `out` in the memory of a GPU, see `Plan.compute`.
progress : callable, optional
    Is told how many points are done, and of how many, see `Plan.compute`."""


def with_options(function: _Callable) -> _Callable:
    """Give a function that takes the options of a field their names, defaults and description.

    Its docstring says where, by {source} and {options}, and {out} where it takes that.
    """
    parts = {"source": SOURCE, "options": OPTIONS, "out": OUT}
    text = function.__doc__ or ""
    function = documented(**{name: part for name, part in parts.items() if f"{{{name}}}" in text})(
        function
    )
    given = inspect.signature(function)
    annotations = FieldOptions.__annotations__
    options = [
        inspect.Parameter(
            name,
            inspect.Parameter.KEYWORD_ONLY,
            default=default,
            annotation=getattr(annotations[name], "__forward_arg__", annotations[name]),
        )
        for name, default in _DEFAULTS.items()
    ]
    own = [p for p in given.parameters.values() if p.kind is not inspect.Parameter.VAR_KEYWORD]
    first = [p for p in own if p.kind is not inspect.Parameter.KEYWORD_ONLY]
    last = [p for p in own if p.kind is inspect.Parameter.KEYWORD_ONLY]
    known = {p.name for p in (*own, *options)}
    name = function.__qualname__.removesuffix(".__init__")

    @functools.wraps(function)
    def called(*arguments: Any, **named: Any) -> Any:
        for one in named:
            if one not in known:
                raise TypeError(f"{one}: {name} has no such argument{_HINTS.get(one, '')}")
        return function(*arguments, **named)

    called.__signature__ = given.replace(  # type: ignore[attr-defined]
        parameters=[*first, *options, *last]
    )
    return cast(_Callable, called)


@dataclass(frozen=True)
class Settings:
    """The options of a field, checked."""

    medium: Medium
    baffle: int
    velocity: float | None
    """None where a power was given."""
    power: float | None
    weights: Any
    tolerance: float
    relative: int
    mode: int
    threads: int
    behind: bool


def baffle_number(given: Any) -> int:
    """Give the library's number of a baffle."""
    return _library.BAFFLES[_checks.word(given, "baffle", _library.BAFFLES)]


def settings(options: FieldOptions) -> Settings:
    """Check the options of a field, of which those that are not given have their defaults."""
    given = {**_DEFAULTS, **options}
    velocity, power = drive(given["velocity"], given["power"])
    relative = _checks.word(given["relative"], "relative", _library.RELATIVE)
    precision = _checks.word(given["precision"], "precision", _library.PRECISIONS)
    device = _checks.word(given["device"], "device", _library.DEVICES)
    if device == "gpu":
        _devices.require_variant("device", "computes on a GPU")
    return Settings(
        medium=_medium.checked(given["medium"]),
        baffle=baffle_number(given["baffle"]),
        velocity=velocity,
        power=power,
        weights=given["weights"],
        tolerance=_checks.positive(given["tolerance"], "tolerance", "a number"),
        relative=_library.RELATIVE[relative],
        mode=_library.MODES[device, precision],
        threads=thread_count(given["threads"]),
        behind=_checks.flag(given["behind"], "behind"),
    )


def drive(velocity: Any, power: Any) -> tuple[float | None, float | None]:
    """Read a velocity or a power, 1 m/s where there is none of them."""
    if power is None:
        if velocity is None:
            return 1.0, None
        return _checks.positive(velocity, "velocity", "a velocity in m/s"), None
    if velocity is not None:
        raise ValueError("power: give the velocity or the power, not both")
    return None, _checks.positive(power, "power", "a power in W")


def thread_count(given: Any) -> int:
    """Read a number of threads; 0 is the library's own choice."""
    if given is None:
        return 0
    threads = _checks.whole(given, "threads")
    if not 1 <= threads <= _library.MOST_THREADS:
        raise ValueError(
            f"threads: must be a whole number from 1 to {_library.MOST_THREADS}, not {threads}"
        )
    return threads
