// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/wavePhase.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <type_traits>

#include "tests/support/RandomPoints.h"

namespace {

using pistonfield::Complex;
using pistonfield::InTwo;

constexpr unsigned seed = 20261207;

/// A lane or a pack of the same number in two parts.
template <class V>
InTwo<V> inTwo(double number) {
    using T = lanes::Element<V>;
    const auto high = static_cast<T>(number);
    return {lanes::broadcast<V>(high),
            lanes::broadcast<V>(static_cast<T>(number - static_cast<double>(high)))};
}

template <class V>
double firstOf(const V& v) {
    if constexpr (std::is_floating_point_v<V>)
        return v;
    else
        return v[0];
}

/// How far phases are off, in radians, at random places so many wavelengths away.
template <class V>
double worstAt(double wavelengths, Random& random) {
    double worst = 0;
    for (int i = 0; i < 2000; ++i) {
        InTwo<V> vector[3];
        long double square = 0;
        for (InTwo<V>& part : vector) {
            const double from = random.between(-wavelengths, wavelengths);
            const double to = random.between(-1, 1) * random.between(0, 20);
            part = differenceOf(inTwo<V>(from), inTwo<V>(to));
            const long double exact = static_cast<long double>(from) - to;
            square += exact * exact;
        }
        const long double turns = std::sqrt(square);
        const auto angle = static_cast<double>((turns - std::round(turns)) *
                                               (-2 * std::numbers::pi_v<long double>));
        const Complex<V> phase = wavePhase(vector);
        worst = std::max(worst, std::hypot(firstOf(phase.re) - std::cos(angle),
                                           firstOf(phase.im) - std::sin(angle)));
    }
    return worst;
}

template <class V>
void expectKept(double ofUnits, double ofRadians) {
    Random random(seed);
    for (const double wavelengths : {0.1, 1.0, 30.0, 1e3, 1e5, 4e6, 1.5e8}) {
        const double phase = 2 * std::numbers::pi * (wavelengths + 20) * std::sqrt(3.0);
        EXPECT_LE(worstAt<V>(wavelengths, random), ofUnits + ofRadians * phase) << wavelengths;
    }
}

// A lane is a GPU's thread; packs are the emulation device's.
TEST(WavePhase, KeepsItsDigitsFarAwayInSinglePrecision) {
    expectKept<float>(8 * 0x1p-24, 0x1p-44);
    expectKept<lanes::Pack<float, lanes::width<float>>>(8 * 0x1p-24, 0x1p-44);
}

TEST(WavePhase, KeepsItsDigitsInDoublePrecision) {
    expectKept<double>(8 * 0x1p-53, 0x1p-51);
    expectKept<lanes::Pack<double, lanes::width<double>>>(8 * 0x1p-53, 0x1p-51);
}

TEST(WavePhase, IsOneAtTheOrigin) {
    const InTwo<float> nowhere[3]{};
    EXPECT_EQ(wavePhase(nowhere).re, 1);
    EXPECT_NEAR(wavePhase(nowhere).im, 0, 1e-11);
}

}  // namespace
