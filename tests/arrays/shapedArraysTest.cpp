// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
// Pistons and arrays of shapes other than rectangles, and what a survey finds of them.
#include <gmock/gmock.h>

#include <cmath>
#include <complex>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "arrays/AnnularArray.h"
#include "arrays/ArrayReport.h"
#include "arrays/HoneycombArray.h"
#include "arrays/Window.h"
#include "arrays/pistonShapes.h"
#include "tests/support/Refused.h"

namespace {

using namespace pistonfield;

constexpr double pi = std::numbers::pi;

Element elementOf(Outline outline, Pose::Vector centre = {}) {
    return {{}, {centre}, std::make_shared<const Outline>(std::move(outline))};
}

const std::vector<PlaneVector> square{{-1, -1}, {1, -1}, {1, 1}, {-1, 1}};

std::vector<PlaneVector> squareAt(double x, double y, double half) {
    std::vector<PlaneVector> corners;
    for (const PlaneVector& corner : square)
        corners.push_back({x + half * corner[0], y + half * corner[1]});
    return corners;
}

/// A pose whose normal points along x.
Pose sideways(Pose::Vector centre) { return {centre, {0, 1, 0}, {0, 0, 1}}; }

TEST(ShapesTest, HaveTheirAreas) {
    EXPECT_NEAR(areaOf(discShape(2)), 4 * pi, 1e-14);
    EXPECT_NEAR(areaOf(ringShape(1, 2)), 3 * pi, 1e-14);
    EXPECT_EQ(ringShape(0, 2), discShape(2));
    EXPECT_NEAR(areaOf(sectorShape(1, 2, -0.5, 1)), 3 * 1.5 / 2, 1e-14);
    EXPECT_NEAR(areaOf(polygonShape(square, {squareAt(0, 0, 0.5)})), 3, 1e-14);
}

TEST(ShapesTest, ThatAreNoneAreRefused) {
    const double nan = std::numeric_limits<double>::quiet_NaN();
    EXPECT_EQ(refused([] { discShape(0); }), "radius: must be a length above 0");
    EXPECT_EQ(refused([&] { ringShape(nan, 1); }), "inner: must be a length, or 0");
    EXPECT_EQ(refused([] { ringShape(1, 1); }), "inner: must be less than the outer radius");
    EXPECT_EQ(refused([] { ringShape(1, HUGE_VAL); }), "outer: must be a length above 0");
    for (const auto& [from, to] : {std::pair{1.0, 1.0}, {0.0, 2 * pi}, {nan, 1.0}, {0.0, nan}})
        EXPECT_EQ(refused([a = from, b = to] { sectorShape(0, 1, a, b); }),
                  "angles: must rise, by less than a whole turn");
    EXPECT_EQ(refused([] {
                  polygonShape({{0, 0}, {1, 1}}, {});
              }),
              "corners: a polygon has three corners or more");
    EXPECT_EQ(refused([] {
                  polygonShape({{0, 0}, {2, 0}, {0, 1}, {3, 4}}, {});
              }),
              "corners: two of its edges cross: the one between (0, 1) and (2, 0), and the one "
              "between (0, 0) and (3, 4)");
    EXPECT_EQ(refused([] {
                  polygonShape(square, {{{0, 0}}});
              }),
              "holes: a polygon has three corners or more");
    EXPECT_EQ(refused([] { polygonShape(square, {squareAt(1, 0, 0.5)}); }),
              "holes: must lie inside of the polygon");
    EXPECT_EQ(refused([] {
                  polygonShape(square, {squareAt(0, 0, 0.5), squareAt(0, 0, 0.2)});
              }),
              "holes: must lie beside each other");
    // Bars that cross with no corner of one in the other.
    EXPECT_THAT(refused([] {
                    polygonShape(square, {{{-0.8, -0.1}, {0.8, -0.1}, {0.8, 0.1}, {-0.8, 0.1}},
                                          {{-0.1, -0.8}, {0.1, -0.8}, {0.1, 0.8}, {-0.1, 0.8}}});
                }),
                testing::StartsWith("holes: two of its edges cross: "));
}

TEST(AnnularArrayTest, RingsOfEqualAreasFillADisc) {
    const auto elements = elementsOf(AnnularArray{.radii = {}, .elements = 6, .radius = 3.0});
    ASSERT_EQ(elements.size(), 6U);
    for (const Element& element : elements)
        EXPECT_NEAR(areaOf(*element.outline), 9 * pi / 6, 1e-13);
    EXPECT_EQ(elements[0].outline->loops.size(), 1U);
    EXPECT_EQ(elements[1].outline->loops.size(), 2U);
    const ArrayReport report = survey(elements);
    EXPECT_TRUE(report.overlaps.empty());
    EXPECT_NEAR(*report.smallestGap, 0, 1e-12);
    EXPECT_NEAR(report.area, 9 * pi, 1e-12);
    EXPECT_NEAR(*report.fillFactor, 1, 1e-3);
    EXPECT_TRUE(report.isCoplanar);
    EXPECT_NEAR(report.extent[1][0], 3, 1e-14);
}

TEST(AnnularArrayTest, AKerfLiesBetweenRingsOfEqualAreasToo) {
    const auto elements = elementsOf(
        AnnularArray{.radii = {}, .elements = 5, .radius = 3.0, .inner = 0.5, .kerf = 0.1});
    for (const Element& element : elements)
        EXPECT_NEAR(areaOf(*element.outline), areaOf(*elements[0].outline), 1e-12);
    const ArrayReport report = survey(elements);
    EXPECT_TRUE(report.overlaps.empty());
    EXPECT_NEAR(*report.smallestGap, 0.1, 2 * 3e-4 * 3);
    EXPECT_NEAR(report.extent[1][0], 3, 1e-12);
}

TEST(AnnularArrayTest, RadiiAreTheMiddlesOfTheGaps) {
    const auto elements = elementsOf(AnnularArray{.radii = {1, 2, 3}, .kerf = 0.2});
    ASSERT_EQ(elements.size(), 2U);
    EXPECT_NEAR(areaOf(*elements[0].outline), pi * (1.9 * 1.9 - 1), 1e-13);
    EXPECT_NEAR(areaOf(*elements[1].outline), pi * (9 - 2.1 * 2.1), 1e-13);
}

TEST(AnnularArrayTest, WhatIsNoneIsRefused) {
    const auto refusal = [](const AnnularArray& array) {
        return refused([&] { elementsOf(array); });
    };
    EXPECT_EQ(refusal({}), "elements: is missing; or give radii");
    EXPECT_EQ(refusal({.radii = {1}}), "radii: must be two or more");
    EXPECT_EQ(refusal({.radii = {1, 2}, .elements = 1}),
              "radii: give them, or elements and the radius, not both");
    EXPECT_EQ(refusal({.radii = {2, 1}}),
              "radii: must rise, by more than the kerf: ring 1 has no area");
    EXPECT_EQ(refusal({.radii = {}, .elements = 0, .radius = 1.0}),
              "elements: 0 is not within 1 to 1024");
    EXPECT_EQ(refusal({.radii = {}, .elements = 2}), "radius: is missing");
    EXPECT_EQ(refusal({.radii = {}, .elements = 2, .radius = 1.0, .inner = 1.5}),
              "inner: must be less than the radius");
    EXPECT_EQ(refusal({.radii = {}, .elements = 2, .radius = 1.0, .kerf = 1}),
              "kerf: leaves no room for the rings");
    EXPECT_EQ(refusal({.radii = {0, 1}, .kerf = -1}), "kerf: must be a length, or 0");
}

TEST(HoneycombArrayTest, HexagonsTouchEachOtherWithoutAKerf) {
    const auto elements = elementsOf(HoneycombArray{.rings = 2, .width = 1, .kerf = 0.0});
    ASSERT_EQ(elements.size(), 19U);
    const ArrayReport report = survey(elements);
    EXPECT_TRUE(report.overlaps.empty());
    EXPECT_NEAR(*report.smallestGap, 0, 1e-12);
    EXPECT_NEAR(report.area, 19 * std::sqrt(3) / 2, 1e-12);
}

TEST(HoneycombArrayTest, TheKerfIsTheDistanceOfSides) {
    const ArrayReport report =
        survey(elementsOf(HoneycombArray{.rings = 3, .width = 1, .pitch = 1.25}));
    EXPECT_TRUE(report.overlaps.empty());
    EXPECT_NEAR(*report.smallestGap, 0.25, 1e-12);
}

TEST(HoneycombArrayTest, WhatIsNoneIsRefused) {
    const auto refusal = [](const HoneycombArray& array) {
        return refused([&] { elementsOf(array); });
    };
    EXPECT_EQ(refusal({.rings = 577, .width = 1, .kerf = 0.0}),
              "rings: 577 is not within 0 to 576");
    EXPECT_EQ(refusal({.rings = 0, .width = -1}), "width: must be a length above 0");
    EXPECT_EQ(refusal({.rings = 1, .width = 1, .pitch = 0.5}),
              "pitch: elements overlap unless it is the width or more");
    EXPECT_EQ(refusal({.rings = 1, .width = 1, .kerf = -0.5}), "kerf: must be a length, or 0");
    EXPECT_EQ(refused([] { elementsOf(HoneycombArray{.rings = 0, .width = 1}); }), "no failure");
}

/// Whether a survey takes two elements for overlapping, in either order.
bool overlap(const Element& a, const Element& b) {
    const bool found = !survey({a, b}).overlaps.empty();
    EXPECT_EQ(found, !survey({b, a}).overlaps.empty());
    return found;
}

TEST(OutlineSurveyTest, FacesInAPlaneOverlapWhereTheirInsidesMeet) {
    const Element disc = elementOf(discShape(1));
    EXPECT_TRUE(overlap(disc, disc));
    EXPECT_TRUE(overlap(disc, elementOf(discShape(1), {1.9, 0, 0})));
    EXPECT_FALSE(overlap(disc, elementOf(discShape(1), {2.01, 0, 0})));
    EXPECT_TRUE(overlap(disc, elementOf(discShape(0.2), {0.3, 0.1, 0})));
    // In the hole of a ring, across its rim, and within it.
    const Element ring = elementOf(ringShape(1.1, 2));
    EXPECT_FALSE(overlap(disc, ring));
    EXPECT_TRUE(overlap(elementOf(discShape(1), {0.5, 0, 0}), ring));
    EXPECT_TRUE(overlap(elementOf(discShape(0.1), {1.5, 0, 0}), ring));
    // Bars that cross with no corner of one in the other.
    const Element bar = elementOf(polygonShape({{-3, -0.2}, {3, -0.2}, {3, 0.2}, {-3, 0.2}}, {}));
    Element across = bar;
    across.pose.alongWidth = {0, 1, 0};
    across.pose.alongHeight = {-1, 0, 0};
    EXPECT_TRUE(overlap(bar, across));
    // A rectangle beside an outline.
    EXPECT_TRUE(overlap({{1, 1}, {{1.4, 0, 0}}}, disc));
    EXPECT_FALSE(overlap({{1, 1}, {{1.6, 0, 0}}}, disc));
}

TEST(OutlineSurveyTest, FacesAcrossPlanesOverlapWhereOneGoesThroughTheOther) {
    const Element disc = elementOf(discShape(1));
    Element upright = disc;
    upright.pose = sideways({0.5, 0, 0});
    EXPECT_TRUE(overlap(disc, upright));
    upright.pose = sideways({0.5, 0, 1.2});
    EXPECT_FALSE(overlap(disc, upright));
    EXPECT_NEAR(*survey({disc, upright}).smallestGap, 0.2, 1e-3);
    // Through the hole of a ring.
    const Element ring = elementOf(ringShape(1.5, 2));
    upright.pose = sideways({0, 0, 0});
    EXPECT_FALSE(overlap(ring, upright));
    EXPECT_NEAR(*survey({ring, upright}).smallestGap, 0.5, 1e-3);
    // In parallel planes.
    EXPECT_FALSE(overlap(disc, elementOf(discShape(1), {0.3, 0, 0.4})));
    EXPECT_NEAR(*survey({disc, elementOf(discShape(1), {0.3, 0, 0.4})}).smallestGap, 0.4, 1e-12);
}

TEST(OutlineSurveyTest, ElementsThatFaceEachOtherAreFound) {
    const Element disc = elementOf(discShape(1));
    Element opposed = disc;
    opposed.pose = {{0, 0, 5}, {1, 0, 0}, {0, -1, 0}};
    EXPECT_EQ(survey({disc, opposed}).facing.size(), 1U);
    opposed.outline = std::make_shared<const Outline>(ringShape(0.5, 1));
    opposed.pose.centre = {0.7, 0, 5};
    EXPECT_EQ(survey({disc, opposed}).facing.size(), 1U);
    // Each one's ray goes beside the other's face, or through its hole.
    Element ring = elementOf(ringShape(0.5, 1));
    opposed.pose.centre = {0, 0, 5};
    EXPECT_TRUE(survey({ring, opposed}).facing.empty());
}

TEST(OutlineSurveyTest, WindowsLieAlongOutlines) {
    const auto elements = elementsOf(HoneycombArray{.rings = 1, .width = 1, .pitch = 1.0});
    const auto values = windowValues({windowCalled("hann"), 0}, WindowAlong::x, elements);
    EXPECT_NEAR(values[0], 1, 1e-12);
    EXPECT_NEAR(values[1], std::pow(std::cos(pi / 2 / 1.5), 2), 1e-12);
}

}  // namespace
