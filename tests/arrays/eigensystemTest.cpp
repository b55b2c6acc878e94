// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/eigensystem.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <numbers>
#include <random>
#include <stdexcept>

namespace {

using pistonfield::Eigensystem;
using pistonfield::eigensystemOf;
using pistonfield::SquareMatrix;
using Complex = std::complex<double>;

/// The largest difference of a matrix from the sum of its parts, and of the products of the vectors
/// from those of an orthonormal basis.
double errorOf(const Eigensystem& system, const SquareMatrix& matrix) {
    double error = 0;
    for (std::size_t i = 0; i < matrix.rows(); ++i)
        for (std::size_t j = 0; j < matrix.rows(); ++j) {
            Complex sum;
            Complex product;
            for (std::size_t k = 0; k < matrix.rows(); ++k) {
                sum += system.values[k] * system.vectors(i, k) * std::conj(system.vectors(j, k));
                product += std::conj(system.vectors(k, i)) * system.vectors(k, j);
            }
            error = std::max(
                {error, std::abs(sum - matrix(i, j)), std::abs(product - (i == j ? 1.0 : 0.0))});
        }
    return error;
}

TEST(Eigensystem, MakesUpTheMatrix) {
    std::mt19937 bits(3);
    std::normal_distribution<double> number;
    for (const std::size_t rows : std::array<std::size_t, 6>{1, 2, 3, 7, 40, 100}) {
        SquareMatrix matrix(rows);
        for (std::size_t i = 0; i < rows; ++i)
            for (std::size_t j = 0; j <= i; ++j) {
                matrix(i, j) = {number(bits), i == j ? 0 : number(bits)};
                matrix(j, i) = std::conj(matrix(i, j));
            }
        EXPECT_LT(errorOf(eigensystemOf(matrix), matrix), 1e-12) << rows;
    }
}

/// Those of a circulant matrix are known: with the row c they are the sums of c_j*exp(2pi*i*j*k/n).
TEST(Eigensystem, HasTheValuesOfACirculantMatrix) {
    constexpr std::size_t n = 9;
    const std::array<Complex, n> row{2, {1, 0.5}, 0, 0, {0, 0.25}, {0, -0.25}, 0, 0, {1, -0.5}};
    SquareMatrix matrix(n);
    std::vector<double> expected;
    for (std::size_t k = 0; k < n; ++k) {
        Complex sum;
        for (std::size_t j = 0; j < n; ++j) {
            matrix(k, (k + j) % n) = row[j];
            sum += row[j] * std::polar(1.0, 2 * std::numbers::pi * static_cast<double>(j * k) / n);
        }
        expected.push_back(sum.real());
    }
    auto values = eigensystemOf(matrix).values;
    std::sort(values.begin(), values.end());
    std::sort(expected.begin(), expected.end());
    for (std::size_t i = 0; i < n; ++i) EXPECT_NEAR(values[i], expected[i], 1e-14);
}

/// Equal values have any basis, and a matrix of rank 1 has one that is not 0.
TEST(Eigensystem, OfMatricesWithoutFullRank) {
    SquareMatrix ones(5);
    SquareMatrix none(3);
    for (std::size_t i = 0; i < 5; ++i)
        for (std::size_t j = 0; j < 5; ++j) ones(i, j) = 1;
    EXPECT_LT(errorOf(eigensystemOf(ones), ones), 1e-14);
    EXPECT_LT(errorOf(eigensystemOf(none), none), 1e-15);
}

TEST(Eigensystem, LooksAtEachRowAndIsLeftByWhatItThrows) {
    SquareMatrix matrix(40);
    for (std::size_t i = 0; i < 40; ++i)
        for (std::size_t j = 0; j < 40; ++j) matrix(i, j) = 1 / static_cast<double>(i + j + 1);
    int looks = 0;
    const auto values = eigensystemOf(matrix, [&looks] { ++looks; }).values;
    EXPECT_EQ(values, eigensystemOf(matrix).values);
    EXPECT_GE(looks, 2 * 40);
    EXPECT_EQ(looks % 40, 0);
    int left = 50;
    const auto leave = [&left] {
        if (--left == 0) throw std::runtime_error("enough");
    };
    EXPECT_THROW(eigensystemOf(matrix, leave), std::runtime_error);
}

}  // namespace
