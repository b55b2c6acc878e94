// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/ArrayReport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <numbers>

#include "arrays/BowlArray.h"
#include "arrays/ConvexArray.h"
#include "arrays/planarArrays.h"
#include "tests/arrays/randomElements.h"
#include "tests/support/Refused.h"

namespace {

using pistonfield::ArrayReport;
using pistonfield::Element;
using pistonfield::elementsOf;
using pistonfield::Pose;
using pistonfield::survey;
using Pair = ArrayReport::Pair;

Pose::Vector pointOf(const Element& e, double u, double v) {
    Pose::Vector point{};
    for (std::size_t axis = 0; axis < 3; ++axis)
        point[axis] = e.pose.centre[axis] + u * e.piston.width / 2 * e.pose.alongWidth[axis] +
                      v * e.piston.height / 2 * e.pose.alongHeight[axis];
    return point;
}

/// The least distance of a face from a point.
double distanceTo(const Element& e, const Pose::Vector& point) {
    const Pose::Vector place = e.pose.placeOf(point);
    const double x = std::max(0.0, std::abs(place[0]) - e.piston.width / 2);
    const double y = std::max(0.0, std::abs(place[1]) - e.piston.height / 2);
    return std::sqrt(x * x + y * y + place[2] * place[2]);
}

/// The least value of a convex function on [-1, 1].
template <class Function>
double leastOf(const Function& function) {
    double from = -1;
    double to = 1;
    while (to - from > 1e-8) {
        const double third = (to - from) / 3;
        if (function(from + third) < function(to - third))
            to -= third;
        else
            from += third;
    }
    return function((from + to) / 2);
}

/// The distance of two faces: that of one from the points of the other one is convex.
double distanceBySearch(const Element& a, const Element& b) {
    return leastOf([&](double u) {
        return leastOf([&](double v) { return distanceTo(b, pointOf(a, u, v)); });
    });
}

/// The distance of two centres. Faces whose centres are 3 apart are 0.8 apart at least.
double centreDistance(const Element& a, const Element& b) {
    return std::hypot(a.pose.centre[0] - b.pose.centre[0], a.pose.centre[1] - b.pose.centre[1],
                      a.pose.centre[2] - b.pose.centre[2]);
}

TEST(ArrayReport, FindsTheOverlapsAndTheGapThatEveryPairHas) {
    std::size_t overlaps = 0;
    for (unsigned seed = 1; seed <= 20; ++seed) {
        const auto elements = randomElements(60, seed % 2 == 0 ? 5 : 12, seed);
        std::vector<Pair> expected;
        double least = HUGE_VAL;
        for (std::size_t i = 0; i < elements.size(); ++i)
            for (std::size_t j = i + 1; j < elements.size(); ++j) {
                if (centreDistance(elements[i], elements[j]) > 3) continue;
                const double distance = distanceBySearch(elements[i], elements[j]);
                if (distance < 1e-6) expected.emplace_back(i, j);
                least = std::min(least, distance);
            }
        const ArrayReport report = survey(elements);
        EXPECT_EQ(report.overlaps, expected) << seed;
        EXPECT_NEAR(*report.smallestGap, least, 1e-5) << seed;
        overlaps += expected.size();
    }
    EXPECT_GT(overlaps, 20);
}

TEST(ArrayReport, FindsOverlapsInAPlane) {
    // Crossed, one within the other, and turned in the plane.
    const double s = std::sqrt(0.5);
    const std::vector<Element> elements{{{4, 1}, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
                                        {{1, 4}, {{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}},
                                        {{0.1, 0.1}, {{1.9, 0, 0}, {s, s, 0}, {-s, s, 0}}},
                                        {{2, 2}, {{3.1, 1.8, 0}, {s, s, 0}, {-s, s, 0}}}};
    const ArrayReport report = survey(elements);
    EXPECT_EQ(report.overlaps, (std::vector<Pair>{{0, 1}, {0, 2}}));
    EXPECT_EQ(report.smallestGap, 0);
}

TEST(ArrayReport, TakesTouchingForNoOverlap) {
    for (const double kerf : {0.0, 1e-3}) {
        pistonfield::MatrixArray matrix{.columns = 100, .rows = 50, .width = 0.3, .height = 0.7};
        matrix.kerfX = matrix.kerfY = kerf;
        const ArrayReport report = survey(elementsOf(matrix));
        EXPECT_TRUE(report.overlaps.empty());
        EXPECT_NEAR(*report.smallestGap, kerf, 1e-13);
        EXPECT_TRUE(report.isCoplanar);
        EXPECT_NEAR(report.area, 100 * 50 * 0.21, 1e-9);
        const double outline = (100 * 0.3 + 99 * kerf) * (50 * 0.7 + 49 * kerf);
        EXPECT_NEAR(*report.fillFactor, report.area / outline, 1e-12);
        EXPECT_NEAR(report.extent[1][0], (100 * 0.3 + 99 * kerf) / 2, 1e-12);
        EXPECT_NEAR(report.extent[0][1], -(50 * 0.7 + 49 * kerf) / 2, 1e-12);
        EXPECT_EQ(report.extent[1][2], 0);
    }
}

TEST(ArrayReport, HasNoGapOfOneElement) {
    const ArrayReport report = survey({Element{{2, 3}, {}}});
    EXPECT_EQ(report.elements, 1);
    EXPECT_FALSE(report.smallestGap);
    EXPECT_EQ(report.fillFactor, 1);
    EXPECT_TRUE(report.facing.empty());
}

TEST(ArrayReport, HasTheGapOfElementsFarApart) {
    const ArrayReport report =
        survey({Element{{1, 1}, {}}, Element{{1, 1}, {{1e6, 0, 0}, {1, 0, 0}, {0, 1, 0}}}});
    EXPECT_EQ(*report.smallestGap, 1e6 - 1);
    EXPECT_EQ(report.closest, (Pair{0, 1}));
}

TEST(ArrayReport, FindsElementsThatFaceEachOther) {
    const auto at = [](double x, double z, double front) {
        return Element{{1, 1}, {{x, 0, z}, {front, 0, 0}, {0, 1, 0}}};
    };
    // At x = 0 two that do, at 2 two that are back to back, at 4 one behind the other, at 6 two
    // beside each other's rays.
    const ArrayReport report = survey({at(0, 0, 1), at(0, 5, -1), at(2, 0, -1), at(2, 5, 1),
                                       at(4, 0, 1), at(4, 5, 1), at(6, 0, 1), at(6.6, 5, -1)});
    EXPECT_EQ(report.facing, (std::vector<Pair>{{0, 1}}));
    EXPECT_FALSE(report.isCoplanar);
    EXPECT_FALSE(survey({at(0, 0, 1), at(0, 5, -1)}).fillFactor);
}

/// Around a cylinder none do from the outside, and all from the inside.
TEST(ArrayReport, SaysWhoFacesWhomAroundACylinder) {
    auto elements = elementsOf(pistonfield::ConvexArray{
        .elements = 36, .radius = 10, .width = 1, .height = 1, .angle = std::numbers::pi / 18});
    EXPECT_TRUE(survey(elements).facing.empty());
    for (Element& element : elements)
        for (double& along : element.pose.alongWidth) along = -along;
    const ArrayReport report = survey(elements);
    ASSERT_EQ(report.facing.size(), 18);
    for (std::size_t i = 0; i < 18; ++i) EXPECT_EQ(report.facing[i], (Pair{i, i + 18}));
}

TEST(ArrayReport, ListsNoMorePairsThanItSays) {
    const std::vector<Element> stack(100, Element{{1, 1}, {}});
    const ArrayReport report = survey(stack);
    EXPECT_EQ(report.overlaps.size(), ArrayReport::mostListed);
    EXPECT_EQ(report.overlaps.front(), (Pair{0, 1}));
    EXPECT_TRUE(std::is_sorted(report.overlaps.begin(), report.overlaps.end()));
}

TEST(ArrayReport, RefusesWhatAreNoElements) {
    EXPECT_EQ(refused([] { survey({}); }), "elements: 0 are not within 1 to 1000000");
    EXPECT_EQ(refused([] {
                  survey({Element{{0, 1}, {}}});
              }),
              "elements: element 1: the sides must be lengths above 0, within the range of the "
              "mode cpu");
}

/// Every pair of so many would take hours.
TEST(ArrayReport, TakesLittleTimeForManyElements) {
    const auto before = std::chrono::steady_clock::now();
    pistonfield::MatrixArray matrix{.columns = 400, .rows = 250, .width = 0.3, .height = 0.7};
    matrix.kerfX = matrix.kerfY = 0.1;
    EXPECT_NEAR(*survey(elementsOf(matrix)).smallestGap, 0.1, 1e-12);
    EXPECT_LT(std::chrono::steady_clock::now() - before, std::chrono::seconds(60));
}

}  // namespace
