// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/MMatrix.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using Matrix = MMatrix<double, 4, true>;

Matrix identity() {
    Matrix m;
    for (int i = 0; i < 4; ++i) m(i, i) = 1;
    return m;
}

Matrix randomMatrix(std::mt19937& generator) {
    std::uniform_real_distribution<double> element(-2, 2);
    Matrix m;
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) m(r, c) = element(generator);
    return m;
}

/// The determinant of an n by n matrix as a sum over permutations, in extended precision.
long double leibniz(const std::vector<std::vector<long double>>& m, std::vector<int> taken = {}) {
    const std::size_t row = taken.size();
    if (row == m.size()) return 1;
    long double sum = 0;
    for (int c = 0; c < static_cast<int>(m.size()); ++c) {
        int larger = 0;
        bool used = false;
        for (const int t : taken) {
            used = used || t == c;
            larger += t > c ? 1 : 0;
        }
        if (used) continue;
        std::vector<int> next = taken;
        next.push_back(c);
        sum += (larger % 2 == 1 ? -1 : 1) * m[row][static_cast<std::size_t>(c)] * leibniz(m, next);
    }
    return sum;
}

std::vector<std::vector<long double>> without(const Matrix& m, int row, int column) {
    std::vector<std::vector<long double>> kept;
    for (int r = 0; r < 4; ++r) {
        if (r == row) continue;
        kept.emplace_back();
        for (int c = 0; c < 4; ++c)
            if (c != column) kept.back().push_back(m(r, c));
    }
    return kept;
}

TEST(MMatrix, KeepsSixteenValuesRowByRow) {
    std::vector<double> values;
    for (int i = 0; i < 16; ++i) values.push_back(i);
    const Matrix m(values.data());
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(m(r, c), 4 * r + c);
}

TEST(MMatrix, ConvertsItsValuesToItsOwnPrecision) {
    const std::vector<double> values(16, 0.1);
    const MMatrix<float, 4, true> m(values.data());
    EXPECT_EQ(m(2, 3), 0.1F);
}

TEST(MMatrix, MinorsAndDeterminantAgreeWithTheSumOverPermutations) {
    std::mt19937 generator(1);
    for (int repeat = 0; repeat < 100; ++repeat) {
        const Matrix m = randomMatrix(generator);
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c)
                EXPECT_NEAR(m.subDeterminant(r, c), static_cast<double>(leibniz(without(m, r, c))),
                            1e-13);
        EXPECT_NEAR(m.determinant(), static_cast<double>(leibniz(without(m, -1, -1))), 1e-12);
    }
}

TEST(MMatrix, InverseTimesMatrixIsTheIdentity) {
    std::mt19937 generator(2);
    for (int repeat = 0; repeat < 100; ++repeat) {
        Matrix m = randomMatrix(generator);
        for (int i = 0; i < 4; ++i) m(i, i) += 5;  // well-conditioned
        const Matrix inverse = m.inverse();
        for (int r = 0; r < 4; ++r)
            for (int c = 0; c < 4; ++c) {
                double sum = 0;
                for (int i = 0; i < 4; ++i) sum += m(r, i) * inverse(i, c);
                EXPECT_NEAR(sum, r == c ? 1 : 0, 1e-13);
            }
    }
}

TEST(MMatrix, InverseOfTheIdentityIsTheIdentity) {
    const Matrix inverse = identity().inverse();
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_EQ(inverse(r, c), r == c ? 1 : 0);
}

TEST(MMatrix, InverseOfATranslationIsTheOppositeTranslation) {
    Matrix m = identity();
    m(0, 3) = 2;
    m(1, 3) = -3;
    m(2, 3) = 0.5;
    const Matrix inverse = m.inverse();
    EXPECT_EQ(inverse(0, 3), -2);
    EXPECT_EQ(inverse(1, 3), 3);
    EXPECT_EQ(inverse(2, 3), -0.5);
    EXPECT_EQ(inverse(3, 3), 1);
}

TEST(MMatrix, ZeroBottomRowIsSingularAndInvertsToNonFiniteElements) {
    Matrix m = identity();
    m(3, 3) = 0;
    EXPECT_EQ(m.determinant(), 0);
    const Matrix inverse = m.inverse();
    for (int r = 0; r < 4; ++r)
        for (int c = 0; c < 4; ++c) EXPECT_FALSE(std::isfinite(inverse(r, c)));
}

TEST(MMatrix, DeterminantSkipsZerosOfTheBottomRowButNotNaN) {
    Matrix m = identity();
    m(0, 0) = std::numeric_limits<double>::infinity();
    m(3, 3) = 0;
    EXPECT_EQ(m.determinant(), 0);  // 0 * infinity would be NaN
    m(3, 0) = std::numeric_limits<double>::quiet_NaN();
    EXPECT_TRUE(std::isnan(m.determinant()));
}

TEST(MMatrix, MinorOfTheLastElementIsTheUpperLeftBlock) {
    EXPECT_EQ(identity().subDeterminant(3, 3), 1);
    EXPECT_EQ((MMatrix<float, 4, true>(identity().data()).subDeterminant(3, 3)), 1.0F);
}

}  // namespace
