// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/BowlArray.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>

#include "arrays/ArrayReport.h"
#include "arrays/rectangles.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::Bowl;
using pistonfield::BowlRings;
using pistonfield::BowlSpiral;
using pistonfield::cornersOf;
using pistonfield::Element;
using pistonfield::elementsOf;
using pistonfield::Pose;
using pistonfield::survey;

constexpr double pi = std::numbers::pi;

/// A bowl as for ultrasound through the skull, in mm.
const Bowl bowl{.radius = 150, .aperture = 280, .openingAngle = {}, .hole = 40};
const Bowl whole{.radius = 150, .aperture = 280};

double fromAxis(const Pose::Vector& p) { return std::hypot(p[0], p[1]); }

double polarOf(const Element& element) {
    return std::atan2(fromAxis(element.pose.centre), 150 - element.pose.centre[2]);
}

/// Elements touch the sphere, radiate to the focus, lie along meridians and parallels, and within
/// hole and rim.
void expectOnBowl(const std::vector<Element>& elements, double hole, double aperture) {
    for (const Element& element : elements) {
        const auto& [centre, alongWidth, alongHeight] = element.pose;
        const Pose::Vector toFocus{-centre[0], -centre[1], 150 - centre[2]};
        EXPECT_NEAR(std::hypot(toFocus[0], toFocus[1], toFocus[2]), 150, 1e-10);
        const Pose::Vector normal = element.pose.normal();
        for (std::size_t axis = 0; axis < 3; ++axis)
            EXPECT_NEAR(normal[axis], toFocus[axis] / 150, 1e-13);
        EXPECT_EQ(alongWidth[2], 0);
        EXPECT_NEAR(alongWidth[0] * centre[0] + alongWidth[1] * centre[1], 0, 1e-12);
        EXPECT_LE(alongHeight[2], 0);
        for (const auto& corner : cornersOf(element)) {
            EXPECT_LE(fromAxis(corner), aperture / 2 * (1 + 1e-12));
            EXPECT_GE(fromAxis(corner), hole / 2 * (1 - 1e-12));
        }
    }
}

TEST(BowlRings, StandOnTheBowl) {
    const auto elements = elementsOf(BowlRings{.bowl = bowl, .width = 5, .height = 4, .kerf = 0.5});
    EXPECT_GT(elements.size(), 2000);
    expectOnBowl(elements, 40, 280);
    // The first and the last ring reach hole and rim.
    EXPECT_NEAR(fromAxis(elements.front().pose.centre) - 2 * std::cos(polarOf(elements.front())),
                20, 1e-10);
    double farthest = 0;
    for (const auto& corner : cornersOf(elements.back()))
        farthest = std::max(farthest, fromAxis(corner));
    EXPECT_NEAR(farthest, 140, 1e-10);
}

TEST(BowlRings, KeepTheirKerf) {
    for (const double kerf : {0.0, 0.5, 3.0})
        for (const Bowl& of : {bowl, whole})
            for (const double height : {1.0, 4.0, 12.0}) {
                const auto report = survey(
                    elementsOf(BowlRings{.bowl = of, .width = 5, .height = height, .kerf = kerf}));
                EXPECT_TRUE(report.overlaps.empty()) << kerf << ' ' << height;
                EXPECT_GE(*report.smallestGap, kerf - 1e-9);
                EXPECT_LE(*report.smallestGap, kerf + 1);
            }
}

