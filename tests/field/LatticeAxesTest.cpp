// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/LatticeAxes.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>

namespace {

using pistonfield::axesOf;
using pistonfield::IndexRange;
using pistonfield::Lattice;
using pistonfield::LatticeAxis;

/// Expects numbers and indices to belong together, and coordinates to be those of the points.
void expectConsistent(const LatticeAxis& axis, double origin, double step, bool folded) {
    const IndexRange all{0, axis.size()};
    for (std::int64_t i = 0; i < axis.size(); ++i) {
        const std::int64_t number = axis.numberOf(i);
        ASSERT_GE(number, 0);
        ASSERT_LT(number, axis.count());
        const double point = origin + step * static_cast<double>(i);
        EXPECT_NEAR(axis.ticks(number, 1).at(0), folded ? std::abs(point) : point, 1e-12);
        const auto indices = axis.indicesOf(number, all);
        EXPECT_EQ(std::count(indices.begin(), indices.end(), i), 1);
        EXPECT_LE(indices.size(), folded ? 2U : 1U);
        for (std::int64_t last = i + 1; last <= axis.size(); ++last) {
            const IndexRange numbers = axis.numbersOf({i, last});
            std::int64_t least = axis.count();
            std::int64_t most = 0;
            for (std::int64_t k = i; k < last; ++k) {
                least = std::min(least, axis.numberOf(k));
                most = std::max(most, axis.numberOf(k));
            }
            EXPECT_EQ(numbers.first, least);
            EXPECT_EQ(numbers.last, most + 1);
            for (const std::int64_t k : axis.indicesOf(number, {i, last})) {
                EXPECT_GE(k, i);
                EXPECT_LT(k, last);
            }
        }
    }
    for (std::int64_t number = 0; number < axis.count(); ++number)
        EXPECT_FALSE(axis.indicesOf(number, all).empty());
}

TEST(LatticeAxis, TakesPointsOnBothSidesOnceWhereTheyMirrorEachOther) {
    struct Case {
        double origin, step;
        std::int64_t size, count;
    };
    for (const Case& c : {Case{-2, 0.5, 9, 5},
                          {-1.75, 0.5, 8, 4},
                          {-2, 0.5, 7, 5},
                          {2, -0.5, 9, 5},
                          {-0.5, 0.5, 12, 11},
                          {-0.25, 0.5, 2, 1}}) {
        const LatticeAxis axis(0, c.origin, c.step, c.size, 1e-12);
        EXPECT_EQ(axis.count(), c.count) << c.origin << ", " << c.step;
        EXPECT_EQ(axis.shift(), 0);
        expectConsistent(axis, c.origin, c.step, true);
    }
}

TEST(LatticeAxis, KeepsTheSignElsewhere) {
    struct Case {
        double origin, step;
        std::int64_t size;
    };
    for (const Case& c : {Case{-2.1, 0.5, 9},
                          {1, 0.5, 9},
                          {-9, 0.5, 9},
                          {9, -0.5, 9},
                          {2.1, -0.5, 9},
                          {-3, 0.25, 1}}) {
        const LatticeAxis axis(0, c.origin, c.step, c.size, 1e-12);
        EXPECT_EQ(axis.count(), c.size);
        expectConsistent(axis, c.origin, c.step, false);
    }
}

TEST(LatticeAxis, SaysHowFarItMovesPoints) {
    const LatticeAxis axis(0, -2 + 1e-10, 0.5, 9, 1e-9);
    EXPECT_EQ(axis.count(), 5);
    EXPECT_NEAR(axis.shift(), 1e-10, 1e-15);
    EXPECT_EQ(LatticeAxis(0, -2 + 1e-10, 0.5, 9, 1e-11).count(), 9);
}

TEST(LatticeAxes, AreThoseOfAnyDirections) {
    // x runs along the third direction, y along the first one, z along the second one.
    const Lattice lattice{{0, 0, -1, 8, 4, 0, 0, 6, 0, 2, 0, 2, 0, 0, 0, 2}, {3, 4, 5}};
    const auto axes = axesOf(lattice);
    ASSERT_TRUE(axes);
    EXPECT_EQ((*axes)[0].direction(), 2U);
    EXPECT_EQ((*axes)[1].direction(), 0U);
    EXPECT_EQ((*axes)[2].direction(), 1U);
    expectConsistent((*axes)[0], 4, -0.5, false);
    expectConsistent((*axes)[1], 3, 2, false);
    expectConsistent((*axes)[2], 1, 1, false);
}

TEST(LatticeAxes, OfDirectionsWithOnePointTakeWhatIsLeft) {
    const Lattice plane{{0, 7, 0.5, 1, 0, 7, 0, 2, 0.5, 7, 0, 3, 0, 0, 0, 1}, {10, 1, 20}};
    const auto axes = axesOf(plane);
    ASSERT_TRUE(axes);
    EXPECT_EQ((*axes)[0].direction(), 2U);
    EXPECT_EQ((*axes)[1].count(), 1);
    EXPECT_EQ((*axes)[1].ticks(0, 1).at(0), 2);
    EXPECT_EQ((*axes)[2].direction(), 0U);
}

TEST(LatticeAxes, HaveTheRoundingOfARightAngle) {
    const double c = std::cos(std::numbers::pi / 2);
    ASSERT_NE(c, 0);
    const Lattice turned{{c, -1, 0, -8, 1, c, 0, -8, 0, 0, 1, 1, 0, 0, 0, 1}, {17, 17, 17}};
    EXPECT_TRUE(axesOf(turned));
}

TEST(LatticeAxes, AreNoneOfObliqueLattices) {
    const Lattice turned{{1, -1e-9, 0, -8, 1e-9, 1, 0, -8, 0, 0, 1, 1, 0, 0, 0, 1}, {17, 17, 17}};
    EXPECT_FALSE(axesOf(turned));
    // Two directions along x.
    const Lattice flat{{1, 2, 0, -8, 0, 0, 0, -8, 0, 0, 1, 1, 0, 0, 0, 1}, {17, 17, 17}};
    EXPECT_FALSE(axesOf(flat));
}

}  // namespace
