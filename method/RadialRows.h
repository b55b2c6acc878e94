// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/InstructionSet.h"
#include "method/FarSums.h"

namespace pistonfield {

/// The distances R of a row's points from a centre: of s steps from the row's middle
/// R^2 = reference^2 + slope*s + square*s^2.
struct RadialRow {
    int points;  ///< 1 to `mostInRow`
    double reference;
    double slope;
    double square;
};

/// The wavenumber k = real - j*attenuation of exp(-jkR).
struct LossyWavenumber {
    double real;
    double attenuation;
};

/// What interpolates complex numbers from nodes to a row's points.
struct RowNodes {
    int count;
    const double* weights;      ///< node by node those of `mostInRow` points
    const double *reOf, *imOf;  ///< the nodes' numbers
};

/// Numbers at a row's points.
struct RowValues {
    alignas(64) double re[mostInRow];
    alignas(64) double im[mostInRow];
};

/// Rows of fields that are smooth but for exp(-jkR).
struct RadialRows {
    /// Finds exp(-jk(R - reference)).
    void (*findWaves)(const RadialRow& row, const LossyWavenumber& k, RowValues& waves);

    /// Finds what is interpolated at so many points, times the waves.
    void (*interpolate)(const RowNodes& nodes, int points, const RowValues& waves,
                        RowValues& values);

    /// Adds the values times a weight to sums, of at least `mostInRow` points.
    void (*add)(const RowValues& values, int points, double weightRe, double weightIm, double* re,
                double* im);
};

/// Those that are compiled for an instruction set, in that set's copy of RadialRows.lanes.cpp.
template <lanes::InstructionSet set>
const RadialRows& radialRowsOf();

/// Those of the instruction set in use.
const RadialRows& radialRows() noexcept;

}  // namespace pistonfield
