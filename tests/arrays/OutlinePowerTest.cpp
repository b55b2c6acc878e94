// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// The radiated power of flat pistons of any outline, with losses and before baffles.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstddef>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <optional>
#include <utility>
#include <vector>

#include "FastNearfield/GaussLegendre.h"
#include "arrays/HoneycombArray.h"
#include "arrays/RadiatedPower.h"
#include "arrays/boundaryNodes.h"
#include "arrays/pistonShapes.h"
#include "tests/support/Refused.h"

namespace {

using namespace pistonfield;
using std::numbers::pi;
using Weights = std::vector<std::complex<double>>;

Element elementOf(Outline outline, const Pose& pose = {}) {
    return {{}, pose, std::make_shared<const Outline>(std::move(outline))};
}

/// A pose in the plane z = 0, turned by an angle.
Pose poseAt(double x, double y, double angle = 0) {
    return {
        {x, y, 0}, {std::cos(angle), std::sin(angle), 0}, {-std::sin(angle), std::cos(angle), 0}};
}

/// An integral by 64 nodes in each of 16 equal parts.
double integral(double from, double to, const std::function<double(double)>& function) {
    constexpr std::size_t order = 64;
    constexpr int parts = 16;
    std::vector<double> nodes(order);
    std::vector<double> weights(order);
    legendre_compute(static_cast<int>(order), nodes.data(), weights.data());
    const double half = (to - from) / (2 * parts);
    double sum = 0;
    for (int part = 0; part < parts; ++part)
        for (std::size_t i = 0; i < order; ++i)
            sum += half * weights[i] * function(from + half * (2 * part + 1 + nodes[i]));
    return sum;
}

double besselOf(double order, double x) { return std::cyl_bessel_j(order, x); }

/// The integral over a disc of the waves from a direction, of a part q of the wave vector in its
/// plane.
double patternOfDisc(double radius, double q) {
    return q == 0 ? pi * radius * radius : 2 * pi * radius * besselOf(1, q * radius) / q;
}

double obliquity(Baffle baffle, double cosine) {
    if (baffle == Baffle::rigid) return 1;
    return baffle == Baffle::soft ? cosine : (1 + cosine) / 2;
}

/// What arrives over the half sphere from a pattern that does not depend on the azimuth; per
/// density*speed*|u0|^2.
double farPower(const std::function<double(double)>& squareOfPattern, double k, Baffle baffle) {
    const double factor = k / (2 * pi);
    return pi * factor * factor * integral(0, pi / 2, [&](double angle) {
               const double sine = std::sin(angle);
               const double oblique = obliquity(baffle, std::cos(angle));
               return squareOfPattern(k * sine) * oblique * oblique * sine;
           });
}

double powerOf(const std::vector<Element>& elements, const Weights& weights, const Wave& wave,
               PowerBy way = PowerBy::faces, Baffle baffle = Baffle::rigid) {
    return radiatedPower(elements, weights, wave, way, {}, baffle).value;
}

double powerOf(const Outline& outline, const Wave& wave, PowerBy way = PowerBy::faces,
               Baffle baffle = Baffle::rigid) {
    return powerOf({elementOf(outline)}, {1.0}, wave, way, baffle);
}

constexpr double tolerance = 1e-8;

TEST(OutlinePower, OfADiscIsThatOfItsResistance) {
    // 1 - J1(2ka)/(ka), of a circular piston in a rigid baffle (Rayleigh, Theory of Sound, 302).
    for (const double ka : {0.1, 1.0, 7.0, 60.0, 400.0}) {
        const double expected = pi / 2 * (1 - besselOf(1, 2 * ka) / ka);
        EXPECT_NEAR(powerOf(discShape(1), {ka}), expected, tolerance * expected) << ka;
    }
    for (const double ka : {0.1, 1.0, 7.0, 60.0}) {
        const double expected = pi / 2 * (1 - besselOf(1, 2 * ka) / ka);
        EXPECT_NEAR(powerOf(discShape(1), {ka}, PowerBy::farField), expected, tolerance * expected)
            << ka;
    }
}

TEST(OutlinePower, OfRingsBeforeAnyBaffleIsWhatArrivesFarAway) {
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft, Baffle::free})
        for (const double k : {0.5, 5.0, 30.0}) {
            const double expected = farPower(
                [](double q) {
                    const double pattern = patternOfDisc(1.5, q) - patternOfDisc(0.7, q);
                    return pattern * pattern;
                },
                k, baffle);
            for (const PowerBy way : {PowerBy::faces, PowerBy::farField})
                EXPECT_NEAR(powerOf(ringShape(0.7, 1.5), {k}, way, baffle), expected,
                            tolerance * expected)
                    << k;
        }
}

