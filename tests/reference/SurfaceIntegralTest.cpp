// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/SurfaceIntegral.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>

namespace {

/// The integral of 1/R over [0, a] x [0, b], seen from height z over its corner.
double potential(double a, double b, double z) {
    return a * std::asinh(b / std::hypot(a, z)) + b * std::asinh(a / std::hypot(b, z)) -
           z * std::atan(a * b / (z * std::hypot(a, b, z)));
}

TEST(ReferenceSurfaceIntegral, TendsToTheElectrostaticPotentialForLongWaves) {
    constexpr double k = 1e-7;
    constexpr double z = 0.75;
    const auto pressure = reference::surfacePressure({2.0, 3.0}, {0.25, -0.5, z}, k);
    const double quarters = potential(0.75, 1.0, z) + potential(0.75, 2.0, z) +
                            potential(1.25, 1.0, z) + potential(1.25, 2.0, z);
    const double expected = k / (2 * std::numbers::pi) * quarters;
    EXPECT_NEAR(static_cast<double>(pressure.real()) / expected, 1.0, 5e-14);
}

TEST(ReferenceSurfaceIntegral, TendsToAPointSourceFarAway) {
    // The next term of the far field is smaller by about k*side^2/(8z).
    constexpr double k = 2.0;
    constexpr double side = 1e-3;
    constexpr double z = 500.0;
    const auto pressure = reference::surfacePressure({side, side}, {0, 0, z}, k);
    const auto expected =
        std::polar<long double>(k * side * side / (2 * std::numbers::pi * z), -k * z);
    EXPECT_LT(static_cast<double>(std::abs(pressure / expected - 1.0L)), 1e-9);
}

}  // namespace
