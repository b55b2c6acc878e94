// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/Foci.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "arrays/BowlArray.h"
#include "arrays/elementPressures.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::Element;
using pistonfield::Foci;
using pistonfield::FociWeights;
using pistonfield::Wave;
using pistonfield::weightsOf;
using Complex = std::complex<double>;
using Weights = std::vector<Complex>;

const Wave wave{2 * std::numbers::pi};

std::vector<Element> array() {
    return elementsOf(pistonfield::BowlSpiral{
        .bowl = {.radius = 60, .aperture = 60}, .elements = 96, .width = 3, .height = 3});
}

/// Four foci of different phases.
Foci foci() {
    Foci four;
    four.points = {{3, -3, 0, 0}, {0, 0, 4, -4}, {60, 60, 62, 58}};
    four.pressures = {{5, 0}, {0, 5}, {-4, 1}, {3, -3}};
    return four;
}

Weights pressuresOf(const Weights& weights, const Foci& at) {
    const auto each = elementPressures(array(), wave, at.points, 1e-10);
    Weights sums(at.pressures.size());
    for (std::size_t p = 0; p < sums.size(); ++p)
        for (std::size_t i = 0; i < weights.size(); ++i)
            sums[p] += each[p * weights.size() + i] * weights[i];
    return sums;
}

double largestOf(const Weights& values) {
    double largest = 0;
    for (const Complex& value : values) largest = std::max(largest, std::abs(value));
    return largest;
}

double squareOf(const Weights& values) {
    double square = 0;
    for (const Complex& value : values) square += std::norm(value);
    return square;
}

double efficiencyOf(const Weights& weights) {
    return squareOf(weights) /
           (static_cast<double>(weights.size()) * std::pow(largestOf(weights), 2));
}

TEST(Foci, HaveThePressuresThatAreDemanded) {
    const Foci four = foci();
    const FociWeights found = weightsOf(four, array(), wave);
    ASSERT_EQ(found.weights.size(), 96);
    const Weights pressures = pressuresOf(found.weights, four);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_LT(std::abs(pressures[i] - four.pressures[i]), 1e-6 * 5);
    EXPECT_EQ(found.dropped, 0);
    EXPECT_LT(found.residual, 1e-12);
    EXPECT_EQ(found.scale, 1);
    EXPECT_EQ(found.iterations, 0);
    EXPECT_NEAR(found.efficiency, efficiencyOf(found.weights), 1e-14);
}

/// Whatever leaves the pressures as they are, and is taken from elsewhere, only adds to the norm.
TEST(Foci, TakeWeightsOfTheLeastNorm) {
    const Foci four = foci();
    const Weights least = weightsOf(four, array(), wave).weights;
    std::mt19937 bits(5);
    std::normal_distribution<double> number;
    for (int i = 0; i < 20; ++i) {
        Weights other;
        for (std::size_t e = 0; e < least.size(); ++e)
            other.emplace_back(number(bits), number(bits));
        // What the other one has there is taken from it again.
        Foci back = four;
        back.pressures = pressuresOf(other, four);
        const Weights correction = weightsOf(back, array(), wave).weights;
        Weights sum = least;
        Complex product;
        for (std::size_t e = 0; e < least.size(); ++e) {
            sum[e] += 0.1 * (other[e] - correction[e]);
            product += std::conj(least[e]) * (other[e] - correction[e]);
        }
        const Weights pressures = pressuresOf(sum, four);
        for (std::size_t p = 0; p < 4; ++p)
            EXPECT_LT(std::abs(pressures[p] - four.pressures[p]), 1e-5);
        EXPECT_GT(squareOf(sum), squareOf(least));
        EXPECT_LT(std::abs(product), 1e-6 * std::sqrt(squareOf(least) * squareOf(other)));
    }
}

TEST(Foci, OfOnePointAreItsConjugatePressures) {
    Foci one;
    one.points = {{2}, {1}, {55}};
    one.pressures = {{0, 7}};
    const Weights weights = weightsOf(one, array(), wave).weights;
    const Weights each = elementPressures(array(), wave, one.points, 1e-8);
    for (std::size_t i = 0; i < each.size(); ++i)
        EXPECT_LT(std::abs(weights[i] - std::conj(each[i]) * Complex(0, 7) / squareOf(each)),
                  1e-14);
}

