// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/compiledSet.h"
#include "lanes/reducedAngles.h"

namespace cuda_runtime {

/// A thread is one lane.
template <class T>
struct Lanes {
    using Reals = T;
    using Ints = int;
    using Mask = bool;
};

template <class T>
struct SineAndCosine {
    T sine;
    T cosine;
};

/// A number beyond the indices is one that no point has.
template <class T>
__device__ inline int threadIndex() {
    const unsigned index =
        threadIdx.x + blockDim.x * (blockIdx.x + gridDim.x * (blockIdx.y + gridDim.y * blockIdx.z));
    return static_cast<int>(min(index, 0x7fffffffU));
}

/// The number of the run of `length` threads that a thread is in.
template <class T, int length>
__device__ inline int runNumber() {
    return threadIndex<T>() / length;
}

/// Its place in that run.
template <class T, int length>
__device__ inline int placesInRun() {
    return threadIndex<T>() % length;
}

__device__ inline bool any(bool mask) { return mask; }

template <class T>
__device__ inline T select(bool mask, T a, T b) {
    return mask ? a : b;
}

__device__ inline int quotient(int index, int divisor) { return index / divisor; }

template <class V>
__device__ inline V toReals(int index) {
    return static_cast<V>(index);
}

template <class T>
__device__ inline T load(const T* array, int index) {
    return array[index];
}

template <class V, class T>
__device__ inline V load(const T* array, int index, bool mask) {
    return mask ? array[index] : V{};
}

/// The element at a place in a run of threads.
template <class V, class T>
__device__ inline V loadRun(const T* run, int place) {
    return run[place];
}

template <class T>
__device__ inline void store(T* array, int index, bool mask, T value) {
    if (mask) array[index] = value;
}

__device__ inline float2 pairOf(float first, float second) { return make_float2(first, second); }
__device__ inline double2 pairOf(double first, double second) {
    return make_double2(first, second);
}

/// Stores pairs of reals, in one store each: the array is aligned to the size of a pair.
template <class Pair, class T>
__device__ inline void store(Pair* array, int index, bool mask, T first, T second) {
    using Whole = decltype(pairOf(first, second));
    if (mask) *reinterpret_cast<Whole*>(array + index) = pairOf(first, second);
}

// The compiler fuses the operators where it can, but not these.
__device__ inline float product(float a, float b) { return __fmul_rn(a, b); }
__device__ inline double product(double a, double b) { return __dmul_rn(a, b); }
__device__ inline float sum(float a, float b) { return __fadd_rn(a, b); }
__device__ inline double sum(double a, double b) { return __dadd_rn(a, b); }

__device__ inline float absolute(float v) { return fabsf(v); }
__device__ inline double absolute(double v) { return fabs(v); }

// Single precision: correctly rounded square root, fast approximate reciprocal. Neither has a
// branch for squared distances that are subnormal or zero: no pressure is finite there.

/// Of a number from 2^-101 on; below the result may be the next number, and of 0 it is none.
__device__ inline float squareRoot(float v) {
    float inverse;
    asm("rsqrt.approx.ftz.f32 %0, %1;" : "=f"(inverse) : "f"(v));
    const float root = __fmul_rn(v, inverse);
    return __fmaf_rn(__fmaf_rn(-root, root, v), __fmul_rn(0.5F, inverse), root);
}

__device__ inline float reciprocal(float v) {
    float result;
    asm("rcp.approx.ftz.f32 %0, %1;" : "=f"(result) : "f"(v));
    return result;
}

// Sine and cosine are in single precision, those of doubles on the converted argument.

/// Of any angles, by the language's own functions, which reduce them in many steps where they are
/// large.
struct AnyAngles {
    template <class T>
    using Reduced = float;

    template <class T>
    __device__ static float reduce(T angle) {
        return static_cast<float>(angle);
    }

    template <class T>
    __device__ static SineAndCosine<T> sinCos(float angle) {
        SineAndCosine<float> result;
        sincosf(angle, &result.sine, &result.cosine);
        return {result.sine, result.cosine};
    }
};

/// Of angles that two fused operations reduce: without a branch.
struct SmallAngles {
    static constexpr float largest = lanes::detail::reducible<float>;

    template <class T>
    using Reduced = lanes::ReducedAngles<float>;

    template <class T>
    __device__ static Reduced<T> reduce(T angle) {
        return lanes::detail::fastReduction(static_cast<float>(angle));
    }

    template <class T>
    __device__ static SineAndCosine<T> sinCos(const Reduced<T>& angle) {
        const auto result = lanes::sinCos(angle);
        return {result.sine, result.cosine};
    }
};

/// Does a work with the angles that it takes: no magnitude is above `largest`.
template <class T, class Work>
__device__ inline auto withAngles(T largest, Work work) {
    return static_cast<float>(largest) <= SmallAngles::largest ? work(SmallAngles())
                                                               : work(AnyAngles());
}

// Double precision: the square root in single precision on the converted argument, by the fast
// approximate instruction; a correctly rounded reciprocal.

__device__ inline double squareRoot(double v) {
    float result;
    asm("sqrt.approx.ftz.f32 %0, %1;" : "=f"(result) : "f"(static_cast<float>(v)));
    return result;
}

/// Of a normal number: Newton's iteration, as the correctly rounded function has it without its
/// branch for others.
__device__ inline double reciprocal(double v) {
    double inverse;
    asm("rcp.approx.ftz.f64 %0, %1;" : "=d"(inverse) : "d"(v));
    double rest = __fma_rn(-v, inverse, 1);
    rest = __fma_rn(rest, rest, rest);
    inverse = __fma_rn(inverse, rest, inverse);
    rest = __fma_rn(-v, inverse, 1);
    return __fma_rn(inverse, rest, inverse);
}

/// One item after the other: the threads beside this one keep the processor busy.
template <class First, class Second, class Third>
__device__ inline void pipelined(int count, First first, Second second, Third third) {
    for (int i = 0; i < count; ++i) third(second(first(i)));
}

/// Does a work with 0, 1 and so on: in a loop that stays one.
template <class Work>
__device__ inline void inTurn(int count, Work work) {
#pragma unroll 1
    for (int i = 0; i < count; ++i) work(i);
}

template <class T, auto kernel>
const void* entryOf() {
    return reinterpret_cast<const void*>(kernel);
}

}  // namespace cuda_runtime
