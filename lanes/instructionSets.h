// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The instruction sets that hot sources are compiled for, on each processor, the plainest first:
// the one list, for the code and for cmake/InstructionSets.cmake.
//
//   SET(name, title, has)  a set, and whether the processor has what it adds to the sets before it
//   HAS(feature)           whether the processor has a feature, which is the compiler's -m<feature>
#if defined(__x86_64__)
#define PISTONFIELD_INSTRUCTION_SETS(SET, HAS)                           \
    SET(baseline, "x86-64", true)                                        \
    SET(v3, "x86-64-v3", HAS(avx2) && HAS(fma) && HAS(bmi) && HAS(bmi2)) \
    SET(v4, "x86-64-v4",                                                 \
        HAS(avx512f) && HAS(avx512bw) && HAS(avx512cd) && HAS(avx512dq) && HAS(avx512vl))
#elif defined(__aarch64__)
#define PISTONFIELD_INSTRUCTION_SETS(SET, HAS) SET(baseline, "aarch64", true)
#endif
