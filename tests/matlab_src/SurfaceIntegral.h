// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>

#include "tests/reference/SurfaceIntegral.h"

/// A rectangular piston as the module's arguments have it: l along y, s along x.
struct PistonSides {
    double l;
    double s;
};

/// The reference pressure at (x, y, z).
inline std::complex<double> surfaceIntegral(PistonSides piston, double k, double x, double y,
                                            double z) {
    return std::complex<double>(reference::surfacePressure({piston.s, piston.l}, {x, y, z}, k));
}
