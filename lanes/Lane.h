// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

#include "lanes/compiledSet.h"
#include "lanes/words.h"

/// A single lane: a float or a double by itself, for which the functions of packs have the same
/// names and keep the same bounds. It is what a thread of a GPU has. Sources that include
/// lanes/anyLanes.h are written once, for packs and for single lanes.
namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// What is known of a pack or a single lane.
template <class V>
struct LanesOf;

template <>
struct LanesOf<float> {
    using Element = float;
    using Word = std::uint32_t;
    using Bits = Word;
    static constexpr bool fuses = true;
};

template <>
struct LanesOf<double> {
    using Element = double;
    using Word = std::uint64_t;
    using Bits = Word;
    static constexpr bool fuses = true;
};

/// The type of a lane.
template <class V>
using Element = typename LanesOf<V>::Element;

/// Integers of the lanes' width.
template <class V>
using Bits = typename LanesOf<V>::Bits;

/// The bits read as another type of the same size.
template <class To, class From>
[[gnu::always_inline]] __device__ inline To sameBits(From from) {
    static_assert(sizeof(To) == sizeof(From));
    To to;
    __builtin_memcpy(&to, &from, sizeof to);
    return to;
}

/// Whether `multiplyAdd` of V rounds once.
template <class V>
inline constexpr bool fuses = LanesOf<V>::fuses;

/// The same value in every lane: the value as the lanes' type has it, but -0 becomes +0.
template <class V, class T>
[[gnu::always_inline]] __device__ inline V broadcast(T value) {
    return V{} + static_cast<Element<V>>(value);
}

__device__ inline bool any(bool mask) { return mask; }

__device__ inline float select(bool mask, float a, float b) { return mask ? a : b; }
__device__ inline double select(bool mask, double a, double b) { return mask ? a : b; }

#ifdef __CUDACC__

__device__ inline float multiplyAdd(float a, float b, float c) { return __fmaf_rn(a, b, c); }
__device__ inline double multiplyAdd(double a, double b, double c) { return __fma_rn(a, b, c); }

// In single precision the fast instructions, which are within 2 ulp and 1 ulp.

__device__ inline float nearSquareRoot(float v) {
    float root;
    asm("sqrt.approx.f32 %0, %1;" : "=f"(root) : "f"(v));
    return root;
}

__device__ inline float nearReciprocal(float v) {
    float reciprocal;
    asm("rcp.approx.f32 %0, %1;" : "=f"(reciprocal) : "f"(v));
    return reciprocal;
}

__device__ inline double nearSquareRoot(double v) { return __dsqrt_rn(v); }
__device__ inline double nearReciprocal(double v) { return __drcp_rn(v); }

#else

inline float multiplyAdd(float a, float b, float c) { return __builtin_fmaf(a, b, c); }
inline double multiplyAdd(double a, double b, double c) { return __builtin_fma(a, b, c); }

inline float nearSquareRoot(float v) { return __builtin_sqrtf(v); }
inline double nearSquareRoot(double v) { return __builtin_sqrt(v); }

inline float nearReciprocal(float v) { return 1 / v; }
inline double nearReciprocal(double v) { return 1 / v; }

#endif

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
