// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/ConvergedPressure.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "support/FieldRegions.h"

namespace {

using reference::convergedPressure;
using reference::Point;
using reference::Rectangle;

constexpr double k = 2 * std::numbers::pi;

/// k*A/(2*pi*R), R being the distance of the furthest corner.
double amplitudeAt(const Rectangle& piston, const Point& p) {
    return k * piston.sideX * piston.sideY /
           (2 * std::numbers::pi *
            std::hypot(std::fabs(p.x) + piston.sideX / 2, std::fabs(p.y) + piston.sideY / 2, p.z));
}

TEST(ConvergedPressure, EqualsTheSurfaceIntegralInEveryRegion) {
    // Surfaces of hundreds of square wavelengths take long.
    constexpr double largest = 10;
    Random random(20261122);
    for (const FieldRegion& region : fieldRegions)
        for (const PistonKind& kind : pistonKinds) {
            const PistonSides sides = kind.draw(random);
            if (sides.x * sides.y > largest) continue;
            const Line line = region.draw(random, sides.x / 2, sides.y / 2);
            const Rectangle piston{sides.x, sides.y};
            const Point point{line.x.from, line.y.from, line.z.from};
            const auto pressure = convergedPressure(piston, point, k);
            const auto surface = reference::surfaceIntegral(piston, point, k);
            const auto difference =
                static_cast<double>(reference::magnitude(pressure.value - surface));
            const double amplitude = amplitudeAt(piston, point);
            EXPECT_LE(difference, 1e-20 * amplitude) << region.name << ", " << kind.name;
            EXPECT_LE(pressure.error, 1e-20 * amplitude) << region.name << ", " << kind.name;
        }
}

/// In the middle of the face of a square the edges are all alike.
TEST(ConvergedPressure, HasAValueAtTheCentre) {
    const Rectangle piston{2, 2};
    const auto pressure = convergedPressure(piston, {0, 0, 0}, k).value;
    const auto surface = reference::surfaceIntegral(piston, {0, 0, 0}, k);
    EXPECT_LT(static_cast<double>(reference::magnitude(pressure - surface)), 1e-22);
}

/// The static potential of a square's corner is side * 2 * asinh(1).
TEST(ConvergedPressure, TendsToTheStaticPotentialForLongWaves) {
    constexpr double slow = 1e-9;
    const auto pressure = convergedPressure({1, 1}, {0.5, 0.5, 0}, slow).value;
    EXPECT_NEAR(static_cast<double>(pressure.re) * 2 * std::numbers::pi / slow, 2 * std::asinh(1.0),
                1e-15);
}

TEST(ConvergedPressure, TendsToAPointSourceFarAway) {
    // The next term of the far field is smaller by about k*side^2/(8z).
    constexpr double z = 0x1p30;
    const auto pressure = convergedPressure({0.5, 2}, {0, 0, z}, k).value;
    EXPECT_NEAR(static_cast<double>(pressure.re) * z, std::cos(k * z), 1e-8);
    EXPECT_NEAR(static_cast<double>(pressure.im) * z, -std::sin(k * z), 1e-8);
}

TEST(ConvergedPressure, RefusesPointsThatItsDigitsDoNotReach) {
    EXPECT_NO_THROW(convergedPressure({1, 1}, {0, 0, 1e8}, k));
    EXPECT_NO_THROW(convergedPressure({0.01, 1e-5}, {3e7, 1e8, 1}, k));
    EXPECT_THROW(convergedPressure({1, 1}, {1e15, 0, 1}, k), std::runtime_error);
}

}  // namespace
