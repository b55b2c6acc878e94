// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "core/LatticeBox.h"

namespace run {

/// The sizes of the slabs that a box is cut into: of about `points` points each, whole rows along x
/// where they are not long, and as even as whole numbers allow.
/// @param points 1 or more
/// @param tile   sizes of boxes that may take as long in parts as whole: they are kept whole where
///     they have `points` points at most
std::array<std::int64_t, 3> slabSizes(const std::array<std::int64_t, 3>& sizes, std::int64_t points,
                                      const std::array<std::int64_t, 3>& tile = {1, 1, 1});

/// How many tiles, which a lattice is cut into from its first point on, have points in a box.
double tilesIn(const LatticeBox& box, const std::array<std::int64_t, 3>& tile);

/// A box cut into slabs, which are numbered x fastest, then y, then z. Those at its far ends may be
/// smaller.
class Slabs {
  public:
    Slabs(const LatticeBox& whole, const std::array<std::int64_t, 3>& sizes);

    std::int64_t count() const noexcept;
    LatticeBox slab(std::int64_t number) const noexcept;

  private:
    LatticeBox whole;
    std::array<std::int64_t, 3> sizes;
    std::array<std::int64_t, 3> counts;
};

/// One of several parts of a lattice.
struct Part {
    std::int64_t number = 1;  ///< from 1
    std::int64_t of = 1;

    bool operator==(const Part&) const = default;
};

/// The box of a part: the lattice is cut across z, or where that has fewer points than there are
/// parts, across y or x.
/// @throws std::runtime_error where no direction has that many points
LatticeBox boxOf(const Part& part, const std::array<std::int64_t, 3>& sizes);

}  // namespace run
