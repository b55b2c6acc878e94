// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstdint>

#include "field/LatticeAxes.h"
#include "field/Plan.h"
#include "method/BrickField.h"

namespace pistonfield {

/// The field on a lattice along the axes of the piston's frame, within a limit of its error. The
/// lattice is cut into bricks that are its own, not those of the box that is computed; points that
/// are mirrored in the axes' planes are computed once.
template <class T>
class AlignedField {
  public:
    /// @throws std::bad_alloc
    AlignedField(const Face& face, const LatticeAxes& axes, const BrickLimits& limits);

    /// Computes a box of the lattice.
    /// @throws std::bad_alloc
    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const;

    /// The evaluations of the integrand that a point takes, on average over those that are computed
    /// with it or mirrored.
    double evaluationsOf(const std::array<std::int64_t, 3>& index) const;

  private:
    /// Bricks along the axes.
    using BrickIndex = std::array<std::int64_t, 3>;

    Brick brickAt(const BrickIndex& index) const;
    void fillFrom(const BrickIndex& index, const LatticeBox& box, const Destination<T>& to,
                  BrickWork<T>& work) const;

    LatticeAxes axes;
    BrickLimits limits;
    std::array<int, 3> ticks;  ///< of a brick along each axis, but for the last one
    BrickField<T> field;
};

}  // namespace pistonfield
