// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The special places of a point and the special orders of a rule.

#include <cmath>
#include <cstddef>
#include <limits>
#include <vector>

#include "KernelTest.h"

namespace {

using reference::Span;

template <class Precision>
class BranchesTest : public KernelTest<Precision> {
  protected:
    using Real = typename Precision::Real;
    using Complex = typename Precision::Complex;
    using SceneT = Scene<Real>;

    /// How far the pressure is off when the edges are integrated like this.
    static double errorWith(const SceneT& scene, const reference::Rule& rule,
                            reference::Spans spans) {
        return roundingError(KernelTest<Precision>::pressureAt(scene),
                             deviceField(scene, rule, spans), scene.k);
    }

    /// The edges are integrated like this, and not in either of the two other ways.
    void expectSpans(const SceneT& scene, reference::Spans expected) {
        // One abscissa tells the spans apart, which more agree on.
        const reference::Rule rule = this->uploadLegendreRule(1);
        for (const Span alongY : {Span::whole, Span::split, Span::doubledUpper})
            for (const Span alongX : {Span::whole, Span::split, Span::doubledUpper}) {
                const double error = errorWith(scene, rule, {alongY, alongX});
                if (alongY == expected.alongY && alongX == expected.alongX)
                    EXPECT_LE(error, Precision::bound);
                else
                    EXPECT_GT(error, 20) << static_cast<int>(alongY) << static_cast<int>(alongX);
            }
    }

    /// A point beside the axes of a piston small enough that 1e-7 is far off the axis.
    static SceneT beside(Real x, Real y) {
        return {x,
                y,
                static_cast<Real>(2e-7),
                static_cast<Real>(5e-7),
                static_cast<Real>(4e-7),
                static_cast<Real>(1e7)};
    }

    static constexpr Real threshold = static_cast<Real>(1e-7);

    static SceneT ordinary() {
        return {static_cast<Real>(0.4), static_cast<Real>(-1.7), static_cast<Real>(0.9),
                static_cast<Real>(1.1), static_cast<Real>(1.3),  static_cast<Real>(6.2)};
    }

