// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/Window.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>

#include "arrays/planarArrays.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::Element;
using pistonfield::elementsOf;
using pistonfield::Window;
using pistonfield::WindowAlong;
using pistonfield::windowCalled;
using pistonfield::windowValues;
using Kind = Window::Kind;

TEST(Window, HasItsClosedForm) {
    constexpr double pi = std::numbers::pi;
    for (int i = -16; i <= 16; ++i) {
        const double x = i / 16.0;
        const double half = std::cos(pi * x / 2);
        EXPECT_EQ((Window{Kind::rectangular}.at(x)), 1);
        EXPECT_NEAR((Window{Kind::hann}.at(x)), half * half, 1e-15);
        EXPECT_NEAR((Window{Kind::hamming}.at(x)), 0.08 + 0.92 * half * half, 1e-15);
        EXPECT_NEAR((Window{Kind::blackman}.at(x)),
                    0.34 + 0.5 * std::cos(pi * x) + 0.16 * std::pow(std::cos(pi * x), 2), 1e-15);
        EXPECT_NEAR((Window{Kind::tukey, 1}.at(x)), half * half, 1e-15);
        EXPECT_EQ((Window{Kind::tukey, 0}.at(x)), 1);
        EXPECT_NEAR((Window{Kind::gaussian, 0.4}.at(x)), std::pow(std::numbers::e, -x * x / 0.32),
                    1e-15);
    }
    EXPECT_EQ((Window{Kind::tukey, 0.5}.at(0.5)), 1);
    EXPECT_NEAR((Window{Kind::tukey, 0.5}.at(-0.75)), 0.5, 1e-15);
    EXPECT_NEAR((Window{Kind::tukey, 0.5}.at(1)), 0, 1e-15);
    EXPECT_GE(Window{Kind::blackman}.at(1), 0);
}

/// I0 by its power series.
double besselI0(double x) {
    double sum = 1;
    double term = 1;
    for (int i = 1; i < 200; ++i) {
        term *= (x / 2 / i) * (x / 2 / i);
        sum += term;
    }
    return sum;
}

TEST(Window, OfKaiserIsThatOfTheSeries) {
    for (const double beta : {0.0, 0.5, 4.0, 20.0})
        for (const double x : {-1.0, -0.3, 0.0, 0.7, 1.0}) {
            const double expected = besselI0(beta * std::sqrt(1 - x * x)) / besselI0(beta);
            EXPECT_NEAR((Window{Kind::kaiser, beta}.at(x)), expected, 1e-12 * expected);
        }
    EXPECT_EQ((Window{Kind::kaiser, 500}.at(0)), 1);
}

TEST(Window, IsFoundByItsName) {
    EXPECT_EQ(windowCalled("tukey"), Kind::tukey);
    EXPECT_EQ(windowCalled("rectangular"), Kind::rectangular);
    EXPECT_EQ(refused([] { windowCalled("boxcar"); }),
              "window: 'boxcar' is none of rectangular, hann, hamming, tukey, blackman, kaiser, "
              "gaussian");
}

/// Away from the origin, so that the window is about the array's own middle.
std::vector<Element> shifted() {
    auto elements = elementsOf(pistonfield::MatrixArray{
        .columns = 5, .rows = 2, .width = 0.8, .height = 3, .pitchX = 1, .pitchY = 4});
    for (Element& element : elements) {
        element.pose.centre[0] += 7;
        element.pose.centre[1] -= 9;
    }
    return elements;
}

TEST(WindowValues, LieBetweenTheRimsOfTheArray) {
    const Window hann{Kind::hann};
    const auto alongX = windowValues(hann, WindowAlong::x, shifted());
    const auto alongY = windowValues(hann, WindowAlong::y, shifted());
    const auto around = windowValues(hann, WindowAlong::radius, shifted());
    ASSERT_EQ(alongX.size(), 10);
    for (std::size_t i = 0; i < 10; ++i) {
        const double x = static_cast<double>(i % 5) - 2;
        EXPECT_NEAR(alongX[i], hann.at(x / 2.4), 1e-14);
        EXPECT_NEAR(alongY[i], hann.at(2 / 3.5), 1e-14);
        EXPECT_NEAR(around[i], hann.at(std::hypot(x, 2.0) / std::hypot(2.4, 3.5)), 1e-14);
        EXPECT_GT(alongX[i], 0);
    }
}

TEST(WindowValues, OfParametersOutOfTheirRangeAreRefused) {
    const auto refusal = [](const Window& window) {
        return refused([&] { windowValues(window, WindowAlong::x, shifted()); });
    };
    EXPECT_EQ(refusal({Kind::tukey, 1.1}),
              "window: the tapered part of tukey must be within 0 to 1");
    EXPECT_EQ(refusal({Kind::kaiser, -1}), "window: beta of kaiser must be within 0 to 500");
    EXPECT_EQ(refusal({Kind::gaussian, 0}), "window: sigma of gaussian must be above 0");
    EXPECT_EQ(refusal({Kind::gaussian, std::numeric_limits<double>::quiet_NaN()}),
              "window: sigma of gaussian must be above 0");
    EXPECT_EQ(refused([] { windowValues({}, WindowAlong::x, {}); }),
              "elements: 0 are not within 1 to 1000000");
}

/// All faces along y have no extent along x, and are in the middle.
TEST(WindowValues, WithoutAnExtentAreThoseOfTheMiddle) {
    const Element upright{{1, 1}, {{3, 0, 0}, {0, 1, 0}, {0, 0, 1}}};
    EXPECT_EQ(windowValues({Kind::hann}, WindowAlong::x, {upright}), std::vector<double>{1});
}

}  // namespace
