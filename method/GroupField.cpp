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

template <class T>
HalfSides<T> halfSidesOf(const Face& face) noexcept {
    return {static_cast<T>(face.halfX * face.k / 2), static_cast<T>(face.halfY * face.k / 2)};
}

template HalfSides<float> halfSidesOf(const Face&) noexcept;
template HalfSides<double> halfSidesOf(const Face&) noexcept;

}  // namespace pistonfield