TEST(OutlinePower, OfTwoDiscsHasTheirCoupling) {
    constexpr double distance = 2.3;
    const std::vector<Element> two{elementOf(discShape(1), poseAt(0, 0)),
                                   elementOf(discShape(1), poseAt(0.6 * distance, 0.8 * distance))};
    const Weights weights{{1, 0.5}, {-0.3, 2}};
    const double squares = std::norm(weights[0]) + std::norm(weights[1]);
    const double product = 2 * (weights[0] * std::conj(weights[1])).real();
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft, Baffle::free})
        for (const double k : {1.0, 6.0}) {
            const double expected = farPower(
                [&](double q) {
                    const double pattern = patternOfDisc(1, q);
                    return pattern * pattern * (squares + product * besselOf(0, q * distance));
                },
                k, baffle);
            for (const PowerBy way : {PowerBy::faces, PowerBy::farField})
                EXPECT_NEAR(powerOf(two, weights, {k}, way, baffle), expected, tolerance * expected)
                    << k;
        }
}

/// The sum of pairs of rectangles shares nothing with integrals along outlines.
TEST(OutlinePower, OfAPolygonIsThatOfItsRectangles) {
    const Outline bend = polygonShape({{0, 0}, {3, 0}, {3, 1}, {1, 1}, {1, 2.5}, {0, 2.5}}, {});
    const std::vector<Element> parts{{{3, 1}, poseAt(1.5, 0.5), {}},
                                     {{1, 1.5}, poseAt(0.5, 1.75), {}}};
    for (const double k : {0.3, 4.0, 25.0}) {
        const double expected = powerOf(parts, {1, 1}, {k});
        EXPECT_NEAR(powerOf(bend, {k}), expected, tolerance * expected) << k;
    }
}

TEST(OutlinePower, OfTurnedElementsIsTheSameEitherWay) {
    const std::vector<Element> elements{
        elementOf(sectorShape(0.4, 1.2, 0, 2), poseAt(0, 0, 0.4)),
        elementOf(sectorShape(0.4, 1.2, 0, 2), poseAt(0.1, -0.2, 2.9)),
        elementOf(discShape(0.5), poseAt(2.2, 0.3)),
        {{0.8, 1.4}, poseAt(-2.5, 1, 0.7), {}}};
    const Weights weights{{1, 0}, {0.3, -2}, {-1, 1}, {0.5, 0.25}};
    for (const Baffle baffle : {Baffle::rigid, Baffle::soft}) {
        const double faces = powerOf(elements, weights, {5}, PowerBy::faces, baffle);
        const double far = powerOf(elements, weights, {5}, PowerBy::farField, baffle);
        EXPECT_NEAR(faces, far, tolerance * far);
    }
}

/// The pairs of a disc's places that are so far apart: those of the area that it shares with itself
/// when moved so far.
TEST(OutlinePower, OfADiscWithLossesIsWhatLeavesItsFace) {
    const auto shared = [](double r) {
        return 2 * std::acos(r / 2) - r / 2 * std::sqrt((2 - r) * (2 + r));
    };
    for (const double k : {2.0, 20.0})
        for (const double attenuation : {0.01, 0.3, 2.0}) {
            const double expected =
                k / 2 * integral(0, 2, [&](double r) {
                    return shared(r) * std::exp(-attenuation * r) * std::sin(k * r);
                });
            EXPECT_NEAR(powerOf(discShape(1), {k, attenuation}), expected, tolerance * expected)
                << k << " " << attenuation;
        }
}

