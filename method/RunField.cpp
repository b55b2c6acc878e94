// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RunField.h"

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

const RunFields& runFields() noexcept {
    static constexpr lanes::PerInstructionSet<const RunFields& (*)()> copies(
        []<lanes::InstructionSet set>() { return &runFieldsOf<set>; });
    return copies.inUse()();
}

}  // namespace pistonfield
