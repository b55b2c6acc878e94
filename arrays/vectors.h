// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cmath>

#include "field/Array.h"

namespace pistonfield {

using Vector3 = Pose::Vector;

inline double dot(const Vector3& a, const Vector3& b) noexcept {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

inline Vector3 cross(const Vector3& a, const Vector3& b) noexcept {
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

inline Vector3 minus(const Vector3& a, const Vector3& b) noexcept {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2]};
}

/// a + factor*b
inline Vector3 plus(const Vector3& a, double factor, const Vector3& b) noexcept {
    return {a[0] + factor * b[0], a[1] + factor * b[1], a[2] + factor * b[2]};
}

inline double lengthOf(const Vector3& a) noexcept { return std::hypot(a[0], a[1], a[2]); }

inline Vector3 unitOf(const Vector3& a) noexcept {
    const double length = lengthOf(a);
    return {a[0] / length, a[1] / length, a[2] / length};
}

}  // namespace pistonfield
