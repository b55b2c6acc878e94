// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <array>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <vector>

#include "FastNearfield/RectangularPiston2.h"
#include "parallel/threads.h"

namespace {

/// Rounds in every coordinate.
constexpr std::array<double, 16> transform{2e-4, 5e-5,  -3e-5, -6e-3, -4e-5, 2.4e-4, 6e-5, -5e-3,
                                           3e-5, -2e-5, 4e-4,  -1e-3, 0,     0,      0,    2};

template <class T>
struct PistonThreadsTest : testing::Test {
    ~PistonThreadsTest() override { pistonfield::useThreads(0); }

    /// The field of a lattice whose rows no piece is a multiple of.
    std::vector<std::complex<T>> box(unsigned threads) const {
        pistonfield::useThreads(threads);
        std::vector<std::complex<T>> field(37 * 23 * 11);
        piston.computeBox(field.data(), transform.data(), {{3, -1, 5}, {37, 23, 11}});
        return field;
    }

    std::vector<T> halves(unsigned threads) const {
        pistonfield::useThreads(threads);
        std::vector<T> field(2 * 37 * 23 * 11);
        piston.computeCPU<T, T>(field.data(), field.data() + field.size() / 2,
                                Grid3DR<T>(transform.data(), 37, 23, 11));
        return field;
    }

    template <class Field>
    static void expectSame(const Field& one, const Field& other) {
        ASSERT_EQ(one.size(), other.size());
        EXPECT_EQ(std::memcmp(one.data(), other.data(), one.size() * sizeof one[0]), 0);
    }

    RectangularPistonCuda2 piston{5e-3, 7.5e-3, 4188.79};  // of order 100
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(PistonThreadsTest, Precisions);

TYPED_TEST(PistonThreadsTest, ChangeNoBitOfABox) {
    const auto one = this->box(1);
    for (const unsigned threads : {2U, 3U, 5U, 64U}) this->expectSame(this->box(threads), one);
}

TYPED_TEST(PistonThreadsTest, ChangeNoBitOfAGrid) {
    const auto one = this->halves(1);
    for (const unsigned threads : {2U, 3U, 5U, 64U}) this->expectSame(this->halves(threads), one);
}

TYPED_TEST(PistonThreadsTest, AreAskedForWhereTheyAreWorthTheirWhile) {
    setenv("PISTONFIELD_THREADS", "none", 1);
    EXPECT_THROW(this->box(0), std::runtime_error);
    EXPECT_THROW(this->halves(0), std::runtime_error);
    std::complex<TypeParam> value;
    EXPECT_NO_THROW(this->piston.computeBox(&value, transform.data(), {{0, 0, 0}, {1, 1, 1}}));
    unsetenv("PISTONFIELD_THREADS");
}

}  // namespace
