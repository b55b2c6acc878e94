// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "core/Vector.h"

/// A set of numbered positions at which a field is computed.
template <class T>
class Grid {
  public:
    explicit Grid(unsigned positions) noexcept : positions(positions) {}
    Grid(const Grid&) = default;
    Grid& operator=(const Grid&) = default;
    virtual ~Grid() = default;

    /// The position with linear index i, in the transducer's frame and the transform's length unit.
    virtual Vector<T, 3> getPosition(int i) const = 0;

    unsigned nbPositions() const noexcept { return positions; }

  private:
    unsigned positions;
};
