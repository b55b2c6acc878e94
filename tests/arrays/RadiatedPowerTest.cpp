// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/RadiatedPower.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>
#include <optional>
#include <stop_token>

#include "FastNearfield/GaussLegendre.h"
#include "arrays/BowlArray.h"
#include "arrays/planarArrays.h"
#include "arrays/steering.h"
#include "tests/arrays/randomElements.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::Element;
using pistonfield::elementsOf;
using pistonfield::PowerBy;
using pistonfield::PowerSearch;
using pistonfield::PowerState;
using pistonfield::RadiatedPower;
using pistonfield::radiatedPower;
using pistonfield::Wave;
using Weights = std::vector<std::complex<double>>;

constexpr double pi = std::numbers::pi;
constexpr std::array ways{PowerBy::faces, PowerBy::farField};

/// The radiation resistance of a piston per density*speed: 2k/pi times the integral over 0 < u < w,
/// 0 < v < h of (w - u)(h - v) sin(kr)/r (Burnett and Soroka, J. Acoust. Soc. Am. 51, 1618, 1972).
double resistance(double width, double height, double k) {
    constexpr std::size_t order = 200;
    std::array<double, order> nodes{};
    std::array<double, order> weights{};
    legendre_compute(static_cast<int>(order), nodes.data(), weights.data());
    double sum = 0;
    for (std::size_t i = 0; i < order; ++i)
        for (std::size_t j = 0; j < order; ++j) {
            const double u = width * (1 + nodes[i]) / 2;
            const double v = height * (1 + nodes[j]) / 2;
            const double r = std::hypot(u, v);
            sum += weights[i] * weights[j] * (width - u) * (height - v) * std::sin(k * r) / r;
        }
    return 2 * k / pi * sum * width * height / 4;
}

/// That of one piston on another one: k/(2pi) times the integral of sin(kR)/R over both.
double resistance(const Element& a, const Element& b, double k) {
    constexpr std::size_t order = 10;
    std::array<double, order> nodes{};
    std::array<double, order> weights{};
    legendre_compute(static_cast<int>(order), nodes.data(), weights.data());
    const auto pointOf = [&](const Element& e, std::size_t i, std::size_t j) {
        pistonfield::Pose::Vector point{};
        for (std::size_t axis = 0; axis < 3; ++axis)
            point[axis] = e.pose.centre[axis] +
                          nodes[i] * e.piston.width / 2 * e.pose.alongWidth[axis] +
                          nodes[j] * e.piston.height / 2 * e.pose.alongHeight[axis];
        return point;
    };
    double sum = 0;
    for (std::size_t i = 0; i < order * order; ++i)
        for (std::size_t j = 0; j < order * order; ++j) {
            const auto p = pointOf(a, i / order, i % order);
            const auto q = pointOf(b, j / order, j % order);
            const double r = std::hypot(p[0] - q[0], p[1] - q[1], p[2] - q[2]);
            sum += weights[i / order] * weights[i % order] * weights[j / order] *
                   weights[j % order] * (r > 0 ? std::sin(k * r) / r : k);
        }
    return k / (2 * pi) * sum * a.piston.width * a.piston.height * b.piston.width *
           b.piston.height / 16;
}

/// Weighted elements in a plane that is turned, and turned in it, some of which overlap; that does
/// not matter to the sum.
std::vector<Element> turnedPlane() {
    const Element plane = randomElements(1, 10, 4).front();
    std::vector<Element> elements;
    for (const Element& from : randomElements(6, 4, 9)) {
        Element element = plane;
        element.piston = from.piston;
        const double c = std::cos(from.pose.centre[2]);
        const double s = std::sin(from.pose.centre[2]);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            const double w = plane.pose.alongWidth[axis];
            const double h = plane.pose.alongHeight[axis];
            element.pose.centre[axis] += from.pose.centre[0] * w + from.pose.centre[1] * h;
            element.pose.alongWidth[axis] = c * w + s * h;
            element.pose.alongHeight[axis] = c * h - s * w;
        }
        elements.push_back(element);
    }
    return elements;
}

TEST(RadiatedPower, OfAPistonIsHalfItsRadiationResistance) {
    for (const auto& [width, height] : {std::pair{0.05, 0.05}, {0.5, 2.0}, {3.0, 3.0}, {0.2, 8.0}})
        for (const PowerBy way : ways) {
            const double expected = resistance(width, height, 2 * pi) / 2;
            const RadiatedPower found =
                radiatedPower({Element{{width, height}, {}}}, {1.0}, {2 * pi}, way);
            EXPECT_NEAR(found.value, expected, 1e-7 * expected) << width << ' ' << height;
            EXPECT_LT(found.change, 1e-8 * expected);
        }
}