/// The elements of each ring are evenly spaced, and there is no room for another one.
TEST(BowlRings, AreFull) {
    const auto elements = elementsOf(BowlRings{.bowl = bowl, .width = 5, .height = 4, .kerf = 0.5});
    std::map<long, std::size_t> rings;
    for (const Element& element : elements) ++rings[std::lround(polarOf(element) * 1e9)];
    EXPECT_GT(rings.size(), 25);
    for (const auto& [number, count] : rings) {
        const double polar = static_cast<double>(number) * 1e-9;
        const double inner = 150 * std::sin(polar) - 2 * std::cos(polar);
        EXPECT_LT(2 * pi * inner, 5.6 * static_cast<double>(count + 1));
    }
    const std::size_t first = rings.begin()->second;
    for (std::size_t i = 1; i < first; ++i) {
        const double turn = 2 * pi * static_cast<double>(i) / static_cast<double>(first);
        const double radius = elements[0].pose.centre[0];
        EXPECT_NEAR(elements[i].pose.centre[0], radius * std::cos(turn), 1e-10);
        EXPECT_NEAR(elements[i].pose.centre[1], radius * std::sin(turn), 1e-10);
    }
}

TEST(BowlRings, TakeAPitchInPlaceOfAKerf) {
    EXPECT_EQ(elementsOf(BowlRings{.bowl = whole, .width = 5, .height = 5, .pitch = 6}),
              elementsOf(BowlRings{.bowl = whole, .width = 5, .height = 5, .kerf = 1}));
}

TEST(BowlRings, BeginAtTheApexWithoutAHole) {
    const auto elements = elementsOf(BowlRings{.bowl = whole, .width = 5, .height = 5, .pitch = 6});
    EXPECT_EQ(elements[0], (Element{{5, 5}, {{0, 0, 0}, {0, 1, 0}, {-1, 0, 0}}}));
    EXPECT_GT(polarOf(elements[1]), 6.0 / 150);
    expectOnBowl(elements, 0, 280);
}

TEST(BowlRings, HaveTheCountsThatAreGiven) {
    for (const std::vector<std::int64_t>& counts :
         {std::vector<std::int64_t>{8, 16, 24}, {1, 6, 12, 18}, {1}, {3}, {100}}) {
        const auto elements =
            elementsOf(BowlRings{.bowl = whole, .width = 5, .height = 5, .counts = counts});
        expectOnBowl(elements, 0, 280);
        std::map<long, std::int64_t> rings;
        for (const Element& element : elements) ++rings[std::lround(polarOf(element) * 1e9)];
        std::vector<std::int64_t> found;
        std::vector<double> polars;
        for (const auto& [polar, count] : rings) {
            found.push_back(count);
            polars.push_back(static_cast<double>(polar) * 1e-9);
        }
        EXPECT_EQ(found, counts);
        for (std::size_t i = 2; i < polars.size(); ++i)
            EXPECT_NEAR(polars[i] - polars[i - 1], polars[1] - polars[0], 1e-8);
        EXPECT_EQ(counts[0] == 1, polars[0] == 0);
    }
}

