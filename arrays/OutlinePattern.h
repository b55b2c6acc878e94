// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <vector>

#include "arrays/boundaryNodes.h"

namespace pistonfield {

/// The pattern of a flat piston of any outline far away: the integral of exp(jq.r) over its face,
/// with q the part of a direction in the face's plane times the wavenumber.
///
/// With cones from a centre to the boundary, r = t*b with t from 0 to 1, dS is t dt (b x db), and
/// the integral over t is g(q.b) with g(x) = (exp(jx)*(1 - jx) - 1)/x^2: an integral along the
/// boundary that is finite for every q.
class OutlinePattern {
  public:
    /// @throws std::bad_alloc
    OutlinePattern(const Outline& outline, double wavenumber, int refinement);

    /// The number of nodes that a direction takes.
    std::size_t size() const noexcept { return cones.size(); }

    std::complex<double> at(const PlaneVector& q) const noexcept;

  private:
    struct Cone {
        PlaneVector boundary;  ///< from the centre
        double swept;          ///< b x db
    };

    PlaneVector centre;
    std::vector<Cone> cones;
};

}  // namespace pistonfield
