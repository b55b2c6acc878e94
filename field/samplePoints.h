// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace pistonfield {

/// Indices spread over a lattice, its ends among them, as many along each direction that has
/// several: 343 at the most, or 512 where they are `finer`.
std::vector<std::array<std::int64_t, 3>> samplePoints(const std::array<std::int64_t, 3>& sizes,
                                                      bool finer);

/// Some of many indices, evenly spread.
std::vector<std::array<std::int64_t, 3>> thinned(
    const std::vector<std::array<std::int64_t, 3>>& all, std::size_t most);

}  // namespace pistonfield