/// 2k/pi times the integral over 0 < u < w, 0 < v < h of (w - u)(h - v) exp(-ar) sin(kr)/r, in
/// polar coordinates.
TEST(OutlinePower, OfARectangleWithLossesIsWhatLeavesItsFace) {
    constexpr double w = 3;
    constexpr double h = 2;
    constexpr double k = 7;
    constexpr double attenuation = 0.4;
    const auto along = [&](double angle, double last) {
        return integral(0, last, [&](double r) {
            return (w - r * std::cos(angle)) * (h - r * std::sin(angle)) *
                   std::exp(-attenuation * r) * std::sin(k * r);
        });
    };
    const double corner = std::atan2(h, w);
    const double expected =
        k / pi *
        (integral(0, corner, [&](double angle) { return along(angle, w / std::cos(angle)); }) +
         integral(corner, pi / 2, [&](double angle) { return along(angle, h / std::sin(angle)); }));
    EXPECT_NEAR(powerOf({{{w, h}, {}, {}}}, {1.0}, {k, attenuation}), expected,
                tolerance * expected);
    // In parts as well, which touch.
    EXPECT_NEAR(powerOf({{{1, h}, poseAt(0, 0), {}}, {{2, h}, poseAt(1.5, 0), {}}}, {1, 1},
                        {k, attenuation}),
                expected, tolerance * expected);
}

TEST(OutlinePower, IsTheSameInAnyStepsAndThreads) {
    const auto elements = elementsOf(HoneycombArray{.rings = 3, .width = 0.8, .pitch = 0.9});
    Weights weights;
    for (std::size_t i = 0; i < elements.size(); ++i)
        weights.push_back(std::polar(1.0, 0.3 * static_cast<double>(i)));
    const Wave wave{2 * pi, 0.1};
    const RadiatedPower wanted = radiatedPower(elements, weights, wave, PowerBy::faces);
    PowerState state;
    std::optional<RadiatedPower> found;
    for (unsigned steps = 0; !found; ++steps) {
        PowerSearch search(elements, weights, wave, PowerBy::faces, state);
        found = search.step(steps % 3 + 1);
        state = search.state();
    }
    EXPECT_EQ(found->value, wanted.value);
    EXPECT_EQ(found->change, wanted.change);
}

TEST(OutlinePower, OfAHoneycombIsTheSameEitherWay) {
    const auto elements = elementsOf(HoneycombArray{.rings = 4, .width = 0.8, .kerf = 0.0});
    const Weights weights(elements.size(), 1.0);
    const double faces = powerOf(elements, weights, {2 * pi});
    EXPECT_NEAR(faces, powerOf(elements, weights, {2 * pi}, PowerBy::farField), tolerance * faces);
}

TEST(OutlinePower, RefusesWhatHasNone) {
    const std::vector<Element> one{elementOf(discShape(1))};
    EXPECT_EQ(
        refused([&] {
            radiatedPower(one, {1}, {1, 0.1}, PowerBy::farField);
        }),
        "attenuation: with losses no power arrives far away: it is that through the faces, of "
        "elements in one plane");
    for (const Baffle baffle : {Baffle::soft, Baffle::free})
        EXPECT_EQ(refused([&] {
                      radiatedPower(one, {1}, {1, 0.1}, PowerBy::faces, {}, baffle);
                  }),
                  "attenuation: with losses the power is known in a rigid baffle alone");
    EXPECT_EQ(refused([&] {
                  radiatedPower(one, {1}, {1, 1.5}, PowerBy::faces);
              }),
              "attenuation: must be within 0 and the wavenumber");
    for (const double ka : {1e4, 1e5, 1e12})
        EXPECT_EQ(refused([&] { radiatedPower(one, {1}, {ka}, PowerBy::faces); }),
                  "elements: their faces take too many places for the power through them; without "
                  "losses take the far field")
            << ka;
    // Far away at once as well: rules of so many nodes would never be done.
    for (const double ka : {1e5, 1e12})
        EXPECT_EQ(refused([&] { radiatedPower(one, {1}, {ka}, PowerBy::farField); }),
                  "elements: are too far apart: the array's radius is above 1200 wavelengths")
            << ka;
}

TEST(BoundaryNodes, AreCountedBeforeTheyAreMade) {
    for (const Outline& outline : {discShape(1), ringShape(0.5, 2), sectorShape(0.4, 1.2, 0, 2)})
        for (const double k : {0.0, 3.0, 200.0})
            EXPECT_EQ(nodesOf(outline, k, 2), nodesAlong(outline, k, 2).size()) << k;
    const Outline disc = discShape(1);
    EXPECT_EQ(orderAlong(disc.loops[0][0], 1, 1e300, 6), std::numeric_limits<int>::max());
}

}  // namespace
