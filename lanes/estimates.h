// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/Pack.h"

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

namespace detail {

/// Whether the set has estimates of 1/x and 1/sqrt(x) that are worth refining: elsewhere the
/// divider is as fast.
template <class V>
inline constexpr bool hasEstimates = (registerBytes == 64 && sizeof(V) == 64) ||
                                     (registerBytes == 32 && sizeof(V) == 32 &&
                                      sizeof(Element<V>) == 4);

/// 1/sqrt(v) to 14 bits, of floats with AVX2 to 12.
template <class V>
[[gnu::always_inline]] inline V reciprocalRootEstimate(V v) {
#if defined(__AVX512F__) && defined(__AVX512DQ__)
    if constexpr (sizeof(Element<V>) == 8)
        return (V)_mm512_maskz_rsqrt14_pd(0xFF, (__m512d)v);
    else
        return (V)_mm512_maskz_rsqrt14_ps(0xFFFF, (__m512)v);
#elif defined(__AVX2__) && defined(__FMA__)
    return (V)_mm256_rsqrt_ps((__m256)v);
#else
    return v;
#endif
}

/// 1/v to as many.
template <class V>
[[gnu::always_inline]] inline V reciprocalEstimate(V v) {
#if defined(__AVX512F__) && defined(__AVX512DQ__)
    if constexpr (sizeof(Element<V>) == 8)
        return (V)_mm512_maskz_rcp14_pd(0xFF, (__m512d)v);
    else
        return (V)_mm512_maskz_rcp14_ps(0xFFFF, (__m512)v);
#elif defined(__AVX2__) && defined(__FMA__)
    return (V)_mm256_rcp_ps((__m256)v);
#else
    return v;
#endif
}

/// How often Newton's iteration doubles the digits of an estimate, for all of a T's.
template <class T>
inline constexpr int refinements = sizeof(T) == 8 ? 2 : 1;

}  // namespace detail

/// The square root of normal numbers, within 2.5 ulp: where the divider is slow, Newton's iteration
/// from an estimate, whose last bits differ between processors.
template <class V>
[[gnu::always_inline]] inline V nearSquareRoot(V v) {
    if constexpr (!detail::hasEstimates<V>) {
        return squareRoot(v);
    } else {
        using T = Element<V>;
        const V estimate = detail::reciprocalRootEstimate(v);
        // Root and half the reciprocal root, refined together (Goldschmidt's form).
        V root = v * estimate;
        V half = estimate * T(0.5);
        for (int i = 0; i < detail::refinements<T>; ++i) {
            const V error = multiplyAdd(-root, half, broadcast<V>(T(0.5)));
            root = multiplyAdd(root, error, root);
            if (i + 1 < detail::refinements<T>) half = multiplyAdd(half, error, half);
        }
        return root;
    }
}

/// 1/v, within 2 ulp, in the same way: of normal numbers below 2^125 in float and 2^1021 in double,
/// whose reciprocals are normal with room to spare.
template <class V>
[[gnu::always_inline]] inline V nearReciprocal(V v) {
    using T = Element<V>;
    if constexpr (!detail::hasEstimates<V>) {
        return T(1) / v;
    } else {
        V reciprocal = detail::reciprocalEstimate(v);
        for (int i = 0; i < detail::refinements<T>; ++i) {
            const V error = multiplyAdd(-v, reciprocal, broadcast<V>(T(1)));
            reciprocal = multiplyAdd(reciprocal, error, reciprocal);
        }
        return reciprocal;
    }
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
