// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <deque>
#include <vector>

#include "method/Brick.h"
#include "method/GroupOrders.h"
#include "method/Orders.h"
#include "method/Rules.h"
#include "method/RunField.h"
#include "method/RunRules.h"

namespace pistonfield {

/// The rows of a brick, with what is left over of their last group.
/// @param across the axis across the rows
inline int rowsIn(const Brick& brick, std::size_t across) {
    const int rows = brick[across].count * brick[2].count;
    return (rows + rowsOfRun - 1) / rowsOfRun * rowsOfRun;
}

/// What errors of |p| are below: in exact arithmetic, and those that sums in another order than one
/// integral after the other may add by rounding.
struct BrickLimits {
    ErrorLimit nodes;
    ErrorLimit rounding;
};

/// The integrals along two opposite edges of a rectangular piston at the points of bricks. The rows
/// of points along the edges are cut into runs; see `RunField`. How they are cut follows from
/// bounds, and so do the numbers of nodes; both depend on the brick, not on what part of it is
/// wanted.
template <class T>
class EdgeRuns {
  public:
    /// @param orders,rules outlive this
    /// @param step         of all bricks in the edges' direction
    /// @param longest      points of the longest runs
    /// @throws std::bad_alloc
    EdgeRuns(const Face& face, const Orders& orders, const Rules<T>& rules, bool alongX,
             double step, int longest);

    /// Computes what `RunField` says at the points of a part: for each coordinate along the edges
    /// those of all rows, across the edges and then by z, and some more; see `rowsIn`.
    /// @throws std::bad_alloc
    void compute(const Brick& brick, const BrickPart& part, const BrickLimits& limits,
                 BrickNumbers<T>& values) const;

    /// The evaluations of the integrand that a point takes, on average over the points that are
    /// computed with it. Where rows do not fill packs, these take as long as full ones, and so
    /// many count.
    double evaluationsOf(const Brick& brick, const std::array<int, 3>& point,
                         const BrickLimits& limits) const;

  private:
    /// Runs of so many points.
    struct Level {
        Level(int points, double step, double k);

        int points;
        double half;  ///< of a run's length
        KnownOrders orders;
        RunRules<T> rules;
    };

    struct RowGroup;
    struct ChosenRun;
    class Choice;

    RowGroup groupOf(const Brick& brick, int group) const;
    std::vector<ChosenRun> runsOf(const Brick& brick, const RowGroup& rows, int first, int last,
                                  const BrickLimits& limits) const;

    const Orders& orders;
    const Rules<T>& rules;
    bool alongX;
    Sides sides;
    std::deque<Level> levels;  ///< from the longest runs on; none where points are alone
    int longest;
};

}  // namespace pistonfield
