// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/faces.h"

#include <cmath>

#include "arrays/polygons.h"
#include "arrays/rectangles.h"

namespace pistonfield {

double areaOfFace(const Element& element) noexcept {
    if (element.outline) return areaOf(*element.outline);
    return element.piston.width * element.piston.height;
}

double reachOfFace(const Element& element) noexcept {
    if (!element.outline) return std::hypot(element.piston.width, element.piston.height) / 2;
    const auto [centre, radius] = circleAbout(*element.outline);
    return std::hypot(centre[0], centre[1]) + radius;
}

std::vector<Vector3> cornersOfFace(const Element& element) {
    if (element.outline) return Polygon(element).corners();
    const auto corners = cornersOf(element);
    return {corners.begin(), corners.end()};
}

bool facesOverlap(const Element& a, const Element& b) {
    if (a.outline || b.outline) return Polygon(a).overlaps(Polygon(b));
    return overlap(a, b);
}

double distanceBetweenFaces(const Element& a, const Element& b) {
    if (a.outline || b.outline) return Polygon(a).distanceTo(Polygon(b));
    return distanceBetween(a, b);
}

std::optional<double> meetsFace(const Vector3& from, const Vector3& direction,
                                const Element& element) {
    if (element.outline) return Polygon(element).metBy(from, direction);
    return meets(from, direction, element);
}

}  // namespace pistonfield
