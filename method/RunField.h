// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

#include "lanes/InstructionSet.h"
#include "method/Orders.h"
#include "method/Rules.h"
#include "method/RunRules.h"

namespace pistonfield {

/// The rows of points along two edges of a face that share the numbers of nodes.
inline constexpr int rowsOfRun = 16;

/// Where rows lie, in the face's frame and unit of length.
struct Rows {
    alignas(64) double across[rowsOfRun];  ///< the coordinate across the edges
    alignas(64) double z[rowsOfRun];       ///< 0 or more
    int count;                             ///< the rows that are wanted, the first ones
};

/// A face as the two edges along its rows have it.
struct Sides {
    double along;   ///< half their length
    double across;  ///< half their distance
    double k;       ///< radians per unit of length
};

/// The points of rows that are computed in one go: evenly spaced from middle - half to
/// middle + half, or the middle alone.
template <class T>
struct Run {
    double middle;
    double half;
    RunRule<T> rule;  ///< its count is 0 for the middle alone
    int points;       ///< how many of the rule's points are wanted, from the first one on
    Panels edges[2];  ///< of the integrals along the edges, as the middle sees them: along that at
                      ///< +across and that at -across
};

/// Where the values of a run's points go: those of a point one after the other, by rows.
template <class T>
struct RunValues {
    T* re;
    T* im;
    std::ptrdiff_t stride;  ///< from point to point
};

/// Computes, of all rows, the sum over the two edges of the offset e times the integral of
/// (exp(-jR) - exp(-jz))/D along them, over j*pi*exp(-jz), and of that the conjugate.
///
/// From point to point the integrals change by what the edges' ends pass, whichever way the points
/// move: their derivatives by x are the integrand's values at the two ends. So with one integral at
/// the middle four evaluations a node of the run are enough for all of its points.
template <class T>
using RunField = void (*)(const Nodes<T>*, const Sides&, const Rows&, const Run<T>&,
                          const RunValues<T>&);

/// The two as one instruction set has them.
struct RunFields {
    RunField<float> inFloat;
    RunField<double> inDouble;

    template <class T>
    auto in() const noexcept {
        if constexpr (sizeof(T) == 4)
            return inFloat;
        else
            return inDouble;
    }
};

/// Those that are compiled for an instruction set, in that set's copy of RunField.lanes.cpp.
template <lanes::InstructionSet set>
const RunFields& runFieldsOf();

/// Those of the instruction set in use.
const RunFields& runFields() noexcept;

}  // namespace pistonfield
