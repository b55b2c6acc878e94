// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/LatticePatches.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace pistonfield {

namespace {

using Index = std::array<std::int64_t, 3>;

/// The first direction that is long enough, or the longest one, as boxes are cut along the last
/// directions; then the longer one of the others.
std::array<std::size_t, 3> directionsOf(const Index& sizes) {
    constexpr std::int64_t enough = 16;
    const auto isLong = [](std::int64_t size) { return size >= enough; };
    const auto* rows = std::find_if(sizes.begin(), sizes.end(), isLong);
    if (rows == sizes.end()) rows = std::max_element(sizes.begin(), sizes.end());
    const auto along = static_cast<std::size_t>(rows - sizes.begin());
    const std::size_t one = along == 0 ? 1 : 0;
    const std::size_t other = along == 2 ? 1 : 2;
    if (isLong(sizes[one]) || sizes[one] >= sizes[other]) return {along, one, other};
    return {along, other, one};
}

/// The size of even parts of at most `most`.
std::int64_t evenPart(std::int64_t count, std::int64_t most) {
    const std::int64_t parts = (count + most - 1) / most;
    return (count + parts - 1) / parts;
}

/// Points along a direction of a patch.
/// @param inSteps what a patch may measure, in steps
int lengthOf(std::int64_t size, double inSteps, std::int64_t most) {
    constexpr std::int64_t fewest = 8;
    const std::int64_t within = inSteps < static_cast<double>(most)
                                    ? std::max(fewest, static_cast<std::int64_t>(inSteps))
                                    : most;
    return static_cast<int>(evenPart(size, std::min(within, most)));
}

}  // namespace

LatticePatches::LatticePatches(const Request& request, double wavelengths)
    : sizes(request.lattice.sizes),
      positions(request),
      directions(directionsOf(sizes)),
      lengths{1, 1} {
    if (request.points) return;
    // Sums of many weightings need room for each point.
    const std::int64_t most[]{
        mostInRow,
        std::clamp<std::int64_t>(4096 / std::max<std::int64_t>(1, request.fields()), 1, mostInRow)};
    const auto origin = positions.at({});
    for (std::size_t i = 0; i < lengths.size(); ++i) {
        Index next{};
        next[directions[i]] = 1;
        const auto to = positions.at(next);
        const double step = std::hypot(to[0] - origin[0], to[1] - origin[1], to[2] - origin[2]);
        const double wavelength = 2 * std::numbers::pi / request.wave.wavenumber;
        lengths[i] = lengthOf(sizes[directions[i]], wavelengths * wavelength / step, most[i]);
    }
}

std::array<std::int64_t, 3> LatticePatches::tile() const noexcept {
    Index tile{1, 1, 1};
    for (std::size_t i = 0; i < lengths.size(); ++i) tile[directions[i]] = lengths[i];
    return tile;
}

std::int64_t LatticePatches::pointsOfLayer() const noexcept {
    const std::size_t last = std::max(directions[0], directions[1]);
    std::int64_t points = lengths[last == directions[0] ? 0 : 1];
    for (std::size_t i = 0; i < last; ++i) points *= sizes[i];
    return points;
}

LatticePatches::InBox::InBox(const LatticePatches& patches, const LatticeBox& box)
    : patches(patches), box(box), layers(box.size[patches.directions[2]]) {
    for (std::size_t i = 0; i < across.size(); ++i) {
        const std::size_t direction = patches.directions[i];
        const std::int64_t begin = box.first[direction];
        const std::int64_t last = begin + box.size[direction] - 1;
        first[i] = begin / patches.lengths[i];
        across[i] = last / patches.lengths[i] - first[i] + 1;
    }
}

auto LatticePatches::InBox::piece(std::int64_t number) const -> Piece {
    const std::array<std::int64_t, 2> numbers{first[0] + number % across[0],
                                              first[1] + number / across[0] % across[1]};
    const std::int64_t layer = number / across[0] / across[1];
    const Index strides{1, box.size[0], box.size[0] * box.size[1]};
    Piece piece{};
    Index at = box.first;  // of the patch's first point
    at[patches.directions[2]] += layer;
    piece.to = layer * strides[patches.directions[2]];
    for (std::size_t i = 0; i < across.size(); ++i) {
        const std::size_t direction = patches.directions[i];
        const std::int64_t length = patches.lengths[i];
        const std::int64_t begin = numbers[i] * length;
        at[direction] = std::min(begin, patches.sizes[direction] - length);
        const std::int64_t from = std::max(begin, box.first[direction]);
        const std::int64_t end = std::min(
            {begin + length, patches.sizes[direction], box.first[direction] + box.size[direction]});
        piece.first[i] = static_cast<int>(from - at[direction]);
        piece.count[i] = static_cast<int>(end - from);
        piece.to += (from - box.first[direction]) * strides[direction];
        piece.toNext[i] = strides[direction];
        piece.patch.count[i] = static_cast<int>(length);
    }
    const auto origin = patches.positions.at(at);
    std::copy(origin.begin(), origin.end(), piece.patch.middle);
    for (std::size_t i = 0; i < across.size(); ++i) {
        const int length = patches.lengths[i];
        if (length == 1) continue;
        Index end = at;
        end[patches.directions[i]] += length - 1;
        const auto last = patches.positions.at(end);
        for (std::size_t axis = 0; axis < last.size(); ++axis) {
            const double side = last[axis] - origin[axis];
            piece.patch.step[i][axis] = side / (length - 1);
            piece.patch.middle[axis] += side / 2;
        }
    }
    return piece;
}

}  // namespace pistonfield
