// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/InstructionSet.h"
#include "method/GroupNumbers.h"
#include "method/Orders.h"
#include "method/Rules.h"

namespace pistonfield {

/// The points of a group in the face's frame and unit of length, folded: |x|, |y|, |z|.
struct GroupPoints {
    alignas(64) double x[groupSize];
    alignas(64) double y[groupSize];
    alignas(64) double z[groupSize];
    Place place;  ///< where all of them lie, times the wavenumber
};

/// What is done with a group's points in T.
template <class T>
struct GroupFieldIn {
    /// Computes their pressure by the orders, whose rules stand in the table by their rungs. Only
    /// what `findNumbers` finds is formed in double.
    void (*compute)(const Nodes<T>*, const Face&, const PointOrders&, const GroupPoints&,
                    GroupValues<T>&);
    /// Finds what the arithmetic takes of them, by the formula: the reference phases and what
    /// cancels, formed in double.
    void (*findNumbers)(const Face&, Formula, const GroupPoints&, GroupNumbers<T>&);
};

/// The same in both precisions, as one instruction set has them.
struct GroupFields {
    GroupFieldIn<float> inFloat;
    GroupFieldIn<double> inDouble;

    template <class T>
    const GroupFieldIn<T>& in() const noexcept {
        if constexpr (sizeof(T) == 4)
            return inFloat;
        else
            return inDouble;
    }
};

/// Those that are compiled for an instruction set, in that set's copy of GroupField.lanes.cpp.
template <lanes::InstructionSet set>
const GroupFields& groupFieldsOf();

/// Those of the instruction set in use.
const GroupFields& groupFields() noexcept;

/// Half the sides as the arithmetic takes them; of float and double.
template <class T>
HalfSides<T> halfSidesOf(const Face& face) noexcept;

}  // namespace pistonfield
