// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace lanes {

/// The instruction sets that hot sources are compiled for: plain x86-64, and of its levels v3 (AVX2
/// and FMA) and v4 (AVX-512) what the sources use.
enum class InstructionSet { baseline, v3, v4 };

/// The best set that the processor has.
InstructionSet bestInstructionSet() noexcept;

/// The set in use: the best one, unless another was chosen.
InstructionSet instructionSet() noexcept;

/// Chooses a set, which the processor must have, for all work that starts from now on.
void useInstructionSet(InstructionSet set) noexcept;

const char* nameOf(InstructionSet set) noexcept;

}  // namespace lanes
