// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

#include "core/LatticeBox.h"
#include "method/GroupNumbers.h"

namespace pistonfield {

/// The groups that a box's points are in, run by run of points with successive linear indices.
class GroupRuns {
  public:
    /// Some points of a group: those from number `first` to less than `last` of all points of the
    /// lattice; none where these are equal.
    struct Piece {
        std::int64_t group;
        std::int64_t first, last;
        std::int64_t to;  ///< the number of the first one in the box

        std::int64_t beginOfGroup() const noexcept { return group * groupSize; }
    };

    GroupRuns(const LatticeBox& box, const std::array<std::int64_t, 3>& sizes) noexcept
        : box(box), sizes(sizes) {
        const bool isWide = box.size[0] == sizes[0];
        const bool isPlane = isWide && box.size[1] == sizes[1];
        rows = isWide ? 1 : box.size[1];
        const std::int64_t planes = isPlane ? 1 : box.size[2];
        runs = rows * planes;
        length = box.points() / runs;
        // One more than fit, as a run may begin anywhere in a group.
        groups = (length + groupSize - 1) / groupSize + 1;
    }

    /// The number of pieces.
    std::int64_t count() const noexcept { return runs * groups; }

    Piece piece(std::int64_t number) const noexcept {
        const std::int64_t run = number / groups;
        const std::int64_t y = box.first[1] + run % rows;
        const std::int64_t z = box.first[2] + run / rows;
        const std::int64_t begin = (z * sizes[1] + y) * sizes[0] + box.first[0];
        const std::int64_t end = begin + length;
        const std::int64_t group = begin / groupSize + number % groups;
        const std::int64_t first = std::min(end, std::max(begin, group * groupSize));
        const std::int64_t last = std::min(end, (group + 1) * groupSize);
        return {group, first, last, run * length + (first - begin)};
    }

  private:
    LatticeBox box;
    std::array<std::int64_t, 3> sizes;
    std::int64_t rows, runs, length, groups;
};

}  // namespace pistonfield
