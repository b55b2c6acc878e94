// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The device functions that no kernel uses, called with a rule of their own.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "DeviceField.h"
#include "FastNearfield/PistonKernels.h"

namespace {

using reference::Span;

template <class T>
const HalfRule<T>& rule() {
    static const HalfRule<T> half = halfLegendreRule<T>(11);
    return half;
}

template <class T, class Pair>
struct TestFamily {
    using Real = T;
    using Complex = Pair;
    static T x(int i) { return rule<T>().x[static_cast<std::size_t>(i)]; }
    static T w(int i) { return rule<T>().w[static_cast<std::size_t>(i)]; }
    static int order() { return rule<T>().order; }
};

template <class Family>
class PointFunctionsTest : public testing::Test {
  protected:
    using T = typename Family::Real;
    static constexpr double bound = sizeof(T) == sizeof(float) ? 3 : 2;
    static constexpr T a = static_cast<T>(1.1);
    static constexpr T b = static_cast<T>(1.3);
    static constexpr T k = static_cast<T>(6.2);

    /// Points on all sides of the piston, one for each lane.
    static Reals<Family> coordinates(T first, T step) {
        Reals<Family> values{};
        for (int i = 0; i < cuda_runtime::Lanes<T>::count; ++i)
            values[i] = first + step * static_cast<T>(i);
        return values;
    }
};

struct FamilyName {
    template <class Family>
    static std::string GetName(int /*index*/) {
        return sizeof(typename Family::Real) == sizeof(float) ? "single" : "dp";
    }
};
using Families = testing::Types<TestFamily<float, Complex>, TestFamily<double, Complexd>>;
TYPED_TEST_SUITE(PointFunctionsTest, Families, FamilyName);

TYPED_TEST(PointFunctionsTest, CalculateFastNearfieldTakesEveryEdgeInOnePiece) {
    using T = typename TypeParam::Real;
    const reference::Rule whole = mirrored(rule<T>());
    const Reals<TypeParam> xs = this->coordinates(T(-2.9), T(1.7));
    const Reals<TypeParam> ys = this->coordinates(T(3.1), T(-2.3));
    const Reals<TypeParam> zs = this->coordinates(T(0.7), T(0.4));
    const auto p = calculate_FastNearfield<TypeParam>(xs, ys, zs, this->a, this->b, this->k);
    for (int i = 0; i < cuda_runtime::Lanes<T>::count; ++i) {
        const reference::Offsets offsets = reference::offsetsOf(xs[i], ys[i], this->a, this->b);
        const reference::Field expected =
            reference::nearField(offsets, zs[i], this->k, whole, {Span::whole, Span::whole});
        const typename TypeParam::Complex got{p.re[i], p.im[i]};
        EXPECT_LE(roundingError(got, expected, this->k), this->bound) << xs[i] << ", " << ys[i];
    }
}

TYPED_TEST(PointFunctionsTest, IntegrateAllAddsAMultipleOfAnEdgesIntegral) {
    using T = typename TypeParam::Real;
    const reference::Rule whole = mirrored(rule<T>());
    const Reals<TypeParam> offsets = this->coordinates(T(-2.9), T(1.3));
    const Reals<TypeParam> zs = this->coordinates(T(0.7), T(0.4));
    const Reals<TypeParam> lows = this->coordinates(T(-1.9), T(0.6));
    const Reals<TypeParam> highs = this->coordinates(T(0.3), T(0.7));
    const Reals<TypeParam> factors = this->coordinates(T(-3), T(1.5));
    const auto phase = unitPhase<TypeParam>(-this->k * zs);
    Reals<TypeParam> re{};
    Reals<TypeParam> im{};
    re += T(0.25);
    im -= T(0.5);
    integrate_all<TypeParam>(&re, &im, offsets, zs, this->k, phase.re, phase.im, lows, highs,
                             factors);
    for (int i = 0; i < cuda_runtime::Lanes<T>::count; ++i) {
        const reference::EdgeIntegral edge =
            reference::edgeIntegral(offsets[i], lows[i], highs[i], zs[i], this->k, whole);
        const Quad factor = factors[i];
        const reference::QuadComplex expected{static_cast<Quad>(T(0.25)) + factor * edge.value.re,
                                              -static_cast<Quad>(T(0.5)) + factor * edge.value.im};
        const reference::QuadComplex error = reference::QuadComplex{re[i], im[i]} - expected;
        const Quad reach = std::hypot(static_cast<double>(offsets[i]), static_cast<double>(zs[i]),
                                      static_cast<double>(highs[i] - lows[i]));
        const Quad measure = static_cast<Quad>(unitRoundoff) *
                             (1 + (1 + this->k * reach) * fabsq(factor) * edge.bound);
        EXPECT_LE(static_cast<double>(reference::magnitude(error) / measure), this->bound) << i;
    }
}

// The number of a thread beyond the points may be the largest that there is.
TYPED_TEST(PointFunctionsTest, TripleOfAThreadWithoutAPointIsTheFirst) {
    constexpr int count = cuda_runtime::Lanes<typename TypeParam::Real>::count;
    const auto noPoint = lanes::broadcast<Ints<TypeParam>>(std::numeric_limits<int>::max());
    Ints<TypeParam> index{};
    for (int i = 0; i < count; ++i) index[i] = 1000 + i;
    index[count - 1] = noPoint[0];
    const Ints<TypeParam> triple = tripleOf<TypeParam>(index, index < 1000 + count);
    for (int i = 0; i < count - 1; ++i) EXPECT_EQ(triple[i], 3000 + 3 * i);
    EXPECT_EQ(triple[count - 1], 0);
    const Ints<TypeParam> none = tripleOf<TypeParam>(noPoint, noPoint < 7);
    for (int i = 0; i < count; ++i) EXPECT_EQ(none[i], 0);
}

}  // namespace
