// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/BrickField.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>

#include "EdgeIntegrals.h"

namespace {

using edge_integrals::Position;
using pistonfield::Brick;
using pistonfield::BrickField;
using pistonfield::BrickLimits;
using pistonfield::BrickPart;
using pistonfield::BrickWork;
using pistonfield::Face;

constexpr unsigned seed = 20261122;

BrickPart wholeOf(const Brick& brick) {
    return {{}, {brick[0].count, brick[1].count, brick[2].count}};
}

/// A brick from next to the face to far away; some on the face, across edges, or of one row.
Brick randomBrick(Random& random, const Face& face) {
    const auto along = [&](double half) {
        const double step = random.magnitude(-2, 0.5);
        const int count = random.below(5) == 0 ? 1 : 2 + static_cast<int>(random.below(40));
        const auto place = static_cast<Place>(random.below(places - 1));
        return pistonfield::Ticks{coordinate(random, place, half, 1), step, count};
    };
    const double z = random.below(5) == 0 ? 0 : random.magnitude(-2, 2.5);
    return {along(face.halfX),
            along(face.halfY),
            {z, random.magnitude(-2, 1), 1 + static_cast<int>(random.below(3))}};
}

template <class T>
struct BrickFieldTest : testing::Test {
    static constexpr double unit = std::numeric_limits<T>::epsilon() / 2.0;

    static BrickField<T> fieldOf(const Face& face, const Brick& brick) {
        return {face, {brick[0].step, brick[1].step}, {brick[0].count, brick[1].count}};
    }

