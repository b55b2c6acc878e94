// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

#include "cuda_runtime/KernelEntry.h"
#include "lanes/InstructionSet.h"
#include "method/ArrayNumbers.h"

namespace pistonfield {

/// The kernels that sum up equal elements of an array in T: each group's points take sixteen
/// threads, once for each `width` weightings.
template <class T>
struct ArrayModule {
    /// (sums, sites, firstNear, near, directivityNumbers, groups, elements, count, directivities,
    /// amplitude, weights, toNextWeights, weightings)
    ///
    /// Adds the elements that are far: sums, weighting by weighting those of all `groups`; the
    /// groups' sites; the first of each group's near elements and behind them their end; these, in
    /// the order of the elements; the number of the directivity, group by group those of all
    /// blocks; `count` elements; the directivities; p*R far away on the axis; the weights, as pairs
    /// of reals, and numbers from a weighting's to the next one's; a multiple of the width.
    using AddFar =
        cuda_runtime::KernelEntry<GroupSums<T>*, const SiteNumbers<T>*, const std::int32_t*,
                                  const NearElement*, const std::uint8_t*, int,
                                  const ElementNumbers<T>*, int, const DirectivityOnDevice<T>*, T,
                                  const T*, std::int64_t, int>;

    /// (sums, values, firstNear, near, begin, end, groups, weights, toNextWeights, weightings)
    ///
    /// Adds the near elements from number `begin` to less than `end`, the first of which has the
    /// first one of the values.
    using AddNear =
        cuda_runtime::KernelEntry<GroupSums<T>*, const GroupValues<T>*, const std::int32_t*,
                                  const NearElement*, int, int, int, const T*, std::int64_t, int>;

    /// How many weightings a thread takes.
    static constexpr int widthOfMany = 8;

    AddFar addFarOfOne, addFarOfMany;
    AddNear addNear;
};

/// The module of a precision, registered with the runtime when the program is loaded.
const ArrayModule<float>& arrayModule(float precision);
const ArrayModule<double>& arrayModule(double precision);

/// The modules as they are compiled for an instruction set of the host; a GPU's for the baseline.
template <lanes::InstructionSet set>
ArrayModule<float> singleArrayModuleOf();
template <lanes::InstructionSet set>
ArrayModule<double> doubleArrayModuleOf();

}  // namespace pistonfield
