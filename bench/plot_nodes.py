#!/usr/bin/python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Draws the nodes a point over a plane, as bench/nodes.cpp prints them.

plot_nodes.py TABLE PICTURE
"""
import sys

import matplotlib
import numpy

matplotlib.use("Agg")
import matplotlib.pyplot as plt
from matplotlib.colors import LogNorm

PISTON = 7.5  # wavelengths along x


def edges(centres):
    """The borders of equally spaced cells."""
    half = (centres[1] - centres[0]) / 2
    return numpy.append(centres - half, centres[-1] + half)


def main():
    source, picture = sys.argv[1:]
    table = numpy.genfromtxt(source, delimiter=",", names=True)
    z, x = numpy.unique(table["z"]), numpy.unique(table["x"])
    nodes = table["nodes"].reshape(len(z), len(x))
    figure, axes = plt.subplots(figsize=(9, 4.2), dpi=110)
    mesh = axes.pcolormesh(edges(z), edges(x), nodes.T, norm=LogNorm(20, 120), cmap="viridis")
    axes.plot([0, 0], [-PISTON / 2, PISTON / 2], color="red", linewidth=4, clip_on=False)
    axes.set_xlim(0, z[-1])
    axes.set_xlabel("z (wavelengths)")
    axes.set_ylabel("x (wavelengths)")
    ticks = [20, 30, 40, 60, 80, 120]
    bar = figure.colorbar(mesh, ax=axes, label="nodes a point", ticks=ticks, format="%d",
                          extend="max")
    bar.minorticks_off()
    figure.tight_layout()
    figure.savefig(picture)


if __name__ == "__main__":
    main()
