// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace lanes {

/// An angle as a rest within pi/4 and a quadrant of 0 to 3: angle = rest + quadrant * pi/2, up to
/// whole turns.
struct ReducedAngle {
    double rest;
    int quadrant;
};

/// Reduces any angle, with the help of the standard library and in long double, so that the rest is
/// rounded to double once. Infinities and NaN have the rest NaN.
ReducedAngle slowReduction(double angle) noexcept;

}  // namespace lanes
