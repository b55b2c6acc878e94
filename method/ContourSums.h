// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <cstddef>

#include "lanes/InstructionSet.h"
#include "method/GroupNumbers.h"

namespace pistonfield {

/// Which integrals over a flat piston are asked for, with phi = integral of exp(-jkR)/R dS: each
/// level has those of the ones before it.
enum class Derivatives {
    potential,  ///< phi alone, or more
    none,       ///< phi and its derivative by z
    gradient,   ///< all derivatives of phi
    second      ///< and all derivatives of the one by z
};

/// A node on the piston's boundary: where it is, and the boundary's tangent times the rule's
/// weight.
struct ContourNode {
    double x, y;
    double dx, dy;
};

/// Some points in the piston's frame, at z >= 0, as the sums take them.
struct ContourPoints {
    alignas(64) double x[groupSize];
    alignas(64) double y[groupSize];
    alignas(64) double z[groupSize];
    /// The distance Q that phases are relative to: z, or with `beside` that of the frame's origin.
    alignas(64) double reference[groupSize];
    int count;    ///< of the points; the lanes after them repeat one
    bool beside;  ///< whether all of them lie beside the piston
};

/// The sums along the boundary, with E = exp(-jk(R - Q)), d the vector from the point's foot to the
/// node, cross that of d and the tangent, D = d^2:
///
/// phi     cross/D (E - 1)
/// alongZ  cross/D (z/R E - z/Q), where z/Q is 1 unless `beside`
/// onX     E/R dy
/// onY     E/R dx
/// bentX   (1 + jkR) E/R^3 dy
/// bentY   (1 + jkR) E/R^3 dx
/// bent    (1 + jkR) E/R^3 cross
struct ContourSums {
    struct Sum {
        alignas(64) double re[groupSize];
        alignas(64) double im[groupSize];

        std::complex<double> at(std::size_t i) const noexcept { return {re[i], im[i]}; }
    };

    Sum phi, alongZ;
    Sum onX, onY;
    Sum bentX, bentY, bent;
};

/// Sums up over nodes, for k = wavenumber - j*attenuation. Sums that the derivatives do not need
/// are not touched.
struct ContourSumsOf {
    void (*compute)(const ContourNode* nodes, std::size_t count, double wavenumber,
                    double attenuation, Derivatives derivatives, const ContourPoints& points,
                    ContourSums& sums);
};

/// Those that are compiled for an instruction set, in that set's copy of ContourSums.lanes.cpp.
template <lanes::InstructionSet set>
const ContourSumsOf& contourSumsOf();

/// Those of the instruction set in use.
const ContourSumsOf& contourSums() noexcept;

}  // namespace pistonfield
