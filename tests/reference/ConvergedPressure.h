// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "reference/Quad.h"
#include "reference/SurfaceIntegral.h"

namespace reference {

/// A pressure, and how far from it the value may be: what the last finer rule has changed, and what
/// the roundings of 113 bits add up to.
struct ConvergedPressure {
    QuadComplex value;
    double error;
};

/// The pressure p = (k/2pi) * integral over the piston of exp(-j*k*R)/R dS at any point with
/// z >= 0: in the piston's plane, on its face, its edges and corners too. As an integral along the
/// edges, each with the rule that it needs.
///
/// With w = R - z = D/(R + z) an edge at the offset e contributes
/// j/(2pi) * exp(-j*k*z) * e * integral of (exp(-j*k*w) - 1)/D dt, D = e^2 + t^2. With
/// h = sqrt(e^2 + z^2) and t = h*(y - 1/y)/2, R = h*(y + 1/y)/2 its integrand is R/(y*D) times
/// exp(-j*k*w) - 1, analytic but for 0 and points of the unit circle's left half, y being 1 or
/// more: a few panels of growing length do for points at any distance from an edge. No two nearly
/// equal numbers are subtracted; far away the edges' sum alone cancels.
/// @throws std::runtime_error where `error` is not below 1e-18 of k*A/(2*pi*R), A being the face's
///     area and R the distance of its furthest corner; up to 10^8 wavelengths away it is, for sides
///     of 0.01 to 200 wavelengths up to a thousand times as long as the other
ConvergedPressure convergedPressure(const Rectangle& piston, const Point& point, double k);

}  // namespace reference
