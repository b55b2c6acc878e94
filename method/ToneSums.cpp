// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/ToneSums.h"

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

const ToneSumsOf& toneSums() noexcept {
    static constexpr lanes::PerInstructionSet<const ToneSumsOf& (*)()> copies(
        []<lanes::InstructionSet set>() { return &toneSumsOf<set>; });
    return copies.inUse()();
}

}  // namespace pistonfield
