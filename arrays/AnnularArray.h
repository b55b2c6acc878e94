// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "field/Array.h"

namespace pistonfield {

/// Concentric rings in the plane z = 0 about the origin, radiating to +z; the innermost one may be
/// a disc. Where they end is said by `radii`, or by `elements` and `radius`: the rings then have
/// equal areas.
struct AnnularArray {
    /// The inner radius of the first ring, 0 of a disc, and the outer ones of all, rising; with a
    /// kerf the middles of the gaps.
    std::vector<double> radii;
    std::optional<std::int64_t> elements{};
    std::optional<double> radius{};  ///< the outer one of the last ring
    std::optional<double> inner{};   ///< with `elements`: that of the first ring, 0 by default
    double kerf = 0;                 ///< from ring to ring
};

/// The elements from the innermost one on.
/// @throws InvalidRequest named after the member that is wrong
std::vector<Element> elementsOf(const AnnularArray& array);

}  // namespace pistonfield
