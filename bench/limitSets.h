// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>

#include "bench/Limit.h"

namespace bench {

/// The loops of an instruction set, and whether the processor has it.
struct LimitSet {
    const char* name;
    bool runnable;
    LimitLoops loops;
};

/// From best to least.
inline std::array<LimitSet, 3> limitSets() {
    const bool v3 = __builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma") &&
                    __builtin_cpu_supports("bmi2");
    const bool v4 = v3 && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
                    __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
                    __builtin_cpu_supports("avx512vl");
    return {LimitSet{"v4", v4, v4::limitLoops()}, LimitSet{"v3", v3, v3::limitLoops()},
            LimitSet{"baseline", true, baseline::limitLoops()}};
}

}  // namespace bench
