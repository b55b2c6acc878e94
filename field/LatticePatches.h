// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "field/Positions.h"
#include "method/FarSums.h"

namespace pistonfield {

/// The patches that a request's lattice consists of, along two of its directions: all of one size,
/// so that the last ones may share points with those before them. The points of a list are patches
/// by themselves. Patches do not depend on the box that is computed.
class LatticePatches {
  public:
    /// @param request outlives this
    /// @param wavelengths a patch measures about so many along a direction at the most
    LatticePatches(const Request& request, double wavelengths);

    /// Points of a row, and rows.
    const std::array<int, 2>& counts() const noexcept { return lengths; }

    /// The sizes of a patch along the lattice's directions.
    std::array<std::int64_t, 3> tile() const noexcept;

    /// Points of a box at least, if it is to cut few patches.
    std::int64_t pointsOfLayer() const noexcept;

    /// A patch, and those of its points that lie in a box.
    struct Piece {
        Patch patch;
        std::array<int, 2> first;  ///< the number in its row of the first point, and its row
        std::array<int, 2> count;  ///< points of a row, and rows, in the box
        std::int64_t to;           ///< the number in the box of the first point
        std::array<std::int64_t, 2> toNext;  ///< from there to the next point's and row's
    };

    /// The patches that have points in a box.
    class InBox {
      public:
        /// @param patches outlive this
        InBox(const LatticePatches& patches, const LatticeBox& box);

        std::int64_t count() const noexcept { return across[0] * across[1] * layers; }

        Piece piece(std::int64_t number) const;

      private:
        const LatticePatches& patches;
        LatticeBox box;
        std::array<std::int64_t, 2> first;   ///< numbers of the first patches
        std::array<std::int64_t, 2> across;  ///< patches along the two directions
        std::int64_t layers;                 ///< along the third
    };

  private:
    std::array<std::int64_t, 3> sizes;
    Positions positions;
    std::array<std::size_t, 3> directions;  ///< of the rows, from row to row, and the third one
    std::array<int, 2> lengths;
};

}  // namespace pistonfield
