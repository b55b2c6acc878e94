// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <iostream>
#include <limits>
#include <numbers>
#include <ostream>
#include <sstream>
#include <string>
#include <vector>

#include "FastNearfield/RectangularPiston2.h"
#include "PointField.h"
#include "reference/NearField.h"
#include "reference/SurfaceIntegral.h"

using reference::Span;

namespace {

constexpr double twoPi = 2 * std::numbers::pi;

/// A piston of no size of its own, with rules of the given order.
class NearField : public testing::Test {
  protected:
    NearField() { setOrder(100); }

    void setOrder(int order) {
        piston.doubleRule.compute(order);
        piston.floatRule.compute(order);
    }

    /// The sum over the edges of +-offset * integral, with 1/(t^2 + offset^2) as the integrand.
    std::complex<double> plainSum(double x1, double x2, double y1, double y2) const {
        RectangularPistonCuda2::FirstIntegral<double> fi;  // k = z = 0: exp(-j*k*R) - expKz is 1
        return piston.doFastNearfield_Private<double>(fi, x1, x2, y1, y2, 0.0, 0.0, {1.0, 0.0});
    }

    RectangularPistonCuda2 piston{1, 1, 1};
};

double distance(const std::complex<double>& a, const reference::QuadComplex& b) {
    return static_cast<double>(
        reference::magnitude(reference::QuadComplex{a.real(), a.imag()} - b));
}

// --- the value

struct PistonCase {
    const char* name;
    reference::Rectangle sides;  // in wavelengths
    double wavelength;

