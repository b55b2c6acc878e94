// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/InstructionSet.h"
#include "method/Orders.h"
#include "method/Rules.h"

namespace pistonfield {

/// The points that share the numbers of nodes: neighbours in grid point order. They are as many on
/// every processor, so that orders do not depend on it.
inline constexpr int groupSize = 16;

/// The points of a group in the face's frame and unit of length, folded: |x|, |y|, |z|.
struct GroupPoints {
    alignas(64) double x[groupSize];
    alignas(64) double y[groupSize];
    alignas(64) double z[groupSize];
    Place place;  ///< where all of them lie, times the wavenumber
};

/// Their pressure.
template <class T>
struct GroupValues {
    alignas(64) T re[groupSize];
    alignas(64) T im[groupSize];
};

/// Computes the pressure of a group's points in T, by the orders, whose rules stand in the table by
/// their rungs. Only the reference phases,
/// exp(-jz) or exp(-jQ), and the offsets from the face are formed in double.
using GroupFieldInFloat = void (*)(const Nodes<float>*, const Face&, const PointOrders&,
                                   const GroupPoints&, GroupValues<float>&);
using GroupFieldInDouble = void (*)(const Nodes<double>*, const Face&, const PointOrders&,
                                    const GroupPoints&, GroupValues<double>&);

/// The two as one instruction set has them.
struct GroupFields {
    GroupFieldInFloat inFloat;
    GroupFieldInDouble inDouble;

    template <class T>
    auto in() const noexcept {
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

}  // namespace pistonfield