TEST(RadiatedPower, OfALargePistonIsThatOfAPlaneWave) {
    for (const PowerBy way : ways)
        EXPECT_NEAR(radiatedPower({Element{{30, 20}, {}}}, {{0, 2}}, {2 * pi}, way).value,
                    4 * 600 / 2.0, 4 * 0.6);
}

TEST(RadiatedPower, GoesWithTheSquareOfTheWeightsAndOfLengths) {
    const std::vector<Element> one{{{0.7, 0.4}, {}}};
    const std::vector<Element> larger{{{7, 4}, {}}};
    for (const PowerBy way : ways) {
        const double power = radiatedPower(one, {1.0}, {5}, way).value;
        EXPECT_NEAR(radiatedPower(one, {{3, -4}}, {5}, way).value, 25 * power, 1e-8 * power);
        EXPECT_NEAR(radiatedPower(larger, {1.0}, {0.5}, way).value, 100 * power, 1e-6 * power);
    }
}

TEST(RadiatedPower, OfElementsInAPlaneIsThatOfTheirPairs) {
    const auto elements = turnedPlane();
    const Weights weights{{1, 0}, {0, 1}, {-0.5, 0.3}, {0.2, -0.9}, {1, 1}, {0.1, 0}};
    constexpr double k = 4;
    double expected = 0;
    for (std::size_t i = 0; i < 6; ++i)
        for (std::size_t j = 0; j < 6; ++j)
            expected += (std::conj(weights[i]) * weights[j]).real() *
                        resistance(elements[i], elements[j], k) / 2;
    for (const PowerBy way : ways)
        EXPECT_NEAR(radiatedPower(elements, weights, {k}, way).value, expected, 1e-7 * expected);
}

TEST(RadiatedPower, IsTheSameEitherWayForASteeredMatrix) {
    const auto elements = elementsOf(pistonfield::MatrixArray{
        .columns = 12, .rows = 7, .width = 0.4, .height = 0.9, .kerfX = 0.1, .kerfY = 0});
    const Wave wave{2 * pi};
    for (const double azimuth : {0.0, 0.5, 1.2}) {
        const Weights weights =
            planeWaveWeights(elements, wave, pistonfield::directionOf(azimuth, 0.1));
        const double faces = radiatedPower(elements, weights, wave, PowerBy::faces).value;
        const double far = radiatedPower(elements, weights, wave, PowerBy::farField).value;
        EXPECT_NEAR(faces, far, 1e-7 * far);
    }
}

/// Columns of two widths, a row that is turned by a right angle, and offsets that no two pairs
/// share; the pairs' sum and the far field have nothing in common.
TEST(RadiatedPower, OfPairsIsThatOfTheFarField) {
    auto elements = randomElements(24, 5, 3);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        Element& element = elements[i];
        element.piston = i % 3 == 0 ? pistonfield::RectangularPiston{0.7, 0.4}
                                    : pistonfield::RectangularPiston{0.3, 1.1};
        element.pose = {{element.pose.centre[0], element.pose.centre[1], 0}, {1, 0, 0}, {0, 1, 0}};
        if (i % 4 == 1) element.pose = {element.pose.centre, {0, -1, 0}, {1, 0, 0}};
    }
    Weights weights;
    for (int i = 0; i < 24; ++i) weights.push_back(i == 5 ? 0 : std::polar(1.0 + i % 2, 0.7 * i));
    for (const double k : {0.3, 2 * pi, 30.0}) {
        const double faces = radiatedPower(elements, weights, {k}, PowerBy::faces).value;
        const double far = radiatedPower(elements, weights, {k}, PowerBy::farField).value;
        EXPECT_NEAR(faces, far, 1e-9 * far) << k;
    }
}

TEST(RadiatedPower, IsTheSameInAnyStepsAndThreads) {
    const auto elements = elementsOf(pistonfield::MatrixArray{
        .columns = 16, .rows = 9, .width = 0.4, .height = 0.9, .kerfX = 0.1, .kerfY = 0});
    const Wave wave{2 * pi};
    const Weights weights = planeWaveWeights(elements, wave, pistonfield::directionOf(0.4, 0.2));
    for (const PowerBy way : ways) {
        const RadiatedPower wanted = radiatedPower(elements, weights, wave, way);
        PowerState state;
        std::optional<RadiatedPower> found;
        unsigned steps = 0;
        for (; !found; ++steps) {
            PowerSearch search(elements, weights, wave, way, state);
            found = search.step(steps % 3 + 1);
            state = search.state();
        }
        EXPECT_GT(steps, 2);
        EXPECT_EQ(found->value, wanted.value);
        EXPECT_EQ(found->change, wanted.change);
    }
}

