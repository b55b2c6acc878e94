// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/Synthesis.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <numbers>
#include <random>

namespace {

using pistonfield::Synthesis;
using Complex = std::complex<double>;

Complex turned(std::size_t m, std::size_t n, std::size_t length) {
    return std::polar(1.0, 2 * std::numbers::pi * static_cast<double>(m * n % length) /
                               static_cast<double>(length));
}

TEST(Synthesis, TakesLengthsThatAreTransformed) {
    EXPECT_EQ(Synthesis(7).length(), 8);
    EXPECT_EQ(Synthesis(61).length(), 64);
}

TEST(Synthesis, FindsTheSumsOfASpectrum) {
    const Synthesis synthesis(45);
    std::mt19937 random(1);
    std::vector<double> samples(30);
    for (double& sample : samples) sample = std::uniform_real_distribution<double>(-1, 1)(random);
    const auto spectrum = synthesis.spectrumOf(samples);
    ASSERT_EQ(spectrum.size(), 23);
    for (std::size_t m = 0; m < spectrum.size(); ++m) {
        Complex sum;
        for (std::size_t n = 0; n < samples.size(); ++n)
            sum += samples[n] * std::conj(turned(m, n, 45));
        EXPECT_LT(std::abs(spectrum[m] - sum), 1e-13);
    }
}

TEST(Synthesis, AddsUpTheFrequenciesOfEachLine) {
    const Synthesis synthesis(40);
    Synthesis::Work work(synthesis);
    // Twice, as what was set before must be gone.
    for (const double strength : {5.0, 1.0}) {
        work.clear();
        for (std::size_t line = 0; line < synthesis.lines(); ++line) {
            const double own = strength * static_cast<double>(line + 1);
            if (strength == 5.0) work.set(line, 2, 1.0);
            work.set(line, 3, {own, -0.5});
            work.set(line, 7, {0.25, own});
        }
        work.transform();
    }
    for (std::size_t line = 0; line < synthesis.lines(); ++line)
        for (std::size_t n = 0; n < 40; ++n) {
            const auto own = static_cast<double>(line + 1);
            const Complex sum =
                Complex(own, -0.5) * turned(3, n, 40) + Complex(0.25, own) * turned(7, n, 40);
            EXPECT_NEAR(work.at(line, n), sum.real(), 1e-12);
        }
}

}  // namespace
