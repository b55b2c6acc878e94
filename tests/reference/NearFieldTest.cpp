// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "reference/NearField.h"

#include <gtest/gtest.h>

#include <complex>
#include <vector>

#include "reference/SurfaceIntegral.h"

using reference::Field;
using reference::hostSpans;
using reference::offsetsOf;
using reference::Span;

namespace {

TEST(ReferenceNearField, EdgeSumEqualsTheSurfaceIntegral) {
    constexpr reference::Rectangle piston{2.0, 3.0};
    constexpr double k = 6.25;
    const reference::Rule rule = reference::legendreRule(120);
    const std::vector<reference::Point> points{
        {0, 0, 0.75}, {0.5, -1.25, 0.5}, {3.0, 0.5, 1.0}, {-0.25, 4.0, 2.0}, {5.0, -6.0, 20.0}};
    for (const reference::Point& p : points) {
        const Field field = reference::nearField(
            offsetsOf(p.x, p.y, piston.sideX / 2, piston.sideY / 2), p.z, k, rule);
        const std::complex<long double> expected = reference::surfacePressure(piston, p, k);
        EXPECT_NEAR(static_cast<double>(field.pressure.re), static_cast<double>(expected.real()),
                    2e-15);
        EXPECT_NEAR(static_cast<double>(field.pressure.im), static_cast<double>(expected.imag()),
                    2e-15);
    }
}

TEST(ReferenceNearField, BoundOfAnEdgeIntegralIsAnArcTangent) {
    // The integral of 2/(1/4 + t^2) over [0, 1/2] is pi.
    const auto edge =
        reference::edgeIntegral(0.5, 0, 0.5, 1, reference::pi, reference::legendreRule(60));
    EXPECT_LT(static_cast<double>(fabsq(edge.bound - reference::pi)), 1e-31);
}

TEST(ReferenceNearField, ReachIsTheDistanceToTheFarthestCorner) {
    const Field field =
        reference::nearField(offsetsOf(-1, 2, 2, 4), -2, 1, reference::legendreRule(1));
    EXPECT_EQ(static_cast<double>(field.reach), 7.0);  // from (-1, 2, -2) to (2, -4, 0)
}

TEST(ReferenceNearField, SpansFollowThePointsPlaceOverThePiston) {
    EXPECT_EQ(hostSpans(offsetsOf(0, 0, 1, 1)).alongX, Span::split);
    EXPECT_EQ(hostSpans(offsetsOf(0, 2, 1, 1)).alongY, Span::whole);
    EXPECT_EQ(hostSpans(offsetsOf(0, 1, 1, 1)).alongY, Span::split);
    EXPECT_EQ(hostSpans(offsetsOf(0, -1, 1, 1)).alongY, Span::whole);
    EXPECT_EQ(hostSpans(offsetsOf(0, 0, 1, 1e-8)).alongY, Span::doubledUpper);
    EXPECT_EQ(hostSpans(offsetsOf(0, 0, 1e-8, 1)).alongX, Span::doubledWhole);
}

TEST(ReferenceNearField, SpansOfAnEdgeAddUp) {
    const reference::Rule rule = reference::legendreRule(3);
    const reference::Offsets offsets{0.5, 1.5, -0.5, 1.5};
    const Quad z = 0.25;
    const Quad k = 2;
    const auto at = [&](Quad offset, Quad from, Quad to) {
        return reference::edgeIntegral(offset, from, to, z, k, rule).value;
    };
    const auto pressure = [&](Span alongY, Span alongX) {
        return reference::nearField(offsets, z, k, rule, {alongY, alongX}).pressure;
    };
    const reference::QuadComplex change =
        pressure(Span::split, Span::doubledWhole) - pressure(Span::doubledUpper, Span::whole);
    const auto y = [&](Quad offset) { return at(offset, -0.5, 0) - at(offset, 0, 1.5); };
    const auto x = [&](Quad offset) { return at(offset, 0.5, 1.5); };
    const reference::QuadComplex edges =
        (Quad(0.5) * y(0.5) - Quad(1.5) * y(1.5)) + (Quad(-0.5) * x(-0.5) - Quad(1.5) * x(1.5));
    const Quad factor = 1 / (2 * reference::pi);
    EXPECT_LT(static_cast<double>(fabsq(change.re - factor * edges.im)), 1e-32);
    EXPECT_LT(static_cast<double>(fabsq(change.im + factor * edges.re)), 1e-32);
}

}  // namespace