TEST(RadiatedPower, IsStoppedBetweenSteps) {
    std::stop_source stop;
    stop.request_stop();
    for (const PowerBy way : ways)
        EXPECT_THROW(radiatedPower({Element{{1, 1}, {}}}, {1.0}, {1}, way, {stop.get_token()}),
                     pistonfield::Stopped);
}

TEST(RadiatedPower, RefusesToGoOnFromWhatIsNoState) {
    for (const PowerState& state : {PowerState{-1, 0, 0, 0}, PowerState{7, 0, 0, 0},
                                    PowerState{0, -1, 0, 0}, PowerState{0, 2, 0, 0}})
        EXPECT_THAT(refused([&] {
                        PowerSearch({Element{{1, 1}, {}}}, {1.0}, {1}, PowerBy::faces, state);
                    }),
                    ::testing::StartsWith("state: there "));
}

/// Far from each other elements radiate as each alone.
TEST(RadiatedPower, OfABowlIsFoundFarAwayOnly) {
    const auto bowl = elementsOf(pistonfield::BowlRings{
        .bowl = {.radius = 40, .aperture = 20}, .width = 2, .height = 2, .counts = {4}});
    const Wave wave{2 * pi};
    const Weights equal(bowl.size(), 1.0);
    EXPECT_EQ(refused([&] { radiatedPower(bowl, equal, wave, PowerBy::faces); }),
              "elements: those that are not in one plane are not each other's baffle");
    const double alone = resistance(2, 2, wave.wavenumber) / 2 * 4;
    EXPECT_NEAR(radiatedPower(bowl, equal, wave, PowerBy::farField).value, alone, 0.05 * alone);
}

TEST(RadiatedPower, RefusesWhatHasNone) {
    const std::vector<Element> one{{{1, 1}, {}}};
    const std::vector<Element> large{{{1, 1}, {}}};
    EXPECT_EQ(refused([&] { radiatedPower(large, {1}, {6e4}, PowerBy::faces); }),
              "elements: their faces take too many places for the power through them; "
              "without losses take the far field");
    for (const PowerBy way : ways) {
        EXPECT_EQ(refused([&] { radiatedPower({}, {}, {1}, way); }),
                  "elements: 0 are not within 1 to 1000000");
        EXPECT_EQ(refused([&] {
                      radiatedPower(one, {1, 2}, {1}, way);
                  }),
                  "weights: 2 are not one for each of the 1 elements");
        EXPECT_EQ(refused([&] { radiatedPower(one, {0}, {1}, way); }),
                  "weights: all of weighting 1 are 0");
        EXPECT_EQ(refused([&] { radiatedPower(one, {1}, {0}, way); }),
                  "wavenumber: must be above 0");
    }
    std::vector<Element> opposed{one[0], one[0]};
    opposed[1].pose.alongWidth[0] = -1;
    EXPECT_EQ(refused([&] {
                  radiatedPower(opposed, {1, 1}, {1}, PowerBy::farField);
              }),
              "elements: their normals cancel, and say no half space");
    EXPECT_EQ(refused([&] { radiatedPower(one, {1}, {1e5}, PowerBy::farField); }),
              "elements: are too far apart: the array's radius is above 1200 wavelengths");
}

TEST(RadiatedPower, IsThatOfAVelocity) {
    // A large piston in water: P = density*speed*u0^2*A/2.
    const RadiatedPower power =
        radiatedPower({Element{{30e-3, 30e-3}, {}}}, {1.0}, {2 * pi / 1.5e-3}, PowerBy::faces);
    const double velocity = power.velocityFor(10, 1000, 1500);
    EXPECT_NEAR(1000 * 1500 * velocity * velocity * 9e-4 / 2, 10, 0.01);
    EXPECT_EQ(refused([&] { power.velocityFor(-1, 1000, 1500); }), "power: must be above 0");
    EXPECT_EQ(refused([&] { power.velocityFor(1, 0, 1500); }), "density: must be above 0");
    EXPECT_EQ(refused([&] { power.velocityFor(1, 1000, HUGE_VAL); }), "speed: must be above 0");
}

}  // namespace
