// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/reducedAngles.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>

#include "reference/Quad.h"

// Of single lanes, as a GPU's threads are; those of packs are tested with sinCos.h.

namespace {

constexpr unsigned seed = 20261123;

template <class T>
class SingleLanesTest : public testing::Test {
  protected:
    static constexpr T limit = lanes::detail::reducible<T>;

    static lanes::SinCos<T> sinCos(T angle) {
        return lanes::sinCos(lanes::detail::fastReduction(angle));
    }

    /// Holds the sine and the cosine to their bound.
    void expectAccurate(T angle) {
        Quad sine = 0;
        Quad cosine = 0;
        sincosq(angle, &sine, &cosine);
        const lanes::SinCos<T> found = sinCos(angle);
        constexpr T unit = std::numeric_limits<T>::epsilon() / 2;
        for (const Quad difference : {found.sine - sine, found.cosine - cosine}) {
            const double error = std::fabs(static_cast<double>(difference / unit));
            largest = std::fmax(
                largest, std::isnan(error) ? std::numeric_limits<double>::infinity() : error);
        }
    }

    void TearDown() override {
        this->RecordProperty("largest_error", std::to_string(largest));
        EXPECT_LE(largest, 2);
    }

    std::mt19937_64 random{seed};

  private:
    double largest = 0;
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(SingleLanesTest, Precisions, );

TYPED_TEST(SingleLanesTest, AreWithinTwoRoundingsUpToTheLimit) {
    std::uniform_real_distribution<double> exponent(-30, std::log2(this->limit));
    for (int i = 0; i < 100000; ++i) {
        const auto angle = static_cast<TypeParam>(std::exp2(exponent(this->random)));
        this->expectAccurate(i % 2 == 0 ? angle : -angle);
    }
    this->expectAccurate(this->limit);
    this->expectAccurate(-this->limit);
}

TYPED_TEST(SingleLanesTest, AreWithinTwoRoundingsBesideMultiplesOfAnEighthTurn) {
    const double last = static_cast<double>(this->limit) * 4 / std::numbers::pi;
    std::uniform_real_distribution<double> multiple(0, last);
    for (int i = 0; i < 40000; ++i) {
        const double times = i < 20000 ? i : std::floor(multiple(this->random));
        const auto angle = static_cast<TypeParam>(static_cast<Quad>(times) * reference::pi / 4);
        for (const TypeParam beside : {-this->limit, this->limit})
            this->expectAccurate(std::nextafter(angle, beside));
        this->expectAccurate(angle);
    }
}

TYPED_TEST(SingleLanesTest, AreNoNumbersOfNan) {
    const auto [sine, cosine] = this->sinCos(std::numeric_limits<TypeParam>::quiet_NaN());
    EXPECT_TRUE(std::isnan(sine));
    EXPECT_TRUE(std::isnan(cosine));
}

}  // namespace
