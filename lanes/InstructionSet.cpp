// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/InstructionSet.h"

#include <atomic>

namespace lanes {

namespace {

std::atomic<InstructionSet> chosen{bestInstructionSet()};

}  // namespace

InstructionSet bestInstructionSet() noexcept {
    const bool hasV3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                       __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2");
    const bool hasV4 = __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                       __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                       __builtin_cpu_supports("avx512vl");
    if (hasV3 && hasV4) return InstructionSet::v4;
    return hasV3 ? InstructionSet::v3 : InstructionSet::baseline;
}

InstructionSet instructionSet() noexcept { return chosen; }

void useInstructionSet(InstructionSet set) noexcept { chosen = set; }

const char* nameOf(InstructionSet set) noexcept {
    switch (set) {
        case InstructionSet::baseline:
            return "x86-64";
        case InstructionSet::v3:
            return "x86-64-v3";
        case InstructionSet::v4:
            return "x86-64-v4";
    }
    return "unknown";
}

}  // namespace lanes
