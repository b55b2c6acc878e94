// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/Outline.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "method/outlineChecks.h"

namespace {

using namespace pistonfield;

constexpr double pi = std::numbers::pi;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

using Corners = std::vector<PlaneVector>;

Corners square(double half, double x = 0, double y = 0) {
    return {{x - half, y - half}, {x + half, y - half}, {x + half, y + half}, {x - half, y + half}};
}

std::string refusal(const Outline& outline) { return whyRefused(outline, 100); }

TEST(Outline, HasTheAreaAndThePerimeterOfItsShape) {
    EXPECT_NEAR(areaOf(rectangleOutline(3, 0.5)), 1.5, 1e-15);
    EXPECT_NEAR(perimeterOf(rectangleOutline(3, 0.5)), 7, 1e-14);
    EXPECT_NEAR(areaOf(discOutline(2)), 4 * pi, 1e-14);
    EXPECT_NEAR(perimeterOf(discOutline(2)), 4 * pi, 1e-14);
    EXPECT_NEAR(areaOf(ringOutline(1, 3)), 8 * pi, 1e-14);
    EXPECT_NEAR(perimeterOf(ringOutline(1, 3)), 8 * pi, 1e-14);
    EXPECT_NEAR(areaOf(sectorOutline(1, 3, 0.3, 1.2)), 1.2 * (9 - 1) / 2, 1e-14);
    EXPECT_NEAR(perimeterOf(sectorOutline(1, 3, 0.3, 1.2)), 1.2 * 4 + 4, 1e-14);
    EXPECT_NEAR(areaOf(sectorOutline(0, 3, 0.3, 5)), 5 * 9.0 / 2, 1e-13);
    EXPECT_NEAR(areaOf(polygonOutline({{0, 0}, {4, 0}, {0, 3}})), 6, 1e-15);
    EXPECT_NEAR(perimeterOf(polygonOutline({{0, 0}, {4, 0}, {0, 3}})), 12, 1e-14);
}

TEST(Outline, OfAPolygonHasHolesAndTakesCornersInAnySense) {
    const Corners backwards{{0, 3}, {4, 0}, {0, 0}};
    EXPECT_NEAR(areaOf(polygonOutline(backwards)), 6, 1e-15);
    Corners hole = square(0.25);
    for (int i = 0; i < 2; ++i) {
        const Outline holed = polygonOutline(square(1), {hole, square(0.125, 0.6)});
        EXPECT_NEAR(areaOf(holed), 4 - 0.25 - 0.0625, 1e-15);
        EXPECT_EQ(refusal(holed), "");
        std::swap(hole[1], hole[3]);
    }
}

TEST(Outline, LiesWithinTheCircleAboutIt) {
    for (const Outline& outline :
         {rectangleOutline(3, 0.5), discOutline(2), ringOutline(1, 3), sectorOutline(1, 3, 2, 1.2),
          sectorOutline(0, 1, -1, 6), polygonOutline({{5, 5}, {9, 5}, {5, 8}})}) {
        const Circle circle = circleAbout(outline);
        double farthest = 0;
        for (const Loop& loop : outline.loops)
            for (const OutlineEdge& edge : loop)
                for (int i = 0; i <= 1000; ++i) {
                    const PlaneVector at = placeOn(edge, i / 500.0 - 1).at;
                    farthest = std::max(
                        farthest, std::hypot(at[0] - circle.centre[0], at[1] - circle.centre[1]));
                }
        EXPECT_LE(farthest, circle.radius * (1 + 1e-15));
        EXPECT_GE(farthest, (1 - 1e-6) * circle.radius);
    }
    EXPECT_DOUBLE_EQ(circleAbout(rectangleOutline(3, 4)).radius, 2.5);
}

TEST(Outline, HasPlacesAndTangentsOnItsEdges) {
    const OutlineEdge straight = StraightEdge{{1, 2}, {5, 4}};
    EXPECT_EQ(placeOn(straight, -1).at, (PlaneVector{1, 2}));
    EXPECT_EQ(placeOn(straight, 1).at, (PlaneVector{5, 4}));
    EXPECT_EQ(placeOn(straight, 0).at, (PlaneVector{3, 3}));
    EXPECT_EQ(placeOn(straight, 0).tangent, (PlaneVector{2, 1}));
    const OutlineEdge arc = Arc{{1, 1}, 2, 0, -pi / 2};
    EXPECT_NEAR(placeOn(arc, 1).at[1], -1, 1e-15);
    EXPECT_NEAR(placeOn(arc, -1).tangent[1], -2 * pi / 4, 1e-15);
    EXPECT_NEAR(lengthOf(arc), pi, 1e-15);
}

TEST(Outline, OfAPistonIsNotRefused) {
    for (const Outline& outline :
         {rectangleOutline(3, 0.5), discOutline(2), ringOutline(1, 3), sectorOutline(1, 3, 2, 1.2),
          sectorOutline(0, 1, -1, 6), Outline{{{Arc{{3, 1}, 2, 0.3, 2 * pi}}}},
          // Islands, an island in a hole, a corner on a hole's corner, two holes at one corner.
          Outline{{polygonOutline(square(1)).loops[0], polygonOutline(square(1, 3)).loops[0]}},
          Outline{{ringOutline(2, 3).loops[0], ringOutline(2, 3).loops[1],
                   polygonOutline(square(1)).loops[0]}},
          polygonOutline(square(2), {{{0, 0}, {1, 0}, {0.5, 1}}, {{0, 0}, {-1, 0}, {-0.5, -1}}}),
          // A hole that an arc's chord leaves outside.
          Outline{{sectorOutline(0, 3, 0, 1.5 * pi).loops[0],
                   polygonOutline({}, {square(0.3, -1.5, 1.5)}).loops[1]}}})
        EXPECT_EQ(refusal(outline), "");
}

TEST(Outline, WithoutAreaOrEdgesIsRefused) {
    EXPECT_EQ(refusal({}), "there are no edges");
    EXPECT_EQ(refusal({{Loop{}}}), "one of its loops has no edges");
    const std::string noArea = "there is no area inside, or its loops have it on their right";
    EXPECT_EQ(refusal({{polygonOutline({}, {square(1)}).loops[1]}}), noArea);
    EXPECT_EQ(refusal(ringOutline(3, 1)), noArea);
    EXPECT_EQ(refusal(polygonOutline({{0, 0}, {1, 1}, {2, 2}})), noArea);
    EXPECT_EQ(refusal(sectorOutline(0, 1, 0.2, -1)), noArea);
}

TEST(Outline, OfTooManyEdgesIsRefused) {
    Corners corners;
    for (int i = 0; i < 101; ++i)
        corners.push_back({std::cos(2 * pi * i / 101), std::sin(2 * pi * i / 101)});
    EXPECT_EQ(refusal(polygonOutline(corners)), "its edges are more than 100");
    corners.pop_back();
    EXPECT_EQ(refusal(polygonOutline(corners)), "");
}

TEST(Outline, OfEdgesThatAreNoneIsRefused) {
    Corners doubled = square(1);
    doubled.push_back(doubled.back());
    EXPECT_EQ(refusal(polygonOutline(doubled)), "edge 4 has no length");
    for (const double odd : {nan, infinity, -infinity}) {
        Corners corners = square(1);
        corners[2][1] = odd;
        EXPECT_NE(refusal(polygonOutline(corners)).find("every number must be finite"),
                  std::string::npos);
        for (const Arc& arc : {Arc{{odd, 0}, 1, 0, 2 * pi}, Arc{{}, odd, 0, 2 * pi},
                               Arc{{}, 1, odd, 2 * pi}, Arc{{}, 1, 0, odd}})
            EXPECT_EQ(refusal({{{arc}}}), "edge 1: every number must be finite");
    }
    const std::string oddArc = "edge 1: an arc has a radius above 0 and at most a whole turn";
    EXPECT_EQ(refusal({{{Arc{{}, 1, 0, 2.1 * pi}}}}), oddArc);
    EXPECT_EQ(refusal({{{Arc{{}, 1, 0, -4 * pi}}}}), oddArc);
    EXPECT_EQ(refusal({{{Arc{{}, -1, 0, 2 * pi}}}}), "edge 1 has no length");
    EXPECT_EQ(refusal({{{Arc{{}, 1, 0, 0}}}}), "edge 1 has no length");
}

TEST(Outline, ThatIsNotClosedIsRefused) {
    EXPECT_EQ(refusal({{{StraightEdge{{0, 0}, {1, 0}}, StraightEdge{{1, 0}, {0, 1}}}}}),
              "one of its loops is not closed");
    EXPECT_EQ(refusal({{{Arc{{}, 1, 0, 6}}}}), "one of its loops is not closed");
    Outline gap = rectangleOutline(1, 1);
    std::get<StraightEdge>(gap.loops[0][1]).from[0] += 1e-6;
    EXPECT_EQ(refusal(gap), "one of its loops is not closed");
}

TEST(Outline, WhoseEdgesCrossIsRefused) {
    const auto refusal = [](const Outline& outline) { return ::refusal(outline).substr(0, 22); };
    const std::string crossing = "two of its edges cross";
    // Two edges of one loop; an edge through a corner; one that turns back; a corner on an edge.
    EXPECT_EQ(refusal(polygonOutline({{0, 0}, {3, 0}, {1, 2}, {2, 2}, {0, -1}})), crossing);
    EXPECT_EQ(refusal(polygonOutline({{0, 0}, {2, 0}, {2, 2}, {1, 0}, {0, 2}})), crossing);
    EXPECT_EQ(refusal(polygonOutline({{0, 0}, {2, 0}, {2, 2}, {2, 1}, {0, 1}})), crossing);
    EXPECT_EQ(refusal(polygonOutline({{0, 0}, {2, 0}, {1, 0}, {1, 1}, {0, 1}})), crossing);
    // A hole through the outer loop, and one with a common part of an edge.
    EXPECT_EQ(refusal(polygonOutline(square(1), {square(0.5, 1)})), crossing);
    EXPECT_EQ(refusal(polygonOutline(square(1), {square(0.5, 0.5)})), crossing);
}

/// A disc's loop elsewhere, as a hole's where the sweep is below 0.
Loop circleAt(double x, double radius, double sweep) {
    return {Arc{{x, 0}, radius, 0, sweep / 2}, Arc{{x, 0}, radius, sweep / 2, sweep / 2}};
}

TEST(Outline, WhoseArcsCrossIsRefusedByTheirEnds) {
    // Two circles, and two arcs of the same one.
    EXPECT_EQ(refusal({{circleAt(0, 1, 2 * pi), circleAt(0.8, 0.5, -2 * pi)}}),
              "two of its edges cross: the arc between (1, 0) and (-1, 0), and the arc "
              "between (0.3, 0) and (1.3, 0)");
    const auto crosses = [](const Outline& outline) {
        return refusal(outline).starts_with("two of its edges cross: ");
    };
    EXPECT_TRUE(crosses({{circleAt(0, 1, 2 * pi), circleAt(0, 1, 2 * pi)}}));
    EXPECT_TRUE(
        crosses({{sectorOutline(0, 1, 0, 2).loops[0], sectorOutline(0, 1, 1, 2).loops[0]}}));
    // A rectangle whose upper edge is an arc that sags through the lower one, or ends above it.
    const auto sagging = [](double depth) {
        const double radius = (1 + depth * depth) / (2 * depth);
        const double half = std::asin(1 / radius);
        return Outline{{{StraightEdge{{-1, 0}, {1, 0}}, StraightEdge{{1, 0}, {1, 0.5}},
                         Arc{{0, 0.5 + radius - depth}, radius, half - pi / 2, -2 * half},
                         StraightEdge{{-1, 0.5}, {-1, 0}}}}};
    };
    EXPECT_TRUE(crosses(sagging(0.51)));
    EXPECT_EQ(refusal(sagging(0.49)), "");
    // A hole's corner on the rim, and one just inside.
    const auto withHole = [](double x) {
        return Outline{{circleAt(0, 1, 2 * pi),
                        polygonOutline({}, {{{0, x}, {0.2, 0.5}, {-0.2, 0.5}}}).loops[1]}};
    };
    EXPECT_TRUE(crosses(withHole(1)));
    EXPECT_EQ(refusal(withHole(0.999)), "");
}

TEST(Outline, WhoseArcsTouchIsNotRefused) {
    // An arc that goes on along its neighbours, rounded; a hole that touches the rim; a lens.
    for (const double half : {1.0, 1 / 3.0, 1e-3})
        EXPECT_EQ(
            refusal({{{StraightEdge{{-1, -half}, {1, -half}}, Arc{{1, 0}, half, -pi / 2, pi},
                       StraightEdge{{1, half}, {-1, half}}, Arc{{-1, 0}, half, pi / 2, pi}}}}),
            "");
    EXPECT_EQ(refusal({{circleAt(0, 1, 2 * pi), circleAt(0.5, 0.5, -2 * pi)}}), "");
    EXPECT_EQ(refusal({{{Arc{{-0.5, 0}, 1, -pi / 3, 2 * pi / 3},
                         Arc{{0.5, 0}, 1, 2 * pi / 3, 2 * pi / 3}}}}),
              "");
}

TEST(Outline, WhoseLoopsOverlapIsRefused) {
    const std::string overlapping = "two of its loops overlap, or a hole lies in none";
    EXPECT_EQ(refusal(polygonOutline(square(1), {square(0.5, 3)})), overlapping);
    EXPECT_EQ(refusal(polygonOutline(square(2), {square(1), square(0.5)})), overlapping);
    EXPECT_EQ(refusal({{polygonOutline(square(2)).loops[0], polygonOutline(square(1)).loops[0]}}),
              overlapping);
    EXPECT_EQ(refusal({{discOutline(2).loops[0], discOutline(1).loops[0]}}), overlapping);
    EXPECT_EQ(refusal({{discOutline(1).loops[0], ringOutline(0.5, 2).loops[1],
                        polygonOutline({}, {square(0.1, 0.3)}).loops[1]}}),
              overlapping);
    // In the disc, but in its part that the sector leaves out.
    EXPECT_EQ(refusal({{sectorOutline(0, 3, 0, 1.5 * pi).loops[0],
                        polygonOutline({}, {square(0.3, 1.5, -1.5)}).loops[1]}}),
              overlapping);
}

}  // namespace
