// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <vector>

#include "field/Plan.h"

namespace pistonfield {

/// |p| at the points of a lattice, in grid point order: where a peak is first looked for.
struct Samples {
    Lattice lattice;
    std::vector<double> magnitudes;
};

Samples samplesOf(const Lattice& lattice, const std::vector<std::complex<double>>& values);

/// A lattice that spans the same region, with steps of at most a quarter of a wavelength, unless
/// the points would be more than 2^21: then they are as many at most, or those of the lattice
/// itself.
Lattice searchLattice(const Lattice& lattice, const Wave& wave);

/// Those of a request's field, at the points of its region's `searchLattice`.
/// @throws InvalidRequest; Stopped; DeviceFailure; std::bad_alloc
Samples sampled(Request request, const Conduct& conduct);

}  // namespace pistonfield
