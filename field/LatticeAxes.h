// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "field/Request.h"
#include "method/Brick.h"

namespace pistonfield {

/// A range of numbers: from `first` to less than `last`.
struct IndexRange {
    std::int64_t first, last;
};

/// The coordinates that a lattice along the axes of the piston's frame has along one of them: in
/// ascending order, evenly spaced, each only once. Where points lie on both sides of 0 in the same
/// places, what counts is the magnitude.
class LatticeAxis {
  public:
    /// @param origin  of the point with the index 0
    /// @param step    from point to point
    /// @param nearest how far from their places coordinates may be mirrored
    /// @param aside   how far the lattice's other directions lead along the axis, which is left out
    LatticeAxis(std::size_t direction, double origin, double step, std::int64_t size,
                double nearest, double aside = 0);

    /// The lattice's direction.
    std::size_t direction() const noexcept { return along; }

    /// The points in that direction.
    std::int64_t size() const noexcept { return points; }

    /// The number of coordinates.
    std::int64_t count() const noexcept { return coordinates; }

    double step() const noexcept { return distance; }

    /// How far the coordinates are from those of the points.
    double shift() const noexcept { return moved; }

    /// Successive coordinates.
    Ticks ticks(std::int64_t first, int count) const {
        return {least + distance * static_cast<double>(first), distance, count};
    }

    /// The number of the coordinate that the points with an index have.
    std::int64_t numberOf(std::int64_t index) const;

    /// The numbers that the points with some indices have: all of a range.
    IndexRange numbersOf(const IndexRange& indices) const;

    /// Those of some indices that have a number's coordinate: one or two, or none.
    std::vector<std::int64_t> indicesOf(std::int64_t number, const IndexRange& indices) const;

  private:
    /// Twice a point's coordinate in steps, where that is a whole number.
    std::int64_t halfSteps(std::int64_t index) const { return doubled + 2 * sign * index; }

    std::size_t along;
    std::int64_t points;
    std::int64_t sign;
    double distance;
    double moved;
    bool folded = false;
    std::int64_t doubled = 0;  ///< of the index 0 `halfSteps`
    double least = 0;
    std::int64_t coordinates = 0;
};

/// A lattice's coordinates along x, y and z.
using LatticeAxes = std::array<LatticeAxis, 3>;

/// None unless the lattice lies along the axes, but for the rounding of its positions. By that
/// points are next to those of the axes.
std::optional<LatticeAxes> axesOf(const Lattice& lattice);

}  // namespace pistonfield
