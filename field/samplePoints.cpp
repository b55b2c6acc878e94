// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/samplePoints.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace pistonfield {

std::vector<std::array<std::int64_t, 3>> samplePoints(const std::array<std::int64_t, 3>& sizes,
                                                      bool finer) {
    const auto directions = std::count_if(sizes.begin(), sizes.end(), [](auto n) { return n > 1; });
    constexpr std::int64_t most[2][4]{{1, 343, 18, 7}, {1, 512, 22, 8}};
    const auto count = [&](std::size_t i) {
        return std::min(sizes[i], most[finer ? 1 : 0][directions]);
    };
    // Of the largest lattices the double of a size is near enough.
    const auto at = [&](std::size_t i, std::int64_t n) -> std::int64_t {
        const auto last = static_cast<double>(sizes[i] - 1);
        const auto steps = static_cast<double>(std::max<std::int64_t>(1, count(i) - 1));
        return std::min<std::int64_t>(sizes[i] - 1,
                                      std::llround(last * static_cast<double>(n) / steps));
    };
    std::vector<std::array<std::int64_t, 3>> indices;
    for (std::int64_t z = 0; z < count(2); ++z)
        for (std::int64_t y = 0; y < count(1); ++y)
            for (std::int64_t x = 0; x < count(0); ++x)
                indices.push_back({at(0, x), at(1, y), at(2, z)});
    return indices;
}

std::vector<std::array<std::int64_t, 3>> thinned(
    const std::vector<std::array<std::int64_t, 3>>& all, std::size_t most) {
    const std::size_t every = (all.size() + most - 1) / most;
    std::vector<std::array<std::int64_t, 3>> some;
    some.reserve(all.size() / every + 1);
    for (std::size_t i = 0; i < all.size(); i += every) some.push_back(all[i]);
    return some;
}

}  // namespace pistonfield
