// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RectangleField.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

#include "EdgeIntegrals.h"
#include "reference/SurfaceIntegral.h"

namespace {

using edge_integrals::Position;
using pistonfield::ErrorLimit;
using pistonfield::Face;
using pistonfield::GroupPoints;
using pistonfield::groupSize;
using pistonfield::GroupValues;
using pistonfield::RectangleField;

constexpr unsigned seed = 20261123;

TEST(EdgeIntegrals, AreThoseOfTheSurface) {
    Random random(seed);
    for (int i = 0; i < 10; ++i) {
        const Face face = edge_integrals::randomFace(random, 10);
        const Position at{30 * random.between(0, 1), 30 * random.between(0, 1),
                          random.magnitude(0, 2)};
        const auto expected =
            reference::surfacePressure({2 * face.halfX, 2 * face.halfY}, {at.x, at.y, at.z}, 1);
        EXPECT_LE(std::abs(edge_integrals::pressure(face, at) - expected), 1e-13L);
    }
}

TEST(ErrorLimit, IsTheLesserOfTheFixedAndTheLocalOne) {
    constexpr ErrorLimit limit{0.5, 2, 1};
    EXPECT_EQ(limit.at(0), 0.5);
    EXPECT_EQ(limit.at(4), 0.5);
    EXPECT_EQ(limit.at(8), 0.25);
    constexpr ErrorLimit nearby{5, 2, 1};
    EXPECT_EQ(nearby.at(0.1), 2);
    EXPECT_EQ(nearby.at(0.8), 2);
    EXPECT_EQ((ErrorLimit{0.5}).at(1e9), 0.5);
}

template <class T>
struct RectangleFieldTest : testing::Test {
    static constexpr bool isDouble = sizeof(T) == 8;
    static constexpr double leastTolerance = isDouble ? -10 : -4;

    /// Expects a tolerance of the local amplitude to be kept.
    static void expectKept(Random& random, const Face& face, const GroupPoints& points) {
        const double tolerance = random.magnitude(leastTolerance, -1);
        const double amplitude = edge_integrals::leastAmplitude(face, points);
        const RectangleField<T> field(face);
        GroupValues<T> values;
        const int evaluations = field.compute(points, {tolerance * amplitude}, values);
        EXPECT_GT(evaluations, 0);
        const double rounding =
            std::numeric_limits<T>::epsilon() / 2.0 * (24 + 0.15 * (face.halfX + face.halfY));
        const double phase = std::numeric_limits<double>::epsilon() * 2 * points.place.reach;
        EXPECT_LE(edge_integrals::largestError(face, points, values),
                  (tolerance + rounding + phase) * amplitude)
            << "tolerance " << tolerance << ", half sides " << face.halfX << ", " << face.halfY
            << ", first point " << points.x[0] << ", " << points.y[0] << ", " << points.z[0]
            << ", last point " << points.x[groupSize - 1] << ", " << points.y[groupSize - 1] << ", "
            << points.z[groupSize - 1];
    }
};
using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(RectangleFieldTest, Precisions);

TYPED_TEST(RectangleFieldTest, KeepsAToleranceAtPointsOfAllKinds) {
    Random random(seed);
    for (int i = 0; i < 60; ++i) {
        const Face face = edge_integrals::randomFace(random, 200);
        const auto about = [&](double half) {
            return coordinate(random, static_cast<Place>(random.below(places)), half, 1);
        };
        const Position from{about(face.halfX), about(face.halfY),
                            i % 4 == 0 ? 0 : random.magnitude(-6, 3)};
        const Position step{random.magnitude(-3, 0), i % 3 == 0 ? random.magnitude(-3, 0) : 0, 0};
        this->expectKept(random, face, edge_integrals::groupAlong(from, step));
        if (this->HasFailure()) return;
    }
}

// Some points of the group take the edges and the others the formula of points beside the face.
TYPED_TEST(RectangleFieldTest, KeepsAToleranceAcrossTheBordersOfItsFormulas) {
    Random random(seed);
    for (int i = 0; i < 40; ++i) {
        const Face face = edge_integrals::randomFace(random, 200);
        const double border = Face::besideHalfSides * face.halfX;
        const double step = border / 10 * random.magnitude(-3, 0);
        const GroupPoints points = edge_integrals::groupAlong(
            {border - 15 * step * random.between(0.1, 0.9), face.halfY * random.between(0, 11),
             i % 4 == 0 ? 0 : face.halfX * random.magnitude(-3, 2)},
            {step, 0, 0});
        ASSERT_TRUE(face.hasBeside(points.x[groupSize - 1], points.y[groupSize - 1]));
        ASSERT_FALSE(face.hasBeside(points.x[0], points.y[0]));
        this->expectKept(random, face, points);
        if (this->HasFailure()) return;
    }
}

// Each of these is beside the face, and the box around them has the face in it.
TYPED_TEST(RectangleFieldTest, KeepsAToleranceOfAGroupAllAroundTheFace) {
    Random random(seed);
    const Face face{0.3, 0.3};
    GroupPoints points;
    for (int i = 0; i < groupSize; ++i) {
        points.x[i] = 6.3 * (i % 3);
        points.y[i] = 6.3 * (i / 4 % 3) + (i % 3 == 0 ? 6.3 : 0);
        points.z[i] = 1;
    }
    findPlace(points, 1);
    this->expectKept(random, face, points);
}

// The integrand is largest next to the foot, which may be anywhere along a face that is longer than
// all phases have digits.
TYPED_TEST(RectangleFieldTest, KeepsDigitsBesideThinFaces) {
    Random random(seed);
    for (int i = 0; i < 60; ++i) {
        const double length = random.magnitude(0, 2.3);
        const double width = length / random.magnitude(1.4, 5);
        const Face face = i % 2 == 0 ? Face{length, width} : Face{width, length};
        const double along = length * (i % 3 == 0 ? random.magnitude(-1, 1) : random.between(0, 1));
        const double across = width * Face::besideHalfSides * random.magnitude(0.01, 1.5);
        const double z = i % 3 == 0 ? 0 : width * random.magnitude(-1, 3);
        const Position at = i % 2 == 0 ? Position{along, across, z} : Position{across, along, z};
        const GroupPoints points = edge_integrals::groupAlong(at, {0, 0, 0});
        const double amplitude = edge_integrals::leastAmplitude(face, points);
        const double tolerance = this->isDouble ? 1e-13 : 1e-7;
        GroupValues<TypeParam> values;
        RectangleField<TypeParam>(face).compute(points, {tolerance * amplitude}, values);
        const double rounding =
            std::numeric_limits<TypeParam>::epsilon() / 2.0 * (32 + 0.3 * (length + width));
        const double phase = std::numeric_limits<double>::epsilon() * 2 * points.place.reach;
        EXPECT_LE(edge_integrals::largestError(face, points, values),
                  (tolerance + rounding + phase) * amplitude)
            << "half sides " << face.halfX << ", " << face.halfY << ", at " << at.x << ", " << at.y
            << ", " << at.z;
    }
}

TYPED_TEST(RectangleFieldTest, HasItsValueOnEdgesAndCorners) {
    Random random(seed);
    const Face face{3, 5};
    for (const Position& at :
         {Position{3, 5, 0}, {3, 0, 0}, {0, 5, 0}, {3, 5, 2}, {3, 1, 7}, {0, 0, 0}})
        this->expectKept(random, face, edge_integrals::groupAlong(at, {0, 0, 0}));
}

}  // namespace
