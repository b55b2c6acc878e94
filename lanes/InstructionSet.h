// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/instructionSets.h"

namespace lanes {

#define PISTONFIELD_NAME(name, title, has) name,
/// The instruction sets that hot sources are compiled for. Of x86-64: the plain one, and of its
/// levels v3 (AVX2 and FMA) and v4 (AVX-512) what the sources use; of aarch64: the plain one.
enum class InstructionSet { PISTONFIELD_INSTRUCTION_SETS(PISTONFIELD_NAME, ) };
#undef PISTONFIELD_NAME

#define PISTONFIELD_SET(name, title, has) InstructionSet::name,
/// All of them, the plainest first.
inline constexpr InstructionSet instructionSets[]{PISTONFIELD_INSTRUCTION_SETS(PISTONFIELD_SET, )};
#undef PISTONFIELD_SET

/// The best set that the processor has.
InstructionSet bestInstructionSet() noexcept;

/// The set in use: the best one, unless another was chosen.
InstructionSet instructionSet() noexcept;

/// Chooses a set, which the processor must have, for all work that starts from now on.
void useInstructionSet(InstructionSet set) noexcept;

const char* nameOf(InstructionSet set) noexcept;

}  // namespace lanes
