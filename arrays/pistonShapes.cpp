// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/pistonShapes.h"

#include <cmath>
#include <numbers>
#include <string>
#include <utility>

#include "arrays/builderChecks.h"
#include "field/Array.h"
#include "field/Request.h"
#include "method/outlineChecks.h"

namespace pistonfield {

namespace {

void requireRadii(double inner, double outer) {
    requireNoLess("inner", inner);
    requireLength("outer", outer);
    if (!(inner < outer)) throw InvalidRequest("inner", "must be less than the outer radius");
}

Outline checked(const char* name, Outline outline) {
    const std::string reason = whyRefused(outline, Array::mostEdges);
    if (!reason.empty()) throw InvalidRequest(name, reason);
    return outline;
}

/// Whether a ray from a point towards +x meets an odd number of the polygon's sides.
bool isInside(const PlaneVector& point, const std::vector<PlaneVector>& corners) {
    bool inside = false;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const PlaneVector& a = corners[i];
        const PlaneVector& b = corners[(i + 1) % corners.size()];
        if ((a[1] > point[1]) == (b[1] > point[1])) continue;
        const double x = a[0] + (point[1] - a[1]) / (b[1] - a[1]) * (b[0] - a[0]);
        if (x > point[0]) inside = !inside;
    }
    return inside;
}

void requireCorners(const char* name, const std::vector<PlaneVector>& corners) {
    if (corners.size() < 3) throw InvalidRequest(name, "a polygon has three corners or more");
}

}  // namespace

Outline discShape(double radius) {
    requireLength("radius", radius);
    return discOutline(radius);
}

Outline ringShape(double inner, double outer) {
    requireRadii(inner, outer);
    return inner > 0 ? ringOutline(inner, outer) : discOutline(outer);
}

Outline sectorShape(double inner, double outer, double from, double to) {
    requireRadii(inner, outer);
    constexpr double turn = 2 * std::numbers::pi;
    if (!(std::isfinite(from) && to > from && to - from < turn))
        throw InvalidRequest("angles", "must rise, by less than a whole turn");
    return checked("angles", sectorOutline(inner, outer, from, to - from));
}

Outline polygonShape(const std::vector<PlaneVector>& corners,
                     const std::vector<std::vector<PlaneVector>>& holes) {
    requireCorners("corners", corners);
    Outline outline = checked("corners", polygonOutline(corners));
    if (holes.empty()) return outline;
    for (const std::vector<PlaneVector>& hole : holes) {
        requireCorners("holes", hole);
        for (const PlaneVector& corner : hole)
            if (!isInside(corner, corners))
                throw InvalidRequest("holes", "must lie inside of the polygon");
    }
    for (std::size_t i = 0; i < holes.size(); ++i)
        for (std::size_t l = 0; l < holes.size(); ++l)
            if (i != l && isInside(holes[i].front(), holes[l]))
                throw InvalidRequest("holes", "must lie beside each other");
    return checked("holes", polygonOutline(corners, holes));
}

}  // namespace pistonfield