    friend std::ostream& operator<<(std::ostream& out, const PistonCase& c) {
        return out << c.sides.sideX << " by " << c.sides.sideY << " wavelengths";
    }
};

class NearFieldOf : public NearField, public testing::WithParamInterface<PistonCase> {};

TEST_P(NearFieldOf, EqualsTheIntegralOverThePistonsSurface) {
    const PistonCase& c = GetParam();
    const double unit = c.wavelength;
    const double k = twoPi / unit;
    const reference::Rectangle sides{c.sides.sideX * unit, c.sides.sideY * unit};
    double largestPressure = 0;
    double largestError = 0;
    for (const double x : {0.0, 0.3, -0.5, 0.9})
        for (const double y : {0.0, -0.2, 0.5, 1.7})
            for (const double z : {0.5, 0.8, 3.0, 41.0}) {
                const double px = x * sides.sideX;
                const double py = y * sides.sideY;
                // Not straight above a corner: there the formula divides zero by zero.
                if (x == -0.5 && y == 0.5)
                    continue;
                const auto got =
                    PointField<double>::at(px, py, z * unit, sides.sideX / 2, sides.sideY / 2, k)
                        .pressure(piston);
                const std::complex<long double> expected =
                    reference::surfacePressure(sides, {px, py, z * unit}, k);
                largestPressure = std::max(largestPressure, std::abs(got));
                largestError = std::max(
                    largestError,
                    static_cast<double>(std::abs(std::complex<long double>(got) - expected)));
            }
    std::ostringstream relative;
    relative << largestError / largestPressure;
    RecordProperty("largest_error", relative.str());
    std::cout << "largest error: " << relative.str() << " of the largest pressure\n";
    EXPECT_LE(largestError, 1e-12 * largestPressure);
}

INSTANTIATE_TEST_SUITE_P(Pistons, NearFieldOf,
                         testing::Values(PistonCase{"LargeOne", {5.0, 7.5}, 1.5e-3},
                                         PistonCase{"Square", {3.0, 3.0}, 1.0},
                                         PistonCase{"Strip", {0.5, 10.0}, 0.25},
                                         PistonCase{"SmallOne", {0.1, 0.2}, 7.0}),
                         [](const testing::TestParamInfo<PistonCase>& info) {
                             return std::string(info.param.name);
                         });

TEST_F(NearField, IsThatOfAPointSourceFarFromASmallPiston) {
    constexpr double k = 2.0;
    constexpr double side = 1e-3;
    constexpr double z = 50.0;
    const auto p = PointField<double>::at(0, 0, z, side / 2, side / 2, k).pressure(piston);
    const auto expected = std::polar(k * side * side / (twoPi * z), -k * z);
    EXPECT_LT(std::abs(p - expected), 1e-7 * std::abs(expected));
}

// --- the integrand

TEST(FirstIntegral, IsTheDifferenceOfThePhasorsOverTheSquaredDistance) {
    RectangularPistonCuda2::FirstIntegral<double> f;
    f.s2 = 1.44;
    f.k = 2.5;
    f.z = 3.0;
    f.expKz = {0.25, -0.75};
    const double d = 1.6 * 1.6 + 1.44;  // 4, so R = sqrt(13)
    const std::complex<double> expected =
        (std::polar(1.0, -2.5 * std::sqrt(13.0)) - std::complex<double>(0.25, -0.75)) / d;
    const std::complex<double> value = f(1.6);
    EXPECT_NEAR(value.real(), expected.real(), 1e-15);
    EXPECT_NEAR(value.imag(), expected.imag(), 1e-15);
    EXPECT_EQ(f(-1.6), value);
}

TEST(FirstIntegral, HasNoValueAtTheFootPointOfItsEdgesLine) {
    RectangularPistonCuda2::FirstIntegral<double> f;
    f.k = 2.5;
    f.z = 3.0;
    f.expKz = std::exp(std::complex<double>(0, -7.5));
    EXPECT_TRUE(std::isnan(f(0.0).real()));
    EXPECT_TRUE(std::isnan(f(0.0).imag()));
}

// --- the spans of the edge integrals

TEST_F(NearField, SplitsTheEdgesThatThePointLiesBetween) {
    // With one node an integral of 1/(t^2 + e^2) over [a, b] is the length over the middle's value.
    setOrder(1);
    const auto I = [](double e, double a, double b) {
        const double middle = (a + b) / 2;
        return (b - a) / (middle * middle + e * e);
    };
    const auto edge = [&](double e, double a, double b) {
        return (a > 0) != (b > 0) ? e * (I(e, a, 0) + I(e, 0, b)) : e * I(e, a, b);
    };
    const auto expected = [&](double x1, double x2, double y1, double y2) {
        return edge(x1, y1, y2) - edge(x2, y1, y2) + edge(y1, x1, x2) - edge(y2, x1, x2);
    };
    // Above the interior; beside it along x, along y; diagonally off it: 8, 6, 6 and 4 integrals.
    EXPECT_NEAR(plainSum(-1, 3, -2, 5).real(), expected(-1, 3, -2, 5), 1e-14);
    EXPECT_NEAR(plainSum(1, 5, -2, 5).real(), expected(1, 5, -2, 5), 1e-14);
    EXPECT_NEAR(plainSum(-1, 3, -9, -2).real(), expected(-1, 3, -9, -2), 1e-14);
    EXPECT_NEAR(plainSum(1, 5, 2, 9).real(), expected(1, 5, 2, 9), 1e-14);
    // None of them is a matter of rounding.
    EXPECT_GT(std::abs(I(1, -2, 5) - I(1, -2, 0) - I(1, 0, 5)), 0.1);
}

TEST_F(NearField, SplitIntegralsAddUpToTheWholeOnes) {
    // Whole integrals converge above the interior too, where the offsets are not small.
    setOrder(200);
    const auto point = PointField<double>::at(0.25, -0.5, 2.0, 1.5, 2.0, 3.0);
    const reference::Field whole =
        reference::nearField(point.offsets(), point.z, point.k, widenedRuleOf<double>(piston),
                             {Span::whole, Span::whole});
    EXPECT_LT(distance(point.pressure(piston), whole.pressure), 1e-13);
}

/// The pressure without the edge at offset x1.
std::complex<double> withoutFirstEdge(const PointField<double>& point,
                                      const reference::Rule& rule) {
    const reference::Field all = reference::nearField(point.offsets(), point.z, point.k, rule);
    const auto I = [&](Quad from, Quad to) {
        return reference::edgeIntegral(point.x1, from, to, point.z, point.k, rule).value;
    };
    const reference::QuadComplex edge = Quad(point.x1) * (I(point.y1, 0) + I(0, point.y2));
    return {static_cast<double>(all.pressure.re - edge.im / (2 * reference::pi)),
            static_cast<double>(all.pressure.im + edge.re / (2 * reference::pi))};
}

TEST_F(NearField, EdgeStraightBelowThePointDropsOut) {
    auto point = PointField<double>::at(1.5, 0.5, 1.0, 1.5, 2.0, 3.0);
    ASSERT_EQ(point.x1, 0.0);
    const std::complex<double> p = point.pressure(piston);
    EXPECT_LT(std::abs(p - withoutFirstEdge(point, widenedRuleOf<double>(piston))), 1e-14);
    EXPECT_TRUE(std::isfinite(p.real()) && std::isfinite(p.imag()));

    const auto mirrored = PointField<double>::at(-1.5, 0.5, 1.0, 1.5, 2.0, 3.0);
    ASSERT_EQ(mirrored.x2, 0.0);
    EXPECT_LT(std::abs(p - mirrored.pressure(piston)), 1e-14);
}

TEST_F(NearField, ZeroOffsetCountsAsNegative) {
    // y1 = 0 splits into [0, 0] and [0, y2], y2 = 0 does not split [y1, 0]: the same two integrals.
    const auto upper = PointField<double>::at(0.5, 2.0, 1.0, 1.5, 2.0, 3.0);
    const auto lower = PointField<double>::at(0.5, -2.0, 1.0, 1.5, 2.0, 3.0);
    ASSERT_EQ(upper.y1, 0.0);
    ASSERT_EQ(lower.y2, 0.0);
    const reference::Field whole =
        reference::nearField(upper.offsets(), upper.z, upper.k, widenedRuleOf<double>(piston),
                             {Span::whole, Span::split});
    EXPECT_LT(distance(upper.pressure(piston), whole.pressure), 1e-14);
    EXPECT_LT(distance(lower.pressure(piston), whole.pressure), 1e-14);
}

TEST_F(NearField, HasNoValueStraightAboveThreeOfTheCorners) {
    // An empty piece of the split integral along the edge puts its nodes on the corner, where the
    // integrand is 0/0. At the fourth corner neither pair of edges is split.
    const auto corner = [&](double x, double y) {
        return PointField<double>::at(x * 1.5, y * 2.0, 1.0, 1.5, 2.0, 3.0).pressure(piston);
    };
    for (const auto& p : {corner(1, 1), corner(-1, 1), corner(1, -1)})
        EXPECT_TRUE(std::isnan(p.real()) && std::isnan(p.imag()));
    const std::complex<double> p = corner(-1, -1);
    const std::complex<long double> expected =
        reference::surfacePressure({3.0, 4.0}, {-1.5, -2.0, 1.0}, 3.0);
    EXPECT_LT(std::abs(std::complex<long double>(p) - expected), 1e-12);
}

// --- pistons too thin to be integrated over as a whole

TEST_F(NearField, ThinAlongYDoublesTheUpperPartOfTheYIntegrals) {
    constexpr double half = 0.5e-8;
    const auto rule = widenedRuleOf<double>(piston);
    const auto beside = PointField<double>::at(0.25, 0.5, 2.0, 1.5, half, 3.0);
    const reference::Field doubled = reference::nearField(beside.offsets(), beside.z, beside.k,
                                                          rule, {Span::doubledUpper, Span::split});
    const reference::Field general = reference::nearField(beside.offsets(), beside.z, beside.k,
                                                          rule, {Span::whole, Span::split});
    const std::complex<double> p = beside.pressure(piston);
    EXPECT_LT(distance(p, doubled.pressure), 1e-14);
    // [0, y2] is as long as the point is far from the axis, not as the piston's side.
    EXPECT_GT(distance(p, general.pressure), 0.1);
    EXPECT_LT(distance(0, general.pressure), 1e-7);
    // On the axis the doubled half is the whole.
    const auto above = PointField<double>::at(0.25, 0, 2.0, 1.5, half, 3.0);
    const reference::Field split =
        reference::nearField(above.offsets(), above.z, above.k, rule, {Span::split, Span::split});
    EXPECT_LT(distance(above.pressure(piston), split.pressure), 1e-15 * std::abs(p));
}

TEST_F(NearField, ThinAlongXDoublesTheWholeXIntegrals) {
    constexpr double half = 0.5e-8;
    const auto rule = widenedRuleOf<double>(piston);
    for (const double px : {0.0, 0.25}) {
        const auto point = PointField<double>::at(px, 0.5, 2.0, half, 1.5, 3.0);
        const auto at = [&](Span alongX) {
            return reference::nearField(point.offsets(), point.z, point.k, rule,
                                        {Span::split, alongX})
                .pressure;
        };
        const std::complex<double> p = point.pressure(piston);
        const auto expected = static_cast<double>(reference::magnitude(at(Span::doubledWhole)));
        // The y pair is the small difference of two edges' terms.
        EXPECT_LT(distance(p, at(Span::doubledWhole)), 1e-7 * expected) << px;
        // The x pair counts twice, and is no smaller than the y pair.
        EXPECT_GT(distance(p, at(Span::whole)), 0.01 * expected) << px;
    }
}

TEST_F(NearField, ThinMeansLessThan1e7InDoubleWhateverThePrecision) {
    setOrder(1);
    const auto factorOfY = [&](auto y2) {
        using T = decltype(y2);
        // Away from the axis along x, of the four terms only that of x1 counts: those of y1 and y2
        // are small like the offsets themselves, and x2 is far.
        RectangularPistonCuda2::FirstIntegral<T> fi;
        const std::complex<T> sum =
            piston.doFastNearfield_Private<T>(fi, T(1), T(1e8), T(0), y2, T(0), T(0), {T(1), T(0)});
        return std::round(static_cast<double>(sum.real() / y2));
    };
    EXPECT_EQ(factorOfY(std::nextafter(1e-7, 0.0)), 2.0);
    EXPECT_EQ(factorOfY(1e-7), 1.0);
    // The float nearest to 1e-7 is above it.
    EXPECT_EQ(factorOfY(std::nextafter(1e-7F, 0.0F)), 2.0);
    EXPECT_EQ(factorOfY(1e-7F), 1.0);
}

TEST_F(NearField, NodeOnTheFootPointOfAThinPistonsEdgeHasNoValue) {
    // Not split at zero, the x integrals of an odd rule have a node at t = 0 straight above the
    // edge.
    setOrder(3);
    const auto odd = PointField<double>::at(0, 1.5, 2.0, 0.5e-8, 1.5, 3.0);
    ASSERT_EQ(odd.y1, 0.0);
    EXPECT_TRUE(std::isnan(odd.pressure(piston).real()));
    setOrder(4);
    EXPECT_TRUE(std::isfinite(odd.pressure(piston).real()));
}

// --- what goes in and what does not

TEST_F(NearField, RuleOfOrderZeroGivesNoPressure) {
    piston.doubleRule.setOrder(0);
    piston.floatRule.setOrder(0);
    const auto p = PointField<double>::at(0.25, -0.5, 2.0, 1.5, 2.0, 3.0).pressure(piston);
    EXPECT_EQ(p, std::complex<double>(0, 0));
    const auto single =
        PointField<float>::at(0.25F, -0.5F, 2.0F, 1.5F, 2.0F, 3.0F).pressure(piston);
    EXPECT_EQ(single, std::complex<float>(0, 0));
}

TEST_F(NearField, FactorMultipliesTheEdgeSumAsAComplexNumber) {
    setOrder(7);
    const auto point = PointField<double>::at(0.25, -0.5, 2.0, 1.5, 2.0, 3.0);
    RectangularPistonCuda2::FirstIntegral<double> fi;
    fi.k = point.k;
    fi.z = point.z;
    fi.expKz = std::polar(1.0, -6.0);
    const auto with = [&](std::complex<double> factor) {
        return piston.doFastNearfield_Private<double>(fi, point.x1, point.x2, point.y1, point.y2,
                                                      point.k, point.z, factor);
    };
    const std::complex<double> sum = with({1, 0});
    EXPECT_EQ(with({0, 1}), std::complex<double>(-sum.imag(), sum.real()));
    EXPECT_EQ(with({2, 0}), 2.0 * sum);
}

TEST_F(NearField, TakesWavenumberAndHeightFromTheIntegrandAndIgnoresItsOffset) {
    const auto point = PointField<double>::at(0.25, -0.5, 2.0, 1.5, 2.0, 3.0);
    RectangularPistonCuda2::FirstIntegral<double> fi;
    fi.k = point.k;
    fi.z = point.z;
    fi.expKz = std::exp(std::complex<double>(0, -6.0));
    fi.s2 = 1234.5;
    const double noise = std::numeric_limits<double>::quiet_NaN();
    const auto p = piston.doFastNearfield_Private<double>(
        fi, point.x1, point.x2, point.y1, point.y2, noise, noise, {0, -0.15915494309189535});
    EXPECT_EQ(p, point.pressure(piston));
    EXPECT_EQ(fi.s2, 1234.5);
}

TEST_F(NearField, PrecisionsUseTheirOwnRules) {
    const auto inDouble = PointField<double>::at(0.25, -0.5, 2.0, 1.5, 2.0, 3.0);
    const auto inFloat = PointField<float>::at(0.25F, -0.5F, 2.0F, 1.5F, 2.0F, 3.0F);
    const std::complex<double> d = inDouble.pressure(piston);
    const std::complex<float> f = inFloat.pressure(piston);
    piston.floatRule.compute(1);
    EXPECT_EQ(inDouble.pressure(piston), d);
    EXPECT_NE(inFloat.pressure(piston), f);
    piston.floatRule.compute(100);
    piston.doubleRule.compute(1);
    EXPECT_NE(inDouble.pressure(piston), d);
    EXPECT_EQ(inFloat.pressure(piston), f);
}

TEST_F(NearField, UsesARuleFilledByHand) {
    piston.doubleRule.setOrder(2);
    for (int i = 0; i < 2; ++i) {
        piston.doubleRule.abscissas[i] = i - 0.5;
        piston.doubleRule.weights[i] = 1;
    }
    const auto point = PointField<double>::at(0.25, -0.5, 2.0, 1.5, 2.0, 3.0);
    const reference::Field expected =
        reference::nearField(point.offsets(), point.z, point.k, widenedRuleOf<double>(piston));
    EXPECT_LT(distance(point.pressure(piston), expected.pressure), 1e-15);
}

TEST_F(NearField, InfiniteAndUndefinedInputsReachTheResult) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinite = std::numeric_limits<double>::infinity();
    for (const double odd : {nan, infinite}) {
        for (const auto& point : {PointField<double>::at(odd, 0.5, 2, 1.5, 2, 3),
                                  PointField<double>::at(0.25, odd, 2, 1.5, 2, 3),
                                  PointField<double>::at(0.25, 0.5, odd, 1.5, 2, 3),
                                  PointField<double>::at(0.25, 0.5, 2, 1.5, 2, odd)}) {
            const std::complex<double> p = point.pressure(piston);
            EXPECT_TRUE(std::isnan(p.real()) && std::isnan(p.imag())) << odd;
        }
    }
}

TEST_F(NearField, IsSymmetricInThePistonsPlaneButNotAcrossIt) {
    const auto at = [&](double x, double y, double z) {
        return PointField<double>::at(x, y, z, 1.5, 2.0, 3.0).pressure(piston);
    };
    const std::complex<double> p = at(0.7, 2.5, 1.0);
    EXPECT_LT(std::abs(at(-0.7, 2.5, 1.0) - p), 1e-14);
    EXPECT_LT(std::abs(at(0.7, -2.5, 1.0) - p), 1e-14);
    EXPECT_LT(std::abs(at(0.7, 2.5, -1.0) - p),
              1e-14);  // beside the piston the phasors of z cancel
    EXPECT_GT(std::abs(at(0.7, 0.5, -1.0) - at(0.7, 0.5, 1.0)), 0.1);
}

}  // namespace