TEST(BowlRings, RefuseWhatIsNone) {
    const BowlRings good{.bowl = bowl, .width = 5, .height = 4, .kerf = 0.5};
    const auto with = [&](auto change) {
        BowlRings array = good;
        change(array);
        return refused([&] { elementsOf(array); });
    };
    EXPECT_EQ(with([](auto& /*a*/) {}), "no failure");
    EXPECT_EQ(with([](auto& a) { a.bowl.radius = -1; }), "radius: must be a length above 0");
    EXPECT_EQ(with([](auto& a) { a.bowl.radius = 139; }),
              "radius: is too small: a rim is at most twice as wide");
    EXPECT_EQ(with([](auto& a) { a.bowl.aperture = 0; }), "aperture: must be a length above 0");
    EXPECT_EQ(with([](auto& a) { a.bowl.aperture = 4.9; }),
              "aperture: there is no room for an element");
    EXPECT_EQ(with([](auto& a) { a.bowl.aperture = 5.1; }),
              "aperture: there is no room for an element");
    EXPECT_EQ(with([](auto& a) { a.bowl.openingAngle = 1; }),
              "aperture: it or the opening angle is to be given");
    EXPECT_EQ(with([](auto& a) {
                  a.bowl.aperture.reset();
                  a.bowl.openingAngle = 3.2;
              }),
              "openingAngle: must be above 0 and at most pi");
    EXPECT_EQ(with([](auto& a) { a.bowl.hole = -1; }), "hole: must be a length, or 0");
    EXPECT_EQ(with([](auto& a) { a.bowl.hole = 280; }), "hole: must be within the aperture");
    EXPECT_EQ(with([](auto& a) { a.bowl.hole = 277; }),
              "hole: there is no room for an element beside it");
    EXPECT_EQ(with([](auto& a) { a.kerf = -1; }), "kerf: must be a length, or 0");
    EXPECT_EQ(with([](auto& a) { a.kerf.reset(); }),
              "kerf: one of kerf, pitch, counts says how far the elements are apart, not none");
    EXPECT_EQ(with([](auto& a) { a.pitch = 1; }),
              "kerf: one of kerf, pitch, counts says how far the elements are apart, not several");
    EXPECT_EQ(with([](auto& a) {
                  a.kerf.reset();
                  a.pitch = 4.9;
              }),
              "pitch: elements overlap unless it is the longer side or more");
    EXPECT_EQ(with([](auto& a) {
                  a.kerf = 0;
                  a.width = a.height = 0.1;
              }),
              "kerf: there would be more than 1000000 elements");
    const auto withCounts = [&](std::vector<std::int64_t> counts) {
        return with([&](auto& a) {
            a.kerf.reset();
            a.counts = counts;
        });
    };
    EXPECT_EQ(withCounts({10, 0}), "counts: 0 is not within 1 to 1000000");
    EXPECT_EQ(withCounts({26, 100}), "counts: ring 1 has room for 25, not for 26");
    EXPECT_EQ(withCounts({25, 100}), "no failure");
    EXPECT_EQ(withCounts(std::vector<std::int64_t>(60, 1)),
              "counts: there is no room for 60 rings");
}

TEST(BowlRings, HaveTheApertureOfAnOpeningAngle) {
    const Bowl byAngle{.radius = 150, .aperture = {}, .openingAngle = 2 * std::asin(140.0 / 150)};
    const auto found = elementsOf(BowlRings{.bowl = byAngle, .width = 5, .height = 5, .kerf = 1});
    expectOnBowl(found, 0, 280);
    EXPECT_EQ(found.size(),
              elementsOf(BowlRings{.bowl = whole, .width = 5, .height = 5, .kerf = 1}).size());
}

TEST(BowlSpiral, StandsOnTheBowlInZonesOfEqualAreas) {
    for (const Bowl& of : {bowl, whole}) {
        const auto elements =
            elementsOf(BowlSpiral{.bowl = of, .elements = 512, .width = 6, .height = 6});
        ASSERT_EQ(elements.size(), 512);
        expectOnBowl(elements, of.hole, 280);
        EXPECT_TRUE(survey(elements).overlaps.empty());
        // On a sphere zones between planes across the axis are as large as these are apart.
        for (std::size_t i = 1; i < elements.size(); ++i) {
            EXPECT_NEAR(elements[i].pose.centre[2] - elements[i - 1].pose.centre[2],
                        elements[1].pose.centre[2] - elements[0].pose.centre[2], 1e-11);
            const auto azimuth = [](const Element& e) {
                return std::atan2(e.pose.centre[1], e.pose.centre[0]);
            };
            const double turn = azimuth(elements[i]) - azimuth(elements[i - 1]);
            EXPECT_NEAR(std::cos(turn), std::cos(pi * (3 - std::sqrt(5))), 1e-11);
        }
    }
}

TEST(BowlSpiral, RefusesElementsThatOverlap) {
    EXPECT_EQ(refused([] {
                  elementsOf(BowlSpiral{.bowl = whole, .elements = 4000, .width = 6, .height = 6});
              }).substr(0, 10),
              "elements: ");
    EXPECT_EQ(refused([] {
                  elementsOf(BowlSpiral{.bowl = whole, .elements = 0, .width = 6, .height = 6});
              }),
              "elements: 0 is not within 1 to 1000000");
}

}  // namespace
