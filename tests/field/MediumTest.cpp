// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// Losses and the phase speed that come with a medium.
#include "field/Medium.h"

#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <string>

namespace {

using namespace pistonfield;

constexpr double pi = std::numbers::pi;

double nepersOf(double decibels) { return decibels * std::log(10.0) / 20; }

/// The wavenumber by the formula with powers, in Np/(m (rad/s)^y).
double dispersed(double a, double y, double speed, double w, double w0) {
    if (y == 1) return w * (1 / speed - 2 / pi * a * std::log(w / w0));
    return w * (1 / speed + a * std::tan(pi * y / 2) * (std::pow(w, y - 1) - std::pow(w0, y - 1)));
}

std::string refusalOf(const Medium& medium, double frequency) {
    try {
        waveIn(medium, frequency);
    } catch (const InvalidRequest& error) {
        return error.what();
    }
    return "none";
}

TEST(MediumTest, WithoutLossesTheWavenumberIsThatOfTheSpeed) {
    const Wave wave = waveIn({.speed = 1500}, 2e6);
    EXPECT_DOUBLE_EQ(wave.wavenumber, 2 * pi * 2e6 / 1500);
    EXPECT_EQ(wave.attenuation, 0);
}

TEST(MediumTest, LossesInDecibelsGrowAsAPowerOfTheFrequency) {
    for (const double y : {0.0, 1.0, 1.3, 2.0}) {
        const Wave wave = waveIn({.speed = 1540, .attenuation = 0.5, .exponent = y}, 3e6);
        EXPECT_NEAR(wave.attenuation, 100 * nepersOf(0.5) * std::pow(3, y), 1e-12) << y;
        EXPECT_DOUBLE_EQ(wave.wavenumber, 2 * pi * 3e6 / 1540);
    }
}

TEST(MediumTest, NepersAreThoseOfTheFrequencyItself) {
    EXPECT_EQ(waveIn({.speed = 1540, .exponent = 1.7, .nepers = 12.5}, 3e6).attenuation, 12.5);
}

TEST(MediumTest, ThePhaseSpeedFollowsFromCausality) {
    const double w = 2 * pi * 3e6;
    const double w0 = 2 * pi * 0.8e6;
    for (const double y : {0.0, 0.6, 1.0, 1.1, 1.5, 2.0, 2.4}) {
        const Medium medium{
            .speed = 1540, .attenuation = 0.7, .exponent = y, .dispersionFrequency = 0.8e6};
        const double a = 100 * nepersOf(0.7) / std::pow(2 * pi * 1e6, y);
        const double wanted = dispersed(a, y, 1540, w, w0);
        EXPECT_NEAR(waveIn(medium, 3e6).wavenumber, wanted, 1e-11 * wanted) << y;
        EXPECT_DOUBLE_EQ(waveIn(medium, 0.8e6).wavenumber, w0 / 1540) << y;
    }
}

TEST(MediumTest, NearTheExponent1TheFormulasMeet) {
    const auto at = [](double y) {
        return waveIn({.speed = 1540, .exponent = y, .nepers = 40, .dispersionFrequency = 1e6}, 5e6)
            .wavenumber;
    };
    for (const double e : {1e-6, -1e-6, 1e-12, std::numeric_limits<double>::epsilon()})
        EXPECT_NEAR(at(1 + e), at(1), 1e-4 * std::abs(e) / 1e-6 + 1e-9) << e;
}

TEST(MediumTest, WavesOfHigherFrequencyAreFasterUpToTheExponent2) {
    for (const double y : {0.5, 1.0, 1.5}) {
        const Medium medium{
            .speed = 1540, .attenuation = 1, .exponent = y, .dispersionFrequency = 1e6};
        EXPECT_GT(2 * pi * 2e6 / waveIn(medium, 2e6).wavenumber, 1540) << y;
        EXPECT_LT(2 * pi * 5e5 / waveIn(medium, 5e5).wavenumber, 1540) << y;
    }
}

TEST(MediumTest, WhatIsNoMediumIsRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_EQ(refusalOf({.speed = 1500}, 0), "frequency: must be above 0");
    EXPECT_EQ(refusalOf({.speed = 1500}, infinity), "frequency: must be above 0");
    EXPECT_EQ(refusalOf({.speed = nan}, 1e6), "speed: must be above 0");
    EXPECT_EQ(refusalOf({.speed = 1500, .attenuation = -1}, 1e6),
              "attenuation: must be 0 or above");
    EXPECT_EQ(refusalOf({.speed = 1500, .attenuation = infinity}, 1e6),
              "attenuation: must be 0 or above");
    for (const double y : {-0.1, 3.0, nan})
        EXPECT_EQ(refusalOf({.speed = 1500, .exponent = y}, 1e6),
                  "exponent: must be from 0 to below 3");
    EXPECT_EQ(refusalOf({.speed = 1500, .nepers = -1}, 1e6), "nepers: must be 0 or above");
    EXPECT_EQ(refusalOf({.speed = 1500, .attenuation = 1, .nepers = 1}, 1e6),
              "nepers: give the attenuation or nepers, not both");
    EXPECT_EQ(refusalOf({.speed = 1500, .dispersionFrequency = 0}, 1e6),
              "dispersionFrequency: must be above 0");
    EXPECT_EQ(refusalOf({.speed = 1500, .nepers = 3000, .dispersionFrequency = 1}, 1e6),
              "dispersionFrequency: with these losses there is no phase speed: it is too far from "
              "the frequency");
}

}  // namespace