TEST(Foci, AreScaledToTheDrive) {
    Foci four = foci();
    const FociWeights free = weightsOf(four, array(), wave);
    four.largestWeight = 0.25;
    const FociWeights limited = weightsOf(four, array(), wave);
    EXPECT_NEAR(largestOf(limited.weights), 0.25, 1e-15);
    EXPECT_NEAR(limited.scale, 0.25 / largestOf(free.weights), 1e-14);
    for (std::size_t i = 0; i < free.weights.size(); ++i)
        EXPECT_LT(std::abs(limited.weights[i] - limited.scale * free.weights[i]), 1e-14);
    EXPECT_LT(limited.residual, 1e-12);
}

TEST(Foci, AreDrivenEvenlyByIterations) {
    Foci four = foci();
    const double before = weightsOf(four, array(), wave).efficiency;
    four.iterations = 100;
    const FociWeights found = weightsOf(four, array(), wave);
    EXPECT_GT(found.iterations, 0);
    EXPECT_LT(before, 0.6);
    EXPECT_GT(found.efficiency, 0.98);
    EXPECT_LE(found.efficiency, 1);
    EXPECT_NEAR(found.efficiency, efficiencyOf(found.weights), 1e-14);
    const Weights pressures = pressuresOf(found.weights, four);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_LT(std::abs(pressures[i] - four.pressures[i]), 1e-6 * 5);
    four.iterations = 1;
    const FociWeights once = weightsOf(four, array(), wave);
    EXPECT_EQ(once.iterations, 1);
    EXPECT_GT(once.efficiency, before);
}

/// Two points that the array can hardly tell apart, with opposite pressures.
TEST(Foci, DropSmallSingularValues) {
    Foci two;
    two.points = {{0, 1e-3}, {0, 0}, {60, 60}};
    two.pressures = {1, -1};
    const FociWeights all = weightsOf(two, array(), wave);
    EXPECT_EQ(all.dropped, 0);
    EXPECT_LT(all.leastKept, 0.01);
    EXPECT_LT(all.residual, 1e-6);
    two.leastRatio = 0.01;
    const FociWeights some = weightsOf(two, array(), wave);
    EXPECT_EQ(some.dropped, 1);
    EXPECT_EQ(some.leastKept, 1);
    EXPECT_GT(some.residual, 0.9);
    EXPECT_LT(largestOf(some.weights), 1e-3 * largestOf(all.weights));
}

TEST(Foci, ThatAreNoneAreRefused) {
    const auto with = [](auto change) {
        Foci four = foci();
        change(four);
        return refused([&] { weightsOf(four, array(), wave); });
    };
    EXPECT_EQ(with([](Foci& f) { f.points = {}; }), "points: 0 are not within 1 to 256");
    EXPECT_EQ(with([](Foci& f) { f.pressures.pop_back(); }),
              "pressures: 3 are not one for each of the 4 points");
    EXPECT_EQ(with([](Foci& f) { f.pressures[0] = HUGE_VAL; }),
              "pressures: every number must be finite");
    EXPECT_EQ(with([](Foci& f) { f.pressures.assign(4, 0); }), "pressures: all are 0");
    EXPECT_EQ(with([](Foci& f) { f.leastRatio = 1e-8; }), "leastRatio: must be within 1e-7 to 1");
    EXPECT_EQ(with([](Foci& f) { f.largestWeight = 0; }),
              "largestWeight: must be a number above 0");
    EXPECT_EQ(with([](Foci& f) { f.iterations = -1; }), "iterations: must be within 0 to 1000");
    EXPECT_EQ(with([](Foci& f) {
                  f.points = {{0, 0}, {0, 0}, {60, 60}};
                  f.pressures = {1, -1};
              }),
              "pressures: the array can make none of them");
    EXPECT_EQ(with([](Foci& f) { f.tolerance = 2; }), "tolerance: must be above 0 and below 1");
    EXPECT_EQ(with([](Foci& f) { f.points.y.pop_back(); }),
              "points: the three arrays must be of the same length");
}

}  // namespace