    static std::complex<T> valueAt(const Brick& brick, const BrickWork<T>& work, int x, int y,
                                   int z) {
        const int number = (z * brick[1].count + y) * brick[0].count + x;
        const auto at = static_cast<std::size_t>(number);
        return {work.points.re[at], work.points.im[at]};
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(BrickFieldTest, Precisions);

TYPED_TEST(BrickFieldTest, KeepsATolerance) {
    Random random(seed);
    for (int i = 0; i < 120; ++i) {
        const Face face = edge_integrals::randomFace(random, 20);
        const Brick brick = randomBrick(random, face);
        const double tolerance = random.magnitude(sizeof(TypeParam) == 4 ? -4 : -10, -1);
        const BrickLimits limits{{tolerance}, {tolerance / 32}};
        const auto field = this->fieldOf(face, brick);
        BrickWork<TypeParam> work;
        field.compute(brick, wholeOf(brick), limits, work);
        // Of the local amplitude, which is 1 at most.
        const double rounding = this->unit * (24 + 0.15 * (face.halfX + face.halfY)) +
                                0x1p-51 * (std::abs(brick[2].at(brick[2].count)));
        for (int k = 0; k < 12; ++k) {
            const auto pick = [&](int axis) {
                return static_cast<int>(random.below(
                    static_cast<std::size_t>(brick[static_cast<std::size_t>(axis)].count)));
            };
            const int x = pick(0);
            const int y = pick(1);
            const int z = pick(2);
            const Position at{brick[0].at(x), brick[1].at(y), brick[2].at(z)};
            const auto value = this->valueAt(brick, work, x, y, z);
            const auto exact =
                edge_integrals::pressure(face, {std::abs(at.x), std::abs(at.y), std::abs(at.z)});
            const auto error =
                static_cast<double>(std::abs(edge_integrals::Complex(value) - exact));
            EXPECT_LE(error, tolerance * 33 / 32 + rounding)
                << "brick " << i << ", tolerance " << tolerance << ", half sides " << face.halfX
                << ", " << face.halfY << ", at " << at.x << ", " << at.y << ", " << at.z;
            EXPECT_GT(field.evaluationsOf(brick, {x, y, z}, limits), 0);
        }
        if (this->HasFailure()) return;
    }
}

// The lanes of a pack take as long when they are idle.
TYPED_TEST(BrickFieldTest, CountsWhatFillsUpPacks) {
    constexpr int lanes = 64 / sizeof(TypeParam);
    const BrickLimits limits{{1e-3}, {1e-4}};
    const BrickLimits noRounding{{1e-3}, {0}};  // points by themselves
    const auto evaluations = [&](const Face& face, const Brick& brick, const BrickLimits& within) {
        return this->fieldOf(face, brick).evaluationsOf(brick, {1, 0, 0}, within);
    };
    const auto rows = [](int count) {
        return Brick{{{1, 0.5, 32}, {1, 0.5, 1}, {9, 1e-6, count}}};
    };
    const Face face{9, 7};
    EXPECT_GT(evaluations(face, rows(1), limits), 1.5 * evaluations(face, rows(lanes), limits));
    const auto beside = [](int count) { return Brick{{{3, 1e-6, count}, {3, 0.5, 1}, {9, 1, 1}}}; };
    const Face small{0.1, 0.1};
    EXPECT_EQ(evaluations(small, beside(2), noRounding),
              8 * evaluations(small, beside(16), noRounding));
}

TYPED_TEST(BrickFieldTest, HasTheBitsOfTheWholeInEveryPart) {
    Random random(seed);
    for (int i = 0; i < 60; ++i) {
        const Face face = edge_integrals::randomFace(random, 20);
        const Brick brick = randomBrick(random, face);
        const BrickLimits limits{{1e-3}, {1e-4}};
        const auto field = this->fieldOf(face, brick);
        BrickWork<TypeParam> whole;
        field.compute(brick, wholeOf(brick), limits, whole);
        BrickPart part{};
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const auto count = static_cast<std::size_t>(brick[axis].count);
            part.first[axis] = static_cast<int>(random.below(count));
            const auto left = count - static_cast<std::size_t>(part.first[axis]);
            part.last[axis] = part.first[axis] + 1 + static_cast<int>(random.below(left));
        }
        BrickWork<TypeParam> work;
        field.compute(brick, part, limits, work);
        for (int z = part.first[2]; z < part.last[2]; ++z)
            for (int y = part.first[1]; y < part.last[1]; ++y)
                for (int x = part.first[0]; x < part.last[0]; ++x)
                    ASSERT_EQ(this->valueAt(brick, work, x, y, z),
                              this->valueAt(brick, whole, x, y, z))
                        << "brick " << i << ", point " << x << ", " << y << ", " << z;
    }
}

// Where lattices are fine points share nearly all of their evaluations.
TYPED_TEST(BrickFieldTest, SharesEvaluationsBetweenNeighbours) {
    const Face face{16, 24};
    const Brick fine{{{5, 0.25, 32}, {7, 0.25, 32}, {20, 1, 1}}};
    const Brick coarse{{{5, 0.25, 1}, {7, 0.25, 1}, {20, 1, 1}}};
    const BrickLimits limits{{1e-4}, {1e-5}};
    const double shared = this->fieldOf(face, fine).evaluationsOf(fine, {9, 20, 0}, limits);
    const double alone = this->fieldOf(face, coarse).evaluationsOf(coarse, {0, 0, 0}, limits);
    EXPECT_LT(shared, alone / 5);
}

// In single precision nothing is left of sums that cancel by more than it has digits: of edges far
// beside a small face, and of runs that are longer than the edges far before it.
TYPED_TEST(BrickFieldTest, KeepsDigitsFarFromSmallFaces) {
    const Face face{0.5, 0.5};
    for (const Brick& brick : {Brick{{{400, 1, 32}, {300, 1, 32}, {10, 1, 1}}},
                               Brick{{{0.05, 0.18, 32}, {0.1, 0.18, 32}, {2000, 1, 1}}}}) {
        const auto field = this->fieldOf(face, brick);
        const double reach = std::hypot(brick[0].at(31), brick[1].at(31), brick[2].at(0));
        const double amplitude = 2 * face.halfX * face.halfY / std::numbers::pi / reach;
        const double rounding = 32 * this->unit * amplitude;
        BrickWork<TypeParam> work;
        field.compute(brick, wholeOf(brick), {{rounding / 4}, {rounding / 4}}, work);
        for (int i = 0; i < 32; i += 5) {
            const auto value = this->valueAt(brick, work, i, 31 - i, 0);
            const auto exact = edge_integrals::pressure(
                face, {brick[0].at(i), brick[1].at(31 - i), brick[2].at(0)});
            EXPECT_LE(static_cast<double>(std::abs(edge_integrals::Complex(value) - exact)),
                      rounding + 0x1p-51 * reach * amplitude);
        }
    }
}

}  // namespace
