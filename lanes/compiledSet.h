// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/InstructionSet.h"

// The sources of hot loops are compiled once for each instruction set. Everything in this folder
// lives in an inline namespace named after the set, so that the copies stay apart in the linker.
// The host side of a kernel source for a GPU is the baseline's.
#if defined(__CUDACC__)
#define PISTONFIELD_INSTRUCTION_SET baseline
#elif defined(__AVX512F__) && defined(__AVX512DQ__)
#define PISTONFIELD_INSTRUCTION_SET v4
#elif defined(__AVX2__) && defined(__FMA__)
#define PISTONFIELD_INSTRUCTION_SET v3
#else
#define PISTONFIELD_INSTRUCTION_SET baseline
#endif

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// The instruction set that this copy of the source is compiled for.
inline constexpr InstructionSet compiledSet = InstructionSet::PISTONFIELD_INSTRUCTION_SET;

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