    void setOrder(int order) {
        EXPECT_EQ(
            cuda_runtime::cudaMemcpyToSymbol(Precision::constantName('N').c_str(), &order,
                                             sizeof order, 0, cuda_runtime::cudaMemcpyHostToDevice),
            cuda_runtime::cudaSuccess);
    }
};
TYPED_TEST_SUITE(BranchesTest, Families, FamilyName);

TYPED_TEST(BranchesTest, WithinTheThresholdAPointIsOnTheAxis) {
    using Real = typename TypeParam::Real;
    const Real threshold = this->threshold;
    const Real half = static_cast<Real>(0.5e-7);
    // At 0 itself the split and the doubled integrals are the same.
    this->expectSpans(this->beside(half, half), {Span::doubledUpper, Span::doubledUpper});
    this->expectSpans(this->beside(threshold, threshold), {Span::doubledUpper, Span::doubledUpper});
    this->expectSpans(this->beside(-threshold, -half), {Span::doubledUpper, Span::doubledUpper});
}

TYPED_TEST(BranchesTest, BeyondTheThresholdAnIntegralIsSplit) {
    using Real = typename TypeParam::Real;
    const Real on = static_cast<Real>(0.5e-7);
    const Real off = static_cast<Real>(2e-7);
    const Real justOff = std::nextafter(this->threshold, Real(1));
    this->expectSpans(this->beside(on, off), {Span::split, Span::doubledUpper});
    this->expectSpans(this->beside(off, on), {Span::doubledUpper, Span::split});
    this->expectSpans(this->beside(-off, off), {Span::split, Span::split});
    this->expectSpans(this->beside(justOff, -justOff), {Span::split, Span::split});
}

TYPED_TEST(BranchesTest, BeyondAnEdgeAnIntegralIsWhole) {
    using Real = typename TypeParam::Real;
    const Real inside = static_cast<Real>(2e-7);
    const Real outside = static_cast<Real>(7e-7);
    const Real on = static_cast<Real>(0.5e-7);
    this->expectSpans(this->beside(inside, outside), {Span::whole, Span::split});
    this->expectSpans(this->beside(-outside, inside), {Span::split, Span::whole});
    this->expectSpans(this->beside(outside, -outside), {Span::whole, Span::whole});
    this->expectSpans(this->beside(on, outside), {Span::whole, Span::doubledUpper});
    this->expectSpans(this->beside(outside, on), {Span::doubledUpper, Span::whole});
}

// Between the two, on the line of an edge itself, one piece of the split integral has no length.
TYPED_TEST(BranchesTest, OnAnEdgesLineThePressureIsFinite) {
    for (const int order : {1, 2, 7, 32}) {
        const reference::Rule rule = this->uploadLegendreRule(order);
        auto scene = this->ordinary();
        scene.y = scene.b;
        EXPECT_LE(this->errorWith(scene, rule, {Span::split, Span::split}), TypeParam::bound);
        scene.x = scene.a * 2;
        EXPECT_LE(this->errorWith(scene, rule, {Span::split, Span::whole}), TypeParam::bound);
        scene = this->ordinary();
        scene.x = -scene.a;
        EXPECT_LE(this->errorWith(scene, rule, {Span::whole, Span::split}), TypeParam::bound);
    }
}

TYPED_TEST(BranchesTest, OverACornerThePressureIsNotFinite) {
    using Real = typename TypeParam::Real;
    for (const int order : {1, 2, 7}) {
        this->uploadLegendreRule(order);
        for (const Real z : {Real(0), Real(0.9), Real(-0.9)})
            for (const Real sx : {Real(-1), Real(1)})
                for (const Real sy : {Real(-1), Real(1)}) {
                    auto scene = this->ordinary();
                    scene.x = sx * scene.a;
                    scene.y = sy * scene.b;
                    scene.z = z;
                    const auto p = this->pressureAt(scene);
                    EXPECT_FALSE(std::isfinite(p.re)) << order << " at z " << z;
                    EXPECT_FALSE(std::isfinite(p.im)) << order << " at z " << z;
                }
    }
}

TYPED_TEST(BranchesTest, OnThePistonsFaceThePressureIsThatOfTheFormula) {
    using Real = typename TypeParam::Real;
    const reference::Rule rule = this->uploadLegendreRule(32);
    for (const Real x : {Real(0), Real(0.4), Real(-1)})
        for (const Real y : {Real(0), Real(-0.3), Real(1.2)}) {
            auto scene = this->ordinary();
            scene.x = x;
            scene.y = y;
            scene.z = 0;
            EXPECT_LE(roundingError(this->pressureAt(scene), deviceField(scene, rule), scene.k),
                      TypeParam::bound);
        }
}

// Beside the piston's shadow the terms of exp(-j*k*z) cancel, and z and -z give the same.
TYPED_TEST(BranchesTest, BehindThePistonThePressureIsNoMirrorImage) {
    const reference::Rule rule = this->uploadLegendreRule(32);
    auto scene = this->ordinary();
    scene.y = static_cast<typename TypeParam::Real>(0.7);
    const auto front = this->pressureAt(scene);
    scene.z = -scene.z;
    const auto back = this->pressureAt(scene);
    EXPECT_LE(roundingError(back, deviceField(scene, rule), scene.k), TypeParam::bound);
    EXPECT_GT(std::hypot(front.re - back.re, front.im - back.im), 0.1);
}

TYPED_TEST(BranchesTest, FourMirroredPointsHaveTheSamePressure) {
    using Real = typename TypeParam::Real;
    this->uploadLegendreRule(10);
    for (const Real x : {Real(0), Real(0.5e-7), Real(0.4), Real(1.1), Real(3.7)})
        for (const Real y : {Real(0), Real(1e-7), Real(0.7), Real(1.3), Real(5.1)}) {
            auto scene = this->ordinary();
            scene.x = x;
            scene.y = y;
            const auto p = this->pressureAt(scene);
            scene.x = -x;
            EXPECT_TRUE(sameBits(this->pressureAt(scene), p)) << x << ", " << y;
            scene.y = -y;
            EXPECT_TRUE(sameBits(this->pressureAt(scene), p)) << x << ", " << y;
            scene.x = x;
            EXPECT_TRUE(sameBits(this->pressureAt(scene), p)) << x << ", " << y;
        }
}

TYPED_TEST(BranchesTest, ARuleOfOneIsItsWeightInTheMiddle) {
    using Real = typename TypeParam::Real;
    // The abscissa itself is not read.
    const HalfRule<Real> rule{1, {std::numeric_limits<Real>::quiet_NaN()}, {Real(1.7)}};
    TypeParam::upload(rule);
    const auto scene = this->ordinary();
    const reference::Rule whole{{0}, {static_cast<Quad>(Real(1.7))}};
    EXPECT_LE(roundingError(this->pressureAt(scene), deviceField(scene, whole), scene.k),
              TypeParam::bound);
}

TYPED_TEST(BranchesTest, TheMiddleAbscissaOfAnOddRuleIsTakenForZero) {
    using Real = typename TypeParam::Real;
    auto half = halfLegendreRule<Real>(7);
    half.x[3] = std::numeric_limits<Real>::quiet_NaN();
    TypeParam::upload(half);
    const auto scene = this->ordinary();
    EXPECT_LE(roundingError(this->pressureAt(scene), deviceField(scene, mirrored(half)), scene.k),
              TypeParam::bound);
}

TYPED_TEST(BranchesTest, TheSignOfAnAbscissaDoesNotMatter) {
    auto half = halfLegendreRule<typename TypeParam::Real>(6);
    TypeParam::upload(half);
    const auto expected = this->pressureAt(this->ordinary());
    half.x[0] = -half.x[0];
    half.x[2] = -half.x[2];
    TypeParam::upload(half);
    EXPECT_TRUE(sameBits(this->pressureAt(this->ordinary()), expected));
}

TYPED_TEST(BranchesTest, ARuleOfNoneGivesZeros) {
    this->uploadLegendreRule(10);
    auto outside = this->ordinary();
    outside.x = 2 * outside.a;
    for (const int order : {0, -1, -7}) {
        this->setOrder(order);
        for (const auto& scene : {this->ordinary(), outside}) {
            const auto p = this->pressureAt(scene);
            EXPECT_EQ(p.re, 0) << order;
            EXPECT_EQ(p.im, 0) << order;
        }
    }
}

using DoublePrecisionField = KernelTest<DoublePrecision>;

// Of the double family only the additions, products and reciprocals are in double precision.
TEST_F(DoublePrecisionField, HasThePrecisionOfFloat) {
    const reference::Rule rule = uploadLegendreRule(32);
    const Scene<double> scene{0.4, -1.7, 0.9, 1.1, 1.3, 6.2};
    const Complexd p = pressureAt(scene);
    const reference::QuadComplex error =
        reference::QuadComplex{p.re, p.im} - deviceField(scene, rule).pressure;
    EXPECT_GT(static_cast<double>(reference::magnitude(error)), 1e-10);
}

}  // namespace
