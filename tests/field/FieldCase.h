// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "field/Request.h"
#include "reference/Quad.h"
#include "reference/SurfaceIntegral.h"
#include "support/FieldRegions.h"

/// A pressure by the reference, and what errors at that point are relative to.
struct ExpectedPressure {
    reference::QuadComplex value;
    /// k*A/(2*pi*R), R being the distance of the piston's centre: infinite there.
    double local;
    /// The same of the furthest corner's distance, which is finite, or |p| where that is more.
    double strict;
    /// k times that distance.
    double phase;

    /// The larger one of |p| and `local`.
    [[nodiscard]] double amplitude() const;
    /// How far a value is off.
    [[nodiscard]] double errorOf(std::complex<double> got) const;
};

/// A request for points, no mode being chosen yet, whose positions are exact in double precision in
/// whatever order their terms are added.
struct FieldCase {
    pistonfield::Request request;

    /// The position of a point of the lattice.
    [[nodiscard]] reference::Point position(std::int64_t point) const;
    [[nodiscard]] ExpectedPressure expected(std::int64_t point) const;
    [[nodiscard]] std::vector<ExpectedPressure> expected() const;
};

/// Points on a line in a region about a piston of a kind; the wavelength is 0.1 to 100.
FieldCase drawCase(Random& random, const PistonKind& kind, const FieldRegion& region, int points);

/// A lattice with random directions and some 4 to 12 points along each, at z >= 0, about a piston
/// with sides of 0.01 to 200 wavelengths.
FieldCase drawLattice(Random& random);
