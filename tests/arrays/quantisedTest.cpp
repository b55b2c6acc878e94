// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/quantised.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>
#include <set>

#include "tests/support/Refused.h"

namespace {

using Complex = std::complex<double>;
using Weights = std::vector<Complex>;

constexpr double pi = std::numbers::pi;

Weights someWeights() {
    std::mt19937 bits(11);
    std::uniform_real_distribution<double> number(0, 1);
    Weights weights{0, 1, -1, {0, 1}, {0, -1}};
    for (int i = 0; i < 500; ++i) weights.push_back(std::polar(2 * number(bits), 7 * number(bits)));
    return weights;
}

/// The phases of weights that are not 0, in units of a step.
std::set<long> phasesOf(const Weights& weights, double step) {
    std::set<long> phases;
    for (const Complex& weight : weights) {
        const double steps = std::arg(weight) / step;
        EXPECT_NEAR(steps, std::round(steps), 1e-6);
        if (weight != 0.0) phases.insert(std::lround(steps));
    }
    return phases;
}

TEST(QuantisedPhases, AreAsManyAsTheBitsHaveAndTheNearest) {
    const Weights weights = someWeights();
    for (const int bits : {1, 2, 3, 8}) {
        const double step = 2 * pi / (1 << bits);
        const Weights rounded = pistonfield::withQuantisedPhases(weights, bits);
        ASSERT_EQ(rounded.size(), weights.size());
        for (std::size_t i = 0; i < weights.size(); ++i) {
            EXPECT_NEAR(std::abs(rounded[i]), std::abs(weights[i]), 1e-14);
            EXPECT_LE(std::abs(rounded[i] - weights[i]),
                      2 * std::sin(step / 4) * std::abs(weights[i]) + 1e-12);
        }
        // -pi and pi are one.
        std::set<long> phases;
        for (const long phase : phasesOf(rounded, step)) phases.insert(phase & ((1 << bits) - 1));
        EXPECT_LE(phases.size(), 1U << bits);
        EXPECT_GE(phases.size(), std::min(200, 1 << bits));
    }
}

TEST(QuantisedDelays, AreMultiplesOfTheStep) {
    // 64.1 steps in a period, so that the last one is longer or shorter.
    constexpr double frequency = 1e6;
    constexpr double step = 1 / 64.1e6;
    const Weights weights = someWeights();
    const Weights rounded = pistonfield::withQuantisedDelays(weights, frequency, step);
    for (std::size_t i = 0; i < weights.size(); ++i) {
        EXPECT_LE(std::abs(rounded[i] - weights[i]),
                  2 * std::sin(pi * frequency * step / 2) * std::abs(weights[i]) + 1e-12);
        if (weights[i] == 0.0) continue;
        double least = 1;
        for (int delay = 0; delay <= 65; ++delay)
            least = std::min(least, std::abs(rounded[i] / std::abs(rounded[i]) -
                                             std::polar(1.0, -2 * pi * frequency * step * delay)));
        EXPECT_LT(least, 1e-12);
    }
    EXPECT_NEAR(std::abs(pistonfield::withQuantisedDelays({{0, -1}}, frequency, 1e-7)[0] -
                         std::polar(1.0, -0.6 * pi)),
                0, 1e-15);
}

TEST(QuantisedAmplitudes, AreLevelsOfTheLargest) {
    const Weights weights = someWeights();
    double largest = 0;
    for (const Complex& weight : weights) largest = std::max(largest, std::abs(weight));
    for (const int levels : {2, 3, 256}) {
        const Weights rounded = pistonfield::withQuantisedAmplitudes(weights, levels);
        for (std::size_t i = 0; i < weights.size(); ++i) {
            const double level = std::abs(rounded[i]) / largest * (levels - 1);
            EXPECT_NEAR(level, std::round(level), 1e-9);
            EXPECT_LE(std::abs(rounded[i] - weights[i]), largest / (levels - 1) / 2 + 1e-12);
        }
    }
    EXPECT_EQ(pistonfield::withQuantisedAmplitudes({0, 0}, 5), (Weights{0, 0}));
}

TEST(Quantised, RefuseStepsThatAreNone) {
    EXPECT_EQ(refused([] { pistonfield::withQuantisedPhases({1}, 0); }),
              "bits: 0 is not within 1 to 32");
    EXPECT_EQ(refused([] { pistonfield::withQuantisedPhases({1}, 33); }),
              "bits: 33 is not within 1 to 32");
    EXPECT_EQ(refused([] { pistonfield::withQuantisedDelays({1}, 0, 1); }),
              "frequency: must be a frequency above 0");
    EXPECT_EQ(refused([] { pistonfield::withQuantisedDelays({1}, 1, 0.6); }),
              "step: must be a time above 0 and at most half a period");
    EXPECT_EQ(refused([] { pistonfield::withQuantisedAmplitudes({1}, 1); }),
              "levels: must be 2 or more");
    EXPECT_EQ(refused([] {
                  pistonfield::withQuantisedPhases({1, std::nan("")}, 3);
              }),
              "weights: every number must be finite");
}

}  // namespace
