// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/exponential.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <string>
#include <vector>

#include "LanesTest.h"
#include "reference/Quad.h"
#include "tests/support/RandomPoints.h"

namespace {

/// The largest errors, in units in the last place.
constexpr double boundOfValue = 2;
constexpr double boundOfLessOne = 2;

/// An error in units of the last place of what it should be.
double unitsOf(double got, Quad exact) {
    int exponent = 0;
    (void)std::frexp(static_cast<double>(exact), &exponent);
    const double unit = std::ldexp(1.0, exponent - 53);
    return std::fabs(static_cast<double>((got - exact) / static_cast<Quad>(unit)));
}

class ExponentialTest : public LanesTest<double> {
  protected:
    struct Values {
        std::vector<double> value;
        std::vector<double> lessOne;
    };

    static Values exponentials(const PackOperations<double>& pack, std::vector<double> powers) {
        const std::size_t count = powers.size();
        const auto lanes = static_cast<std::size_t>(pack.lanes);
        powers.resize((count + lanes - 1) / lanes * lanes);
        Values values{powers, powers};
        for (std::size_t first = 0; first < powers.size(); first += lanes)
            pack.exponential(&powers[first], &values.value[first], &values.lessOne[first]);
        return values;
    }

    void expectAccurate(const std::vector<double>& powers) {
        double worstOfValue = 0;
        double worstOfLessOne = 0;
        forEachPack([&](const PackOperations<double>& pack) {
            const Values values = exponentials(pack, powers);
            for (std::size_t i = 0; i < powers.size(); ++i) {
                const Quad x = powers[i];
                worstOfValue = larger(worstOfValue, unitsOf(values.value[i], expq(x)));
                worstOfLessOne = larger(worstOfLessOne, unitsOf(values.lessOne[i], expm1q(x)));
            }
        });
        RecordProperty("largest_error_of_value", std::to_string(worstOfValue));
        RecordProperty("largest_error_of_less_one", std::to_string(worstOfLessOne));
        EXPECT_LE(worstOfValue, boundOfValue);
        EXPECT_LE(worstOfLessOne, boundOfLessOne);
    }

  private:
    /// A NaN is larger than all.
    static double larger(double a, double b) { return b <= a ? a : b; }
};

TEST_F(ExponentialTest, IsWithinItsBoundAtPowersOfEveryMagnitude) {
    Random random(20261122);
    std::vector<double> powers;
    for (int i = 0; i < 40000; ++i)
        powers.push_back(random.sign() * random.magnitude(-30, std::log10(700)));
    expectAccurate(powers);
}

TEST_F(ExponentialTest, IsWithinItsBoundAllOverTheFirstPowersOfTwo) {
    std::vector<double> powers;
    constexpr int steps = 40000;
    for (int i = -steps; i <= steps; ++i) powers.push_back(3.0 * i / steps);
    expectAccurate(powers);
}

TEST_F(ExponentialTest, IsWithinItsBoundWhereTheReductionTurnsToTheNextMultiple) {
    std::vector<double> powers;
    for (int multiple = -1009; multiple <= 1008; ++multiple) {
        const double between = (multiple + 0.5) * 0x1.62e42fefa39efp-1;
        for (double power : {std::nextafter(between, -1e3), between, std::nextafter(between, 1e3)})
            if (std::fabs(power) <= 700) powers.push_back(power);
    }
    expectAccurate(powers);
}

TEST_F(ExponentialTest, LessOneOfTheSmallestPowersIsThePowerItself) {
    const std::vector<double> powers{0, -0.0, 1e-300, -1e-300, 1e-20, -1e-20, 0x1p-1060};
    forEachPack([&](const PackOperations<double>& pack) {
        const Values values = exponentials(pack, powers);
        for (std::size_t i = 0; i < powers.size(); ++i) {
            EXPECT_EQ(values.value[i], 1);
            EXPECT_EQ(values.lessOne[i], powers[i]);
        }
    });
}

TEST_F(ExponentialTest, OfPowersBeyondItsRangeIsThatOfItsEnds) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double largest = std::numeric_limits<double>::max();
    const std::vector<double> powers{700, 700.0001, 1e4, largest, infinity};
    forEachPack([&](const PackOperations<double>& pack) {
        const Values high = exponentials(pack, powers);
        std::vector<double> negative(powers);
        for (double& power : negative) power = -power;
        const Values low = exponentials(pack, negative);
        for (std::size_t i = 0; i < powers.size(); ++i) {
            EXPECT_EQ(high.value[i], high.value[0]) << powers[i];
            EXPECT_EQ(high.lessOne[i], high.lessOne[0]) << powers[i];
            EXPECT_EQ(low.value[i], low.value[0]) << powers[i];
            EXPECT_EQ(low.lessOne[i], -1) << powers[i];
        }
        EXPECT_LE(unitsOf(high.value[0], expq(700)), boundOfValue);
        EXPECT_LE(unitsOf(low.value[0], expq(-700)), boundOfValue);
    });
}

TEST_F(ExponentialTest, OfNanIsNan) {
    forEachPack([&](const PackOperations<double>& pack) {
        const Values values = exponentials(pack, {std::numeric_limits<double>::quiet_NaN(), 1});
        EXPECT_TRUE(std::isnan(values.value[0]));
        EXPECT_TRUE(std::isnan(values.lessOne[0]));
        EXPECT_FALSE(std::isnan(values.value[1]));
    });
}

}  // namespace
