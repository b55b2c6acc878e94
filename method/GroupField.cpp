// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/GroupField.h"

#include "lanes/PerInstructionSet.h"

namespace pistonfield {

const GroupFields& groupFields() noexcept {
    static constexpr lanes::PerInstructionSet<const GroupFields& (*)()> copies(
        []<lanes::InstructionSet set>() { return &groupFieldsOf<set>; });
    return copies.inUse()();
}

}  // namespace pistonfield
