// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <vector>

#include "arrays/vectors.h"

namespace pistonfield {

/// The direction of the sum of the elements' normals, each times its area; none where they cancel.
std::optional<Vector3> meanNormal(const std::vector<Element>& elements) noexcept;

/// Whether elements lie in one plane and face the same way, but for rounding: to 1e-9 of the
/// array's size.
bool areCoplanar(const std::vector<Element>& elements) noexcept;

}  // namespace pistonfield
