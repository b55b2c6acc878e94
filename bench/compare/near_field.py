#!/usr/bin/python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The field of a rectangular piston by the fast near-field method, as one writes it in NumPy.

near_field.py INPUT OUTPUT ORDER REPETITIONS reads the comparison's field from INPUT, writes its
pressure to OUTPUT and prints the seconds of the fastest repetition.
"""
import sys
import time

import numpy as np


def integral(e, start, end, z, k, E, nodes, weights):
    half = (end - start) / 2
    middle = (end + start) / 2
    e2 = e**2
    total = np.zeros(e.shape, complex)
    for node, weight in zip(nodes, weights):
        d = (middle + half * node) ** 2 + e2
        total += weight * half * (np.exp(-1j * k * np.sqrt(z**2 + d)) - E) / d
    return total


def edge(e, start, end, z, k, E, nodes, weights):
    """The offset times the integral along the edge, in two pieces where the foot 0 lies inside."""
    total = np.empty(e.shape, complex)
    inside = (start > 0) != (end > 0)
    whole = ~inside
    total[whole] = integral(e[whole], start[whole], end[whole], z, k, E, nodes, weights)
    total[inside] = integral(e[inside], start[inside], 0, z, k, E, nodes, weights)
    total[inside] += integral(e[inside], 0, end[inside], z, k, E, nodes, weights)
    return e * total


def near_field(x, y, z, l, s, k, nodes, weights):
    """p[iz, iy, ix] at the coordinates; l, s: the sides along y and x; k: the wavenumber."""
    Y, X = np.meshgrid(y, x, indexing="ij")
    p = np.empty((len(z), len(y), len(x)), complex)
    for iz, height in enumerate(z):
        rest = (height, k, np.exp(-1j * k * height), nodes, weights)
        total = edge(X - s / 2, Y - l / 2, Y + l / 2, *rest)
        total -= edge(X + s / 2, Y - l / 2, Y + l / 2, *rest)
        total += edge(Y - l / 2, X - s / 2, X + s / 2, *rest)
        total -= edge(Y + l / 2, X - s / 2, X + s / 2, *rest)
        p[iz] = -1j / (2 * np.pi) * total
    return p


def main():
    source, target, order, repetitions = sys.argv[1:]
    values = np.fromfile(source)
    sizes = values[:3].astype(int)
    l, s, k = values[3:6]
    x, y, z = np.split(values[6:], np.cumsum(sizes)[:2])
    nodes, weights = np.polynomial.legendre.leggauss(int(order))
    times = []
    for _ in range(int(repetitions)):
        start = time.perf_counter()
        p = near_field(x, y, z, l, s, k, nodes, weights)
        times.append(time.perf_counter() - start)
    p.tofile(target)
    print(min(times))


if __name__ == "__main__":
    main()
