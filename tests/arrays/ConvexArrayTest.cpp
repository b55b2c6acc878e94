// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/ConvexArray.h"

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>

#include "arrays/ArrayReport.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::ConvexArray;
using pistonfield::elementsOf;
using pistonfield::Pose;
using pistonfield::survey;

const ConvexArray usual{.elements = 64, .radius = 60, .width = 0.4, .height = 13, .pitch = 0.5};

double distance(const Pose::Vector& a, const Pose::Vector& b) {
    return std::hypot(a[0] - b[0], a[1] - b[1], a[2] - b[2]);
}

TEST(ConvexArray, TouchesItsCylinderAndRadiatesAwayFromItsAxis) {
    const auto elements = elementsOf(usual);
    ASSERT_EQ(elements.size(), 64);
    for (const auto& element : elements) {
        const auto& [x, y, z] = element.pose.centre;
        const Pose::Vector normal = element.pose.normal();
        EXPECT_NEAR(std::hypot(x, z + 60), 60, 1e-12);
        EXPECT_EQ(y, 0);
        EXPECT_NEAR(distance(normal, {x / 60, 0, (z + 60) / 60}), 0, 1e-14);
        EXPECT_EQ(element.pose.alongHeight, (Pose::Vector{0, 1, 0}));
    }
}

TEST(ConvexArray, HasItsPitchAlongTheArc) {
    const auto elements = elementsOf(usual);
    for (std::size_t i = 1; i < elements.size(); ++i) {
        const auto& a = elements[i - 1].pose.centre;
        const auto& b = elements[i].pose.centre;
        EXPECT_GT(b[0], a[0]);
        EXPECT_NEAR(distance(a, b), 2 * 60 * std::sin(0.5 / 60 / 2), 1e-13);
    }
    // The apex is in the middle.
    EXPECT_NEAR(elements[31].pose.centre[0] + elements[32].pose.centre[0], 0, 1e-13);
    ConvexArray odd = usual;
    odd.elements = 5;
    EXPECT_EQ(elementsOf(odd)[2].pose, Pose{});
}

TEST(ConvexArray, TakesAnAngleOrAKerf) {
    ConvexArray array = usual;
    array.pitch.reset();
    array.angle = 0.5 / 60;
    EXPECT_EQ(elementsOf(array), elementsOf(usual));
    for (const double kerf : {0.0, 0.1, 20.0}) {
        ConvexArray other{.elements = 6, .radius = 60, .width = 5, .height = 13};
        other.kerf = kerf;
        const auto report = survey(elementsOf(other));
        EXPECT_TRUE(report.overlaps.empty()) << kerf;
        EXPECT_NEAR(*report.smallestGap, kerf, 1e-12);
    }
}

TEST(ConvexArray, RefusesWhatIsNone) {
    const auto with = [&](auto change) {
        ConvexArray array = usual;
        change(array);
        return refused([&] { elementsOf(array); });
    };
    EXPECT_EQ(with([](auto& /*a*/) {}), "no failure");
    EXPECT_EQ(with([](auto& a) { a.radius = 0; }), "radius: must be a length above 0");
    EXPECT_EQ(with([](auto& a) { a.radius = 5; }),
              "radius: is too small: 64 elements go more than once around the axis");
    EXPECT_EQ(with([](auto& a) {
                  a.angle = 1.5;
                  a.pitch.reset();
              }),
              "angle: is too large: 64 elements go more than once around the axis");
    EXPECT_EQ(with([](auto& a) { a.pitch = 0.39; }), "pitch: elements of this width overlap");
    EXPECT_EQ(with([](auto& a) { a.pitch = -1; }), "pitch: must be a length above 0");
    EXPECT_EQ(with([](auto& a) { a.kerf = 1; }),
              "pitch: one of pitch, angle, kerf says how far the elements are apart, not several");
    const auto withAngle = [&](double angle) {
        return with([=](auto& a) {
            a.pitch.reset();
            a.angle = angle;
        });
    };
    EXPECT_EQ(withAngle(0.4 / 60 - 1e-6), "angle: elements of this width overlap");
    EXPECT_EQ(withAngle(0.4 / 60 + 1e-6), "no failure");
    EXPECT_EQ(withAngle(-1), "angle: must be an angle above 0");
    const auto withKerf = [&](double kerf) {
        return with([=](auto& a) {
            a.pitch.reset();
            a.kerf = kerf;
        });
    };
    EXPECT_EQ(withKerf(-1), "kerf: must be a length, or 0");
    EXPECT_EQ(withKerf(121), "kerf: must be less than the diameter");
}

/// Twelve elements all around, touching each other.
TEST(ConvexArray, MayGoOnceAround) {
    const double width = 2 * 10 * std::tan(std::numbers::pi / 12);
    ConvexArray ring{.elements = 12, .radius = 10, .width = width, .height = 1};
    ring.kerf = 0;
    EXPECT_TRUE(survey(elementsOf(ring)).overlaps.empty());
    ring.width *= 1 + 1e-6;
    EXPECT_EQ(refused([&] { elementsOf(ring); }),
              "radius: is too small: 12 elements go more than once around the axis");
}

}  // namespace
