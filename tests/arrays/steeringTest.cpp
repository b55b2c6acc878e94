// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/steering.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "arrays/BowlArray.h"
#include "arrays/elementPressures.h"
#include "arrays/planarArrays.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::Element;
using pistonfield::elementPressures;
using pistonfield::focusWeights;
using pistonfield::planeWaveWeights;
using pistonfield::Pose;
using pistonfield::Wave;

const Wave wave{2 * std::numbers::pi};

using Weights = std::vector<std::complex<double>>;

/// The field of a weighted array at a point.
std::complex<double> pressureAt(const Pose::Vector& point, const std::vector<Element>& elements,
                                const Weights& weights) {
    const auto each =
        elementPressures(elements, wave, {{point[0]}, {point[1]}, {point[2]}}, 1e-7, true);
    std::complex<double> sum;
    for (std::size_t i = 0; i < each.size(); ++i) sum += each[i] * weights[i];
    return sum;
}

TEST(FocusWeights, AddUpTheMagnitudesAtTheFocus) {
    const auto matrix = elementsOf(pistonfield::MatrixArray{
        .columns = 9, .rows = 8, .width = 2.5, .height = 3, .kerfX = 0.2, .kerfY = 0.3});
    const auto bowl = elementsOf(pistonfield::BowlSpiral{
        .bowl = {.radius = 40, .aperture = 50}, .elements = 100, .width = 2, .height = 2});
    for (const auto& elements : {matrix, bowl}) {
        // Near to a matrix's large elements, where distances say little, and aside.
        const Pose::Vector focus{3, -2, 17};
        const Weights weights = focusWeights(elements, wave, focus, 1e-9);
        double sum = 0;
        for (const auto& value :
             elementPressures(elements, wave, {{focus[0]}, {focus[1]}, {focus[2]}}, 1e-9))
            sum += std::abs(value);
        const std::complex<double> found = pressureAt(focus, elements, weights);
        EXPECT_NEAR(found.real(), sum, 1e-7 * sum);
        EXPECT_NEAR(found.imag(), 0, 1e-7 * sum);
        for (const auto& weight : weights) EXPECT_NEAR(std::abs(weight), 1, 1e-15);
    }
}

TEST(FocusWeights, BehindAnElementAreRefusedUnlessAskedFor) {
    const std::vector<Element> one{{{1, 1}, {}}};
    EXPECT_NE(refused([&] { focusWeights(one, wave, {0, 0, -1}); }), "no failure");
    EXPECT_EQ(focusWeights(one, wave, {0, 0, -1}, 1e-6, true), focusWeights(one, wave, {0, 0, 1}));
}

TEST(Direction, IsByAzimuthAndElevation) {
    const auto expectNear = [](const Pose::Vector& a, const Pose::Vector& b) {
        for (std::size_t i = 0; i < 3; ++i) EXPECT_NEAR(a[i], b[i], 1e-15);
    };
    constexpr double right = std::numbers::pi / 2;
    expectNear(pistonfield::directionOf(0, 0), {0, 0, 1});
    expectNear(pistonfield::directionOf(right, 0), {1, 0, 0});
    expectNear(pistonfield::directionOf(1, right), {0, 1, 0});
    expectNear(pistonfield::directionOf(0.3, 0.4),
               {std::sin(0.3) * std::cos(0.4), std::sin(0.4), std::cos(0.3) * std::cos(0.4)});
}

/// The far field of small elements has its maximum where it is steered to, and there it is the sum
/// of the elements'.
TEST(PlaneWaveWeights, SteerTheFarField) {
    const auto elements = elementsOf(pistonfield::MatrixArray{
        .columns = 16, .rows = 16, .width = 0.3, .height = 0.3, .kerfX = 0.2, .kerfY = 0.2});
    for (const auto& [azimuth, elevation] : {std::pair{0.0, 0.0}, {0.4, -0.2}, {-0.6, 0.5}}) {
        const Weights weights =
            planeWaveWeights(elements, wave, pistonfield::directionOf(azimuth, elevation));
        const auto magnitude = [&, azimuth = azimuth, elevation = elevation](double da, double de) {
            Pose::Vector point = pistonfield::directionOf(azimuth + da, elevation + de);
            for (double& coordinate : point) coordinate *= 1e6;
            return std::abs(pressureAt(point, elements, weights));
        };
        const double steered = magnitude(0, 0);
        double sum = 0;
        Pose::Vector far = pistonfield::directionOf(azimuth, elevation);
        for (double& coordinate : far) coordinate *= 1e6;
        for (const auto& value :
             elementPressures(elements, wave, {{far[0]}, {far[1]}, {far[2]}}, 1e-7))
            sum += std::abs(value);
        EXPECT_NEAR(steered, sum, 1e-4 * sum);
        for (const double off : {-0.3, -0.1, -0.03, 0.03, 0.1, 0.3}) {
            EXPECT_LT(magnitude(off, 0), steered);
            EXPECT_LT(magnitude(0, off), steered);
        }
    }
}

TEST(PlaneWaveWeights, TakeDirectionsOfAnyLength) {
    const auto elements =
        elementsOf(pistonfield::LineArray{.elements = 3, .width = 1, .height = 1, .pitch = 1.25});
    const Weights weights = planeWaveWeights(elements, wave, {3, 0, 4});
    for (std::size_t i = 0; i < 3; ++i)
        EXPECT_NEAR(std::abs(weights[i] - std::polar(1.0, -2 * std::numbers::pi * 0.6 * 1.25 *
                                                              (static_cast<double>(i) - 1))),
                    0, 1e-14);
    EXPECT_EQ(refused([&] {
                  planeWaveWeights(elements, wave, {0, 0, 0});
              }),
              "direction: must be of a length above 0");
    EXPECT_EQ(refused([&] {
                  planeWaveWeights(elements, {-1}, {0, 0, 1});
              }),
              "wavenumber: must be a wavenumber above 0");
    EXPECT_EQ(refused([&] {
                  planeWaveWeights({}, wave, {0, 0, 1});
              }),
              "elements: 0 are not within 1 to 1000000");
}

}  // namespace
