// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <variant>
#include <vector>

namespace pistonfield {

/// A place or a direction in a piston's plane.
using PlaneVector = std::array<double, 2>;

/// A straight edge.
struct StraightEdge {
    PlaneVector from{};
    PlaneVector to{};

    bool operator==(const StraightEdge&) const = default;
};

/// An edge along a circle.
struct Arc {
    PlaneVector centre{};
    double radius = 0;
    double from = 0;   ///< the angle from the x axis at which it begins, in radians
    double sweep = 0;  ///< and by which it turns towards the y axis; below 0: away from it

    bool operator==(const Arc&) const = default;
};

using OutlineEdge = std::variant<StraightEdge, Arc>;

/// Where an edge is at s from -1, its beginning, to 1, its end; and its derivative by s.
struct EdgePlace {
    PlaneVector at;
    PlaneVector tangent;
};

EdgePlace placeOn(const OutlineEdge& edge, double s) noexcept;

double lengthOf(const OutlineEdge& edge) noexcept;

/// Edges each of which begins where the one before it ends, the first one where the last one ends.
using Loop = std::vector<OutlineEdge>;

/// The boundary of a flat piston in the plane z = 0 of its own frame: loops that have the piston on
/// their left, seen from the side that it radiates to. A hole's loop so turns away from the y axis.
struct Outline {
    std::vector<Loop> loops;

    bool operator==(const Outline&) const = default;
};

/// The area inside.
double areaOf(const Outline& outline) noexcept;

/// The sum of the edges' lengths.
double perimeterOf(const Outline& outline) noexcept;

/// A circle about all edges.
struct Circle {
    PlaneVector centre;
    double radius;
};

Circle circleAbout(const Outline& outline) noexcept;

/// The rectangle of these sides, centred on the origin.
Outline rectangleOutline(double width, double height);

/// The disc of a radius, centred on the origin.
Outline discOutline(double radius);

/// What lies between two circles about the origin.
Outline ringOutline(double inner, double outer);

/// The part of a ring, or with the inner radius 0 of a disc, from one angle on by another one
/// towards the y axis; both in radians.
Outline sectorOutline(double inner, double outer, double from, double sweep);

/// The polygon with these corners, in any sense of turning, and holes in it.
Outline polygonOutline(const std::vector<PlaneVector>& corners,
                       const std::vector<std::vector<PlaneVector>>& holes = {});

}  // namespace pistonfield
