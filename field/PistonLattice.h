// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "field/AlignedField.h"
#include "field/Positions.h"
#include "field/Request.h"
#include "method/RectangleField.h"

namespace pistonfield {

/// The field of one piston on a lattice in its frame, within a limit of its error: along the axes
/// where the lattice lies so, else point by point.
template <class T>
class PistonLattice {
  public:
    using Index = std::array<std::int64_t, 3>;

    /// @throws std::bad_alloc
    PistonLattice(const RectangularPiston& piston, const Wave& wave, const Lattice& lattice,
                  const ErrorLimit& limit);

    const Index& sizes() const noexcept { return request.lattice.sizes; }

    /// Computes a box of the lattice. A value's bits do not depend on the box.
    /// @throws std::bad_alloc
    void fill(const LatticeBox& box, const Destination<T>& to, unsigned threads) const;

    /// The evaluations of the integrand that a point takes, on average over those that are computed
    /// with it or mirrored.
    double evaluationsOf(const Index& index) const;

  private:
    Request request;
    Positions positions;
    ErrorLimit limit;
    std::optional<AlignedField<T>> aligned;
    std::optional<RectangleField<T>> field;
};

}  // namespace pistonfield
