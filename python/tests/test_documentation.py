# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
import doctest
import importlib
import inspect
import pkgutil
import re

import matplotlib
import numpy as np
import pytest

import pistonfield as pf

MODULES = sorted(module.name for module in pkgutil.iter_modules(pf.__path__))


@pytest.mark.parametrize("name", MODULES)
def test_examples_of_docstrings_hold(name):
    module = importlib.import_module(f"pistonfield.{name}")
    assert doctest.testmod(module).failed == 0


def test_the_example_of_the_package_holds():
    tried = doctest.testmod(pf)
    assert tried.attempted > 3
    assert tried.failed == 0


def public():
    for name in pf.__all__:
        thing = getattr(pf, name)
        if inspect.isclass(thing):
            yield name, thing
            for member in vars(thing).values():
                function = member.__func__ if isinstance(member, classmethod) else member
                if inspect.isfunction(function) and not function.__name__.startswith("_"):
                    yield f"{name}.{function.__name__}", function
        elif inspect.isfunction(thing):
            yield name, thing


@pytest.mark.parametrize(("name", "thing"), list(public()))
def test_docstrings_tell_of_every_parameter(name, thing):
    parameters = [p for p in inspect.signature(thing).parameters if p not in ("self", "cls")]
    text = inspect.getdoc(thing)
    told = set(re.findall(r"\w+", " ".join(re.findall(r"^(\w[\w, ]*)(?: :|$)", text, re.M))))
    made_elsewhere = {"Accuracy", "Beam", "Cost", "Field"}
    assert name in made_elsewhere or set(parameters) <= told, set(parameters) - told


FINE = np.linspace(-30e-6, 30e-6, 60001)


def burst(t):
    """The velocity of the pulse on the page for Python."""
    driven = (t > 0) & (t < 2e-6)
    return np.where(driven, np.sin(2e6 * np.pi * t) * np.sin(np.pi * t / 2e-6) ** 2, 0)


def test_the_page_for_python_runs(sources, tmp_path, monkeypatch):
    matplotlib.use("Agg")
    monkeypatch.chdir(tmp_path)
    page = (sources / "docs" / "python.md").read_text()
    blocks = re.findall(r"^```python\n(.*?)^```", page, re.M | re.S)
    assert len(blocks) >= 4
    names = {}
    for block in blocks:
        exec(compile(block, "docs/python.md", "exec"), names)
    assert (tmp_path / "focus.png").exists()
    # On the axis a disc's pulse is that of its face less that of its rim.
    t = names["t"]
    arrivals = [np.hypot(15e-3, rim) / pf.WATER.speed for rim in (0, 3e-3)]
    face, rim = (np.interp(t - arrival, FINE, burst(FINE)) for arrival in arrivals)
    wanted = pf.WATER.density * pf.WATER.speed * (face - rim)
    assert abs(names["pulse"] - wanted).max() < 0.01 * abs(wanted).max()


def test_the_readme_runs(sources, tmp_path, monkeypatch):
    matplotlib.use("Agg")
    monkeypatch.chdir(tmp_path)
    readme = (sources / "README.md").read_text()
    (block,) = re.findall(r"^In Python, after .*:\n\n((?:    .*\n)+)", readme, re.M)
    names = {}
    exec("\n".join(line[4:] for line in block.splitlines()), names)
    assert names["p"].shape == (101, 1, 240)
