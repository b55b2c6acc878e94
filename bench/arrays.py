#!/usr/bin/python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""The field of an array as one writes it in NumPy: point sources, and each element's far field.

arrays.py FOLDER takes the arrays and exact fields that arrays_bench has left there, and prints the
time of a point and element in nanoseconds and in limits, and the largest error relative to the
largest pressure.
"""
import math
import pathlib
import sys
import time

import numpy as np

K = 2 * np.pi  # lengths are in wavelengths
SOURCES = 6  # in a wavelength
REPETITIONS = 3


def read(file):
    """The limit, the elements, the coordinates of the points, and the exact pressure."""
    numbers = np.fromfile(file)
    limit = numbers[0]
    count, points = numbers[1:3].astype(int)
    elements, rest = np.split(numbers[3:], [7 * count])
    coordinates, pressure = np.split(rest, [3 * points])
    return limit, elements.reshape(count, 7), coordinates.reshape(3, points), pressure.view(complex)


def of_sources(elements, x, y, z):
    p = np.zeros(x.shape, complex)
    for width, height, cx, cy, cz, re, im in elements:
        across = math.ceil(SOURCES * width)
        along = math.ceil(SOURCES * height)
        area = width * height / (across * along)
        for i in range(across):
            for j in range(along):
                sx = cx + ((i + 0.5) / across - 0.5) * width
                sy = cy + ((j + 0.5) / along - 0.5) * height
                r = np.sqrt((x - sx) ** 2 + (y - sy) ** 2 + (z - cz) ** 2)
                p += complex(re, im) * area * np.exp(-1j * K * r) / r
    return K / (2 * np.pi) * p


def of_far_fields(elements, x, y, z):
    p = np.zeros(x.shape, complex)
    for width, height, cx, cy, cz, re, im in elements:
        dx, dy, dz = x - cx, y - cy, z - cz
        r = np.sqrt(dx**2 + dy**2 + dz**2)
        # sinc(t) is sin(pi t) / (pi t), and k w / 2 is pi w.
        directivity = np.sinc(width * dx / r) * np.sinc(height * dy / r)
        p += complex(re, im) * width * height * directivity * np.exp(-1j * K * r) / r
    return K / (2 * np.pi) * p


def least_time(work):
    """Of some repetitions the least seconds of this thread, and what the work answers with."""
    times = []
    for _ in range(REPETITIONS):
        start = time.thread_time()
        answer = work()
        times.append(time.thread_time() - start)
    return min(times), answer


def main():
    ways = {f"NumPy, {SOURCES} sources a wavelength": of_sources, "NumPy, far field": of_far_fields}
    print("\nNumPy in double precision, some of these points")
    for file in sorted(pathlib.Path(sys.argv[1]).iterdir()):
        limit, elements, (x, y, z), exact = read(file)
        for name, way in ways.items():
            seconds, p = least_time(lambda: way(elements, x, y, z))
            ns = 1e9 * seconds / (len(elements) * len(x))
            error = np.abs(p - exact).max() / np.abs(exact).max()
            what = file.name.split(" ", 1)[1]
            print(f"{what:38} {name:33} {ns:8.1f} {ns / limit:7.0f}  {error:7.1e}", flush=True)


if __name__ == "__main__":
    main()
