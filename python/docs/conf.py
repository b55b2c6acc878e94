# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Makes the reference of the package for Python, and a gallery of the examples that it runs."""

import ast
import os
import runpy
from pathlib import Path

import matplotlib

import pistonfield

matplotlib.use("Agg")

project = "pistonfield"
author = "the pistonfield developers"
release = pistonfield.__version__
extensions = ["sphinx.ext.autodoc", "sphinx.ext.autosummary", "numpydoc"]
html_theme = "alabaster"
html_theme_options = {"description": "Pressure fields of piston transducers"}
autosummary_generate = True
numpydoc_show_class_members = False
nitpicky = False

EXAMPLES = Path(__file__).resolve().parent.parent / "examples"
ORDER = [
    "first_field",
    "focused_line",
    "two_foci",
    "bowl",
    "directivity",
    "rounded_delays",
    "disc_intensity",
    "tissue",
    "annular",
    "beam_widths",
]


def section(example: Path, folder: Path) -> str:
    """Run an example, which saves its picture, and give its text, its code and its picture."""
    from matplotlib import pyplot

    source = example.read_text()
    title, _, text = ast.get_docstring(ast.parse(source)).partition("\n")
    code = source.split('"""', 2)[2].strip()
    before = Path.cwd()
    os.chdir(folder)
    try:
        runpy.run_path(str(example))
    finally:
        os.chdir(before)
    pyplot.close("all")
    indented = code.replace("\n", "\n   ").replace("\n   \n", "\n\n")
    title = title.rstrip(".")
    return (
        f"{title}\n{'-' * len(title)}\n\n{text.strip()}\n\n.. code-block:: python\n\n"
        f"   {indented}\n\n.. image:: {example.stem}.png\n\n"
    )


def make_gallery(app) -> None:
    """Write the gallery's page where the other pages are."""
    folder = Path(app.srcdir)
    sections = [section(EXAMPLES / f"{name}.py", folder) for name in ORDER]
    (folder / "gallery.rst").write_text("Gallery\n=======\n\n" + "".join(sections))


def setup(app) -> None:
    """Have the gallery made before all pages are read."""
    app.connect("builder-inited", make_gallery)
