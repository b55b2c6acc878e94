// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/ContourSums.h"

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

const ContourSumsOf& contourSums() noexcept {
    static constexpr lanes::PerInstructionSet<const ContourSumsOf& (*)()> copies(
        []<lanes::InstructionSet set>() { return &contourSumsOf<set>; });
    return copies.inUse()();
}

}  // namespace pistonfield
