// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/InstructionSet.h"

#include <array>
#include <atomic>
#include <cstddef>

namespace lanes {

namespace {

std::atomic<InstructionSet> chosen{bestInstructionSet()};

}  // namespace

InstructionSet bestInstructionSet() noexcept {
#define PISTONFIELD_HAS(feature) __builtin_cpu_supports(#feature)
#define PISTONFIELD_HAS_SET(name, title, has) has,
    const std::array hasWhatSetsAdd{
        PISTONFIELD_INSTRUCTION_SETS(PISTONFIELD_HAS_SET, PISTONFIELD_HAS)};
#undef PISTONFIELD_HAS_SET
#undef PISTONFIELD_HAS
    std::size_t best = 0;
    while (best + 1 < hasWhatSetsAdd.size() && hasWhatSetsAdd[best + 1]) ++best;
    return static_cast<InstructionSet>(best);
}

InstructionSet instructionSet() noexcept { return chosen; }

void useInstructionSet(InstructionSet set) noexcept { chosen = set; }

const char* nameOf(InstructionSet set) noexcept {
#define PISTONFIELD_TITLE(name, title, has) title,
    constexpr std::array titles{PISTONFIELD_INSTRUCTION_SETS(PISTONFIELD_TITLE, )};
#undef PISTONFIELD_TITLE
    const auto number = static_cast<std::size_t>(set);
    return number < titles.size() ? titles[number] : "unknown";
}

}  // namespace lanes
