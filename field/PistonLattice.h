// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>

#include "field/AlignedField.h"
#include "field/ConvolvedElement.h"
#include "field/Positions.h"
#include "field/Request.h"
#include "method/RectangleField.h"

namespace pistonfield {

/// The field of one piston on a lattice in its frame, within a limit of its error: along the axes
/// where the lattice lies so, else point by point.
template <class T>
class PistonLattice : public ElementLattice<T> {
  public:
    using Index = typename ElementLattice<T>::Index;

    /// @throws std::bad_alloc
    PistonLattice(const RectangularPiston& piston, const Wave& wave, const Lattice& lattice,
                  const ErrorLimit& limit);

    const Index& sizes() const noexcept override { return request.lattice.sizes; }

    /// A value's bits do not depend on the box, which may be any.
    void fill(const LatticeBox& box, const Destination<T>& to,
              const Conduct& conduct) const override;

    /// On average over those as well that are mirrored.
    double evaluationsOf(const Index& index) const override;

  private:
    Request request;
    Positions positions;
    ErrorLimit limit;
    std::optional<AlignedField<T>> aligned;
    std::optional<RectangleField<T>> field;
};

}  // namespace pistonfield
