// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>

#include "reference/Quad.h"

namespace reference {

/// A rectangular piston in the plane z = 0, centred on the origin.
struct Rectangle {
    double sideX;
    double sideY;
};

struct Point {
    double x, y, z;
};

/// The pressure p = (k/2pi) * integral over the piston of exp(-j*k*R)/R dS, at any point: the face
/// is cut into cells no longer than their distance from the point, and a Gauss rule with enough
/// nodes for 1e-20 of the integral of the integrand's magnitude goes over each in both directions.
/// From a point on the face itself the integral goes over triangles with a corner there, whose
/// element of area takes 1/R away.
QuadComplex surfaceIntegral(const Rectangle& piston, const Point& point, double k);

/// The same in the precision of long double.
std::complex<long double> surfacePressure(const Rectangle& piston, const Point& point, double k);

}  // namespace reference
