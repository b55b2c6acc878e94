// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/Signal.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "tests/support/Refused.h"

namespace {

using pistonfield::check;
using pistonfield::Signal;
using pistonfield::signalOf;

TEST(Signal, OfAmplitudesIsOnePeriodOfTheirSum) {
    // 0.5 + 2*cos(2*pi*t*10 + pi/3) + sin(2*pi*t*20)
    const Signal signal = signalOf({0.5, std::polar(2.0, std::numbers::pi / 3), {0, -1}}, 10);
    EXPECT_DOUBLE_EQ(signal.rate, 80);
    ASSERT_EQ(signal.samples.size(), 8);
    for (std::size_t i = 0; i < 8; ++i) {
        const double angle = 2 * std::numbers::pi * 10 * static_cast<double>(i) / signal.rate;
        EXPECT_NEAR(signal.samples[i],
                    0.5 + 2 * std::cos(angle + std::numbers::pi / 3) + std::sin(2 * angle), 1e-14);
    }
    EXPECT_DOUBLE_EQ(signal.duration(), 7.0 / 80);
}

TEST(Signal, ThatIsNoneIsRefused) {
    const double infinite = std::numeric_limits<double>::infinity();
    EXPECT_EQ(refused([] {
                  check(Signal{{1, 0}, 0});
              }),
              "rate: must be a number of samples per second above 0");
    EXPECT_EQ(refused([&] {
                  check(Signal{{1, 0}, infinite});
              }),
              "rate: must be a number of samples per second above 0");
    EXPECT_EQ(refused([] { check(Signal{{1}, 1}); }), "signal: must have two samples or more");
    EXPECT_EQ(refused([&] {
                  check(Signal{{1, infinite}, 1});
              }),
              "signal: every sample must be finite");
    EXPECT_EQ(refused([] { check(Signal{{0, 0}, 1}); }), "signal: all samples are 0");
    EXPECT_EQ(refused([] {
                  signalOf({1, 1}, 0);
              }),
              "rate: the step of the frequencies must be above 0");
    EXPECT_EQ(refused([] { signalOf({1}, 1); }),
              "signal: must have the amplitudes of two frequencies or more");
    EXPECT_EQ(refused([] { signalOf({0, 0}, 1); }), "signal: all samples are 0");
}

}  // namespace
