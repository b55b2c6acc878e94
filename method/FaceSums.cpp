// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/FaceSums.h"

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

const FaceSumsOf& faceSums() noexcept {
    static constexpr lanes::PerInstructionSet<const FaceSumsOf& (*)()> copies(
        []<lanes::InstructionSet set>() { return &faceSumsOf<set>; });
    return copies.inUse()();
}

}  // namespace pistonfield
