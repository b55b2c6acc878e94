// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RadialRows.h"

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

const RadialRows& radialRows() noexcept {
    static constexpr lanes::PerInstructionSet<const RadialRows& (*)()> copies(
        []<lanes::InstructionSet set>() { return &radialRowsOf<set>; });
    return copies.inUse()();
}

}  // namespace pistonfield
