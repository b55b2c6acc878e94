// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>

#include "ModeField.h"
#include "support/RandomPoints.h"

/// A piston and a small grid of points about it.
struct Case {
    /// With the divisor as the transform's last element, for the modes that divide by it.
    FieldCall divided;
    /// The same points for the modes that do not.
    FieldCall undivided;
    bool thin;
};

/// Draws cases that meet every branch of the evaluation: pistons of 10^-3 to 200 wavelengths and
/// some thinner than 1e-7, points up to 10^4 wavelengths away on both sides, over the edges and the
/// axes, lattices that are rotated, scaled and sheared.
class RandomCases {
  public:
    Case draw();

  private:
    struct Vector3 {
        double x, y, z;
    };

    double halfSide(std::size_t kind, double wavelength);
    double thinHalf();
    std::array<double, 16> drawTransform(const Vector3& from, const std::array<Vector3, 3>& to,
                                         const std::array<int, 3>& sizes);
    int drawOrder(bool thin);
    double drawDivisor();

    Random random{20261121};
};
