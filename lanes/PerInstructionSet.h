// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <iterator>
#include <utility>

#include "lanes/InstructionSet.h"

namespace lanes {

/// What a source that is compiled for every instruction set provides: a T from each of its copies.
/// Where only the plainest sets have a copy, `count` of them, the last of these serves all others.
template <class T, std::size_t count = std::size(instructionSets)>
class PerInstructionSet {
  public:
    /// @param of of.template operator()<set>() is the T of a set
    template <class Of>
    constexpr explicit PerInstructionSet(Of of)
        : PerInstructionSet(of, std::make_index_sequence<count>()) {}

    /// The T of the set in use.
    const T& inUse() const noexcept {
        return values[std::min(static_cast<std::size_t>(instructionSet()), count - 1)];
    }

  private:
    template <class Of, std::size_t... i>
    constexpr PerInstructionSet(Of of, std::index_sequence<i...> /*sets*/)
        : values{of.template operator()<instructionSets[i]>()...} {}

    std::array<T, count> values;
};

}  // namespace lanes
