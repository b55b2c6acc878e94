// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/faces.h"

#include <cmath>

#include "arrays/boundaryNodes.h"
#include "arrays/polygons.h"
#include "arrays/rectangles.h"

namespace pistonfield {

double areaOfFace(const Element& element) noexcept {
    if (element.outline) return areaOf(*element.outline);
    return element.piston.width * element.piston.height;
}

Vector3 centreOfFace(const Element& element) {
    const Pose& pose = element.pose;
    if (!element.outline) return pose.centre;
    // By Gauss's theorem the integral of x is that of x^2/2 dy along the boundary.
    PlaneVector moment{};
    for (const auto& [at, along] : nodesAlong(*element.outline, 0, 0)) {
        moment[0] += at[0] * at[0] / 2 * along[1];
        moment[1] -= at[1] * at[1] / 2 * along[0];
    }
    const double area = areaOf(*element.outline);
    return plus(plus(pose.centre, moment[0] / area, pose.alongWidth), moment[1] / area,
                pose.alongHeight);
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
