// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/slabs.h"

#include <algorithm>
#include <cmath>
#include <stdexcept>
#include <string>

namespace run {

namespace {

using Sizes = std::array<std::int64_t, 3>;

std::int64_t divideUp(std::int64_t a, std::int64_t b) { return a / b + (a % b == 0 ? 0 : 1); }

/// The size of pieces of at most `most` that differ least from each other.
std::int64_t even(std::int64_t size, std::int64_t most) {
    return divideUp(size, divideUp(size, std::clamp<std::int64_t>(most, 1, size)));
}

/// Sizes of slabs of points that each take their own time.
Sizes slabSizesOfPoints(const Sizes& sizes, std::int64_t points) {
    // Rows are kept whole up to here: what is written of a row at once is long in any case.
    constexpr std::int64_t longRow = 4096;
    const std::int64_t x = even(sizes[0], std::min(points, longRow));
    const std::int64_t rows = std::max<std::int64_t>(1, points / x);
    const auto side = static_cast<std::int64_t>(std::sqrt(static_cast<double>(rows)));
    const std::int64_t z = even(sizes[2], std::max(side, rows / sizes[1]));
    return {x, even(sizes[1], rows / z), z};
}

}  // namespace

Sizes slabSizes(const Sizes& sizes, std::int64_t points, const Sizes& tile) {
    Sizes tiles{};
    std::int64_t pointsOfTile = 1;
    for (std::size_t i = 0; i < tiles.size(); ++i) {
        tiles[i] = divideUp(sizes[i], tile[i]);
        pointsOfTile *= std::min(tile[i], sizes[i]);
    }
    if (pointsOfTile > points) return slabSizesOfPoints(sizes, points);
    Sizes slab = slabSizesOfPoints(tiles, points / pointsOfTile);
    for (std::size_t i = 0; i < slab.size(); ++i) slab[i] = std::min(slab[i] * tile[i], sizes[i]);
    return slab;
}

double tilesIn(const LatticeBox& box, const Sizes& tile) {
    double count = 1;
    for (std::size_t i = 0; i < tile.size(); ++i) {
        const std::int64_t first = box.first[i] / tile[i];
        const std::int64_t last = (box.first[i] + box.size[i] - 1) / tile[i];
        count *= static_cast<double>(last - first + 1);
    }
    return count;
}

Slabs::Slabs(const LatticeBox& whole, const Sizes& sizes)
    : whole(whole),
      sizes(sizes),
      counts{divideUp(whole.size[0], sizes[0]), divideUp(whole.size[1], sizes[1]),
             divideUp(whole.size[2], sizes[2])} {}

std::int64_t Slabs::count() const noexcept { return counts[0] * counts[1] * counts[2]; }

LatticeBox Slabs::slab(std::int64_t number) const noexcept {
    LatticeBox box;
    for (std::size_t i = 0; i < box.first.size(); ++i) {
        const std::int64_t before = number % counts[i] * sizes[i];
        number /= counts[i];
        box.first[i] = whole.first[i] + before;
        box.size[i] = std::min(sizes[i], whole.size[i] - before);
    }
    return box;
}

LatticeBox boxOf(const Part& part, const Sizes& sizes) {
    LatticeBox box{{}, sizes};
    for (const std::size_t i : {2U, 1U, 0U}) {
        if (sizes[i] < part.of) continue;
        // Every part has `least` layers, and the first ones one more until there are no more.
        const std::int64_t least = sizes[i] / part.of;
        const std::int64_t more = sizes[i] % part.of;
        const std::int64_t before = part.number - 1;
        box.first[i] = before * least + std::min(before, more);
        box.size[i] = least + (before < more ? 1 : 0);
        return box;
    }
    throw std::runtime_error("--part: no direction of the grid has " + std::to_string(part.of) +
                             " points or more");
}

}  // namespace run
