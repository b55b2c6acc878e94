// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>

namespace reference {

/// A rectangular piston in the plane z = 0, centred on the origin.
struct Rectangle {
    double sideX;
    double sideY;
};

struct Point {
    double x, y, z;
};

/// The pressure p = (k/2pi) * integral over the piston of exp(-j*k*R)/R dS, in long double, with
/// Gauss panels in both directions whose number grows until the value changes by less than 1e-14.
/// For points off the piston's plane.
/// @throws std::runtime_error where it does not settle
std::complex<long double> surfacePressure(const Rectangle& piston, const Point& point, double k);

}  // namespace reference
