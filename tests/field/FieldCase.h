// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "field/Plan.h"
#include "field/Request.h"
#include "reference/Quad.h"
#include "reference/SurfaceIntegral.h"
#include "support/FieldRegions.h"

/// A pressure by the reference, and what errors at that point are relative to.
struct ExpectedPressure {
    reference::QuadComplex value;
    double magnitude;
    /// What a tolerance of the local amplitude is relative to.
    double local;
    /// |p|, or k*A/(2*pi*R) where that is more: infinite at the piston's centre.
    double amplitude;
    /// k times the distance of the piston's centre and half its sides.
    double phase;

    /// What double precision may add to the error, in parts of the amplitude: the phase alone has
    /// an error of the unit roundoff times kR.
    [[nodiscard]] double rounding() const;
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

double largestMagnitude(const std::vector<ExpectedPressure>& expected);

/// The tightest tolerance that may be asked of double precision, where it is kept so closely:
/// `least` and the most of `rounding`, of the local amplitude. The largest magnitude that a plan
/// finds, which looks at some of the points alone, is an eighth of the true one at least.
double toleranceInDouble(const std::vector<ExpectedPressure>& expected,
                         pistonfield::Tolerance::Of of, double least = 0);

/// A plan of a request, whose tolerance is doubled until it is taken.
/// @param refusals counts the refusals
/// @throws pistonfield::InvalidRequest where none below 1 is taken, or it has another reason
pistonfield::Plan takenPlan(pistonfield::Request request, int* refusals = nullptr);

/// Points on a line in a region about a piston of a kind; the wavelength is 0.1 to 100.
FieldCase drawCase(Random& random, const PistonKind& kind, const FieldRegion& region, int points);

/// A lattice with random directions and some 4 to 12 points along each, at z >= 0, about a piston
/// with sides of 0.01 to 200 wavelengths.
FieldCase drawLattice(Random& random);

/// A lattice along the piston's axes, in any order, of 4096 points and some more; some are the same
/// on both sides of an axis.
FieldCase drawAlignedLattice(Random& random);
