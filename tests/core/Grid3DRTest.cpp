// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/Grid3DR.h"

#include <gtest/gtest.h>

#include <array>

namespace {

using Values = std::array<double, 16>;

constexpr Values identity{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
constexpr Values oblique{0.1,  -0.7, 0.3, 5.5,   0.9, 0.2, -0.4, -1.25,
                         0.35, 0.6,  1.7, 0.125, 0,   0,   0,    1};

template <class T>
void expectPosition(const Vector<T, 3>& p, double x, double y, double z) {
    EXPECT_EQ(p[0], static_cast<T>(x));
    EXPECT_EQ(p[1], static_cast<T>(y));
    EXPECT_EQ(p[2], static_cast<T>(z));
}

TEST(Grid3DR, CountsItsPositions) {
    EXPECT_EQ(Grid3DR<double>(identity.data(), 2, 3, 4).nbPositions(), 24U);
    EXPECT_EQ(Grid3DR<double>(identity.data(), 65536, 65537, 1).nbPositions(), 65536U);  // wraps
}

TEST(Grid3DR, NumbersPointsXFastestThenYThenZ) {
    const Grid3DR<double> grid(identity.data(), 3, 4, 5);
    for (int i = 0; i < 60; ++i) expectPosition(grid.getPosition(i), i % 3, i / 3 % 4, i / 12);
}

TEST(Grid3DR, AnIndexPastTheEndLiesBeyondTheLastLayer) {
    const Grid3DR<double> grid(identity.data(), 3, 4, 5);
    expectPosition(grid.getPosition(60), 0, 0, 5);
    expectPosition(grid.getPosition(73), 1, 0, 6);
}

TEST(Grid3DR, PlacesPointsByRowsOfTheTransform) {
    const Grid3DR<double> grid(oblique.data(), 3, 4, 5);
    const Vector<double, 3> p = grid.getPosition(2 + 3 * (3 + 4 * 4));
    EXPECT_EQ(p[0], ((5.5 + 0.1 * 2) + -0.7 * 3) + 0.3 * 4);
    EXPECT_EQ(p[1], ((-1.25 + 0.9 * 2) + 0.2 * 3) + -0.4 * 4);
    EXPECT_EQ(p[2], ((0.125 + 0.35 * 2) + 0.6 * 3) + 1.7 * 4);
}

TEST(Grid3DR, LastElementDividesTranslationIncluded) {
    Values halving = oblique;
    halving[15] = 2;
    const Grid3DR<double> grid(oblique.data(), 3, 4, 5);
    const Grid3DR<double> halved(halving.data(), 3, 4, 5);
    for (int i = 0; i < 60; ++i) {
        const Vector<double, 3> p = grid.getPosition(i);
        expectPosition(halved.getPosition(i), p[0] / 2, p[1] / 2, p[2] / 2);
    }
}

TEST(Grid3DR, RestOfTheBottomRowChangesNothing) {
    Values projective = oblique;
    projective[12] = 7;
    projective[13] = -3;
    projective[14] = 0.5;
    const Grid3DR<double> grid(oblique.data(), 3, 4, 5);
    const Grid3DR<double> other(projective.data(), 3, 4, 5);
    for (int i = 0; i < 60; ++i) {
        const Vector<double, 3> p = grid.getPosition(i);
        expectPosition(other.getPosition(i), p[0], p[1], p[2]);
    }
}

TEST(Grid3DR, OfOnePointHasTheTranslationOverTheLastElement) {
    Values transform = oblique;
    transform[15] = 4;
    const Grid3DR<double> grid(transform.data(), 1, 1, 1);
    ASSERT_EQ(grid.nbPositions(), 1U);
    expectPosition(grid.getPosition(0), 5.5 / 4, -1.25 / 4, 0.125 / 4);
}

TEST(Grid3DR, WorksInFloatThroughout) {
    const Grid3DR<float> grid(oblique.data(), 3, 4, 5);
    const Vector<float, 3> p = grid.getPosition(1);
    EXPECT_EQ(p[1], ((-1.25F + 0.9F * 1) + 0.2F * 0) + -0.4F * 0);
}

TEST(Grid3DR, HoldsTheInverseOfItsTransform) {
    Values translation = identity;
    translation[3] = 2;
    const Grid3DR<double> grid(translation.data(), 1, 1, 1);
    EXPECT_EQ(grid.getInverseTransform()(0, 3), -2);
}

TEST(Grid3DR, IsReachedThroughTheAbstractGrid) {
    const Grid3DR<double> grid(identity.data(), 2, 2, 2);
    const Grid<double>& abstract = grid;
    EXPECT_EQ(abstract.nbPositions(), 8U);
    expectPosition(abstract.getPosition(7), 1, 1, 1);
}

}  // namespace
