// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>

/// A rectangular piston in the plane z = 0, centred on the origin: l along y, s along x.
struct PistonSides {
    double l;
    double s;
};

/// The pressure at (x, y, z) straight from its definition, (k/2pi) * integral over the piston of
/// exp(-j*k*R)/R dS, by a composite two-dimensional Gauss rule. Exact to about 1e-12 for points at
/// least half a length unit above the piston and k up to 10.
std::complex<double> surfaceIntegral(PistonSides piston, double k, double x, double y, double z);
