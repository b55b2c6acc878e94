#!/usr/bin/env python3
# SPDX-FileCopyrightText: the pistonfield developers
# SPDX-License-Identifier: BSD-3-Clause
"""Computes the polynomials of lanes/sinCos.h and lanes/sinCosUpToSign.h by Remez exchange (needs
python3-mpmath).

With z = r*r on |r| <= pi/4, and pi/2:  sin(r) = r + r*z*P(z),  cos(r) = 1 - z/2 + z*z*Q(z).
Prints the coefficients from the lowest up, rounded to the type, and the largest error of the
rounded polynomial: relative to sin(r), and to cos(r) up to pi/4; that of cos(r) up to pi/2 itself.
"""
from mpmath import mp, mpf, pi, sin, cos, sqrt, matrix, lu_solve, linspace
import struct

mp.dps = 60


def p_target(z):
    r = sqrt(z)
    return (sin(r) / r - 1) / z


def q_target(z):
    return (cos(sqrt(z)) - 1 + z / 2) / (z * z)


def p_weight(z):
    r = sqrt(z)
    return r * z / sin(r)


def q_weight(z):
    return z * z / cos(sqrt(z))


def q_weight_absolute(z):
    return z * z


def remez(target, weight, degree, end):
    last = end**2 * mpf("1.0001")
    n = degree + 2
    lowest = mpf("1e-6")
    points = [lowest + (last - lowest) * (1 - cos(pi * (mpf(i) + mpf("0.5")) / n)) / 2 for i in range(n)]
    for _ in range(12):
        a = matrix(n, n)
        b = matrix(n, 1)
        for i, z in enumerate(points):
            for j in range(degree + 1):
                a[i, j] = z**j
            a[i, degree + 1] = (-1) ** i / weight(z)
            b[i] = target(z)
        solution = lu_solve(a, b)
        c = [solution[j] for j in range(degree + 1)]
        error = lambda z: weight(z) * (sum(cj * z**j for j, cj in enumerate(c)) - target(z))
        mesh = linspace(lowest, last, 400)
        values = [error(z) for z in mesh]
        extrema, start = [], 0
        for i in range(1, len(mesh) + 1):
            if i == len(mesh) or (values[i] > 0) != (values[start] > 0):
                best = max(range(start, i), key=lambda m: abs(values[m]))
                extrema.append(mesh[best])
                start = i
        if len(extrema) < n:
            break
        points = extrema[:n]
    return c


def rounded(value, double):
    return mpf(float(value)) if double else mpf(struct.unpack("f", struct.pack("f", float(value)))[0])


for double, end, p_degree, q_degree in (
        (False, pi / 4, 2, 2), (True, pi / 4, 5, 5), (False, pi / 2, 3, 3), (True, pi / 2, 7, 7)):
    print("double" if double else "float", "up to pi /", int(pi / end))
    cosine_weight = q_weight if end < 1 else q_weight_absolute
    for name, target, weight, degree in (
            ("P", p_target, p_weight, p_degree), ("Q", q_target, cosine_weight, q_degree)):
        c = [rounded(cj, double) for cj in remez(target, weight, degree, end)]
        worst = max(abs(weight(z) * (sum(cj * z**j for j, cj in enumerate(c)) - target(z)))
                    for z in linspace(mpf("1e-6"), end**2, 1000))
        print(" ", name, [float(cj).hex() for cj in c], "2^%.1f" % mp.log(worst, 2))

print("pi/2 in doubles:", end=" ")
rest = pi / 2
for _ in range(3):
    part = mpf(float(rest))
    print(float(part).hex(), end=" ")
    rest -= part
print("\npi/2 in floats:", end=" ")
rest = pi / 2
for _ in range(3):
    part = rounded(rest, False)
    print(float(part).hex(), end=" ")
    rest -= part
print("\npi/2 in doubles of 33 bits:", end=" ")
rest = pi / 2
for _ in range(3):
    exponent = mp.floor(mp.log(abs(rest), 2))
    unit = mpf(2) ** (exponent - 32)
    part = mp.nint(rest / unit) * unit
    print(float(part).hex(), end=" ")
    rest -= part
print()
