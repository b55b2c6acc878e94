// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

#include "cuda_runtime/KernelEntry.h"
#include "lanes/InstructionSet.h"
#include "method/GroupNumbers.h"
#include "method/Nodes.h"
#include "method/PointOrders.h"

namespace pistonfield {

/// Points of a group that are computed in one go, as the kernel takes them.
struct PartOnDevice {
    std::int32_t group;
    std::uint16_t members;  ///< one bit for each point of the group
    PointOrders orders;
};

/// The kernel that computes the pressure at groups of points in T.
template <class T>
struct GroupModule {
    /// (values, numbers, parts, count, rules, halfX, halfY): values and numbers of all groups,
    /// `count` parts, the rules by their rungs, and half the sides; sixteen threads for each part
    using Compute = cuda_runtime::KernelEntry<GroupValues<T>*, const GroupNumbers<T>*,
                                              const PartOnDevice*, int, const Nodes<T>*, T, T>;

    Compute compute;
};

/// The module of a precision, registered with the runtime when the program is loaded.
const GroupModule<float>& groupModule(float precision);
const GroupModule<double>& groupModule(double precision);

/// The modules as they are compiled for an instruction set of the host; a GPU's for the baseline.
template <lanes::InstructionSet set>
GroupModule<float> singleGroupModuleOf();
template <lanes::InstructionSet set>
GroupModule<double> doubleGroupModuleOf();

}  // namespace pistonfield
