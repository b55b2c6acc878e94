// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "reference/NearField.h"

namespace reference {

/// How far the edge sum by the Gauss-Legendre rule of `order` >= 2 points is from the pressure, at
/// most, at a point with z >= 0 and pistons that are not thin.
///
/// A function of magnitude M at most on the ellipse with foci +-1 and semi-axes of sum rho,
/// analytic within, has Chebyshev coefficients of 2*M*rho^-n at most. An N-point rule integrates
/// those below 2N exactly, and odd ones to the right 0; of each of the others it makes an error of
/// 2 + 2/(n^2 - 1) at most. The sum is below 64/15 * M * rho^-2N / (1 - rho^-2).
///
/// The integrand of an edge at the offset e is analytic but for t = +-j*sqrt(z^2 + e^2), where the
/// distance R vanishes: at t = +-j*e its numerator is zero with its denominator. M is twice the
/// largest of 128 samples; rho is the best of 19 that stay within the singularities.
double truncationBound(const Offsets& offsets, double z, double k, int order);

}  // namespace reference
