// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/arrangement.h"

#include <algorithm>

#include "arrays/faces.h"

namespace pistonfield {

namespace {

constexpr double rounding = 1e-9;

}  // namespace

std::optional<Vector3> meanNormal(const std::vector<Element>& elements) noexcept {
    Vector3 sum{};
    double area = 0;
    for (const Element& element : elements) {
        const double part = areaOfFace(element);
        sum = plus(sum, part, element.pose.normal());
        area += part;
    }
    if (!(lengthOf(sum) > rounding * area)) return std::nullopt;
    return unitOf(sum);
}

bool areCoplanar(const std::vector<Element>& elements) noexcept {
    const Pose& first = elements.front().pose;
    const Vector3 normal = first.normal();
    double size = reachOfFace(elements.front());
    double height = 0;
    for (const Element& element : elements) {
        const Vector3 from = minus(element.pose.centre, first.centre);
        size = std::max(size, lengthOf(from));
        height = std::max(height, std::abs(dot(from, normal)));
        if (lengthOf(minus(element.pose.normal(), normal)) > rounding) return false;
    }
    return height <= rounding * size;
}

}  // namespace pistonfield
