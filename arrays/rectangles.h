// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <optional>

#include "arrays/vectors.h"

namespace pistonfield {

/// The corners of an element's face, in turn.
std::array<Vector3, 4> cornersOf(const Element& element) noexcept;

/// Whether two faces intersect, by more than 1e-9 of their sides.
bool overlap(const Element& a, const Element& b) noexcept;

/// The distance between two faces that do not overlap.
double distanceBetween(const Element& a, const Element& b) noexcept;

/// How far along a ray from a point, in a direction of length 1, it meets a face, if it does.
std::optional<double> meets(const Vector3& from, const Vector3& direction,
                            const Element& face) noexcept;

}  // namespace pistonfield
