// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "beam/BeamField.h"

namespace pistonfield {

/// A field of which the values at a lattice's points are known, and nothing more. Between them it
/// is interpolated by polynomials through 6 points along each direction: p itself, and for |p| its
/// square, which is smooth where |p| has a zero.
class GridField final : public BeamField {
  public:
    /// @param values in grid point order
    /// @throws InvalidRequest of `values` unless they are as many as the points, of `sizes` or
    ///     `transform` where the lattice spans nothing; std::bad_alloc
    GridField(const Lattice& lattice, std::vector<std::complex<double>> values);

    const Lattice& lattice() const noexcept { return points; }
    const std::vector<std::complex<double>>& values() const noexcept { return known; }

    /// Not a number outside of the lattice.
    std::vector<std::complex<double>> pressures(const PointList& points) const override;
    std::vector<double> magnitudes(const PointList& points) const override;

    /// By how much 4 points along each direction say something else.
    double uncertainty(const Pose::Vector& place) const override;

  private:
    Lattice points;
    std::vector<std::complex<double>> known;
};

}  // namespace pistonfield
