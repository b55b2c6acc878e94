// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Array.h"

namespace pistonfield {

namespace {

double product(const Pose::Vector& a, const Pose::Vector& b) noexcept {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

}  // namespace

Pose::Vector Pose::normal() const noexcept {
    const Vector& a = alongWidth;
    const Vector& b = alongHeight;
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Pose::Vector Pose::placeOf(const Vector& point) const noexcept {
    const Vector from{point[0] - centre[0], point[1] - centre[1], point[2] - centre[2]};
    return {product(from, alongWidth), product(from, alongHeight), product(from, normal())};
}

bool Element::isShapedAs(const Element& other) const {
    if (!outline || !other.outline) return outline == other.outline && piston == other.piston;
    return outline == other.outline || *outline == *other.outline;
}

bool Element::operator==(const Element& other) const {
    return piston == other.piston && pose == other.pose && isShapedAs(other);
}

}  // namespace pistonfield
