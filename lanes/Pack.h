// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#ifdef __x86_64__
#include <immintrin.h>
#endif

#include <cstdint>
#include <type_traits>

#include "lanes/Lane.h"
#include "lanes/compiledSet.h"

/// Packs of SIMD lanes: one shape of arithmetic at several independent points at a time. The types
/// are the compiler's vector types, whose operators work lane by lane; comparisons yield a mask,
/// integers of the lanes' width that are 0 or -1.
///
/// V stands for a pack of a power of two of lanes that fits a register, T for float or double, M
/// for a mask. Unless a function says otherwise it takes every value, NaN and infinities too, and
/// is exact.
namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

template <class T, int W>
struct PackOf {
    using type [[gnu::vector_size(W * sizeof(T))]] = T;
};

/// W lanes of T, a number or an integer; W is a power of two.
template <class T, int W>
using Pack = typename PackOf<T, W>::type;

/// The bytes of the set's widest registers; 16 are those of NEON, too.
#if defined(__AVX512F__) && defined(__AVX512DQ__)
inline constexpr int registerBytes = 64;
#elif defined(__AVX2__) && defined(__FMA__)
inline constexpr int registerBytes = 32;
#else
inline constexpr int registerBytes = 16;
#endif

/// The lanes of T that fill a register.
template <class T>
inline constexpr int width = registerBytes / static_cast<int>(sizeof(T));

template <class V>
struct LanesOf {
    using Element = std::remove_cvref_t<decltype(V{}[0])>;
    using Bits = decltype(V{} < V{});
    using Word = std::remove_cvref_t<decltype(Bits{}[0])>;
    static constexpr bool fuses = registerBytes >= 32 && sizeof(V) >= 16;
};

/// The number of lanes.
template <class V>
inline constexpr int widthOf = sizeof(V) / sizeof(Element<V>);

/// The mask type of comparisons between packs V.
template <class V>
using Mask = decltype(V{} < V{});

/// The lanes' bits read as another pack, of lanes of any type and of the same size in all.
template <class To, class From>
[[gnu::always_inline]] inline To bitsAs(From from) {
    static_assert(sizeof(To) == sizeof(From));
    return (To)from;
}

/// Lane by lane: where the mask is set a, elsewhere b. Of packs of numbers or integers.
template <class V>
[[gnu::always_inline]] inline V select(Mask<V> mask, V a, V b) {
    return mask ? a : b;
}

/// Whether the mask is set in a lane.
template <class M>
[[gnu::always_inline]] inline bool any(M mask) {
#if defined(__AVX512F__) && defined(__AVX512DQ__)
    if constexpr (sizeof(M) == 64) return _mm512_test_epi64_mask((__m512i)mask, (__m512i)mask) != 0;
#endif
#if defined(__AVX2__) && defined(__FMA__)
    if constexpr (sizeof(M) == 32) return _mm256_testz_si256((__m256i)mask, (__m256i)mask) == 0;
#endif
#ifdef __SSE2__
    if constexpr (sizeof(M) == 16) return _mm_movemask_epi8((__m128i)mask) != 0;
#else
    if constexpr (sizeof(M) == 16) {
        const auto halves = bitsAs<Pack<std::int64_t, 2>>(mask);
        return (halves[0] | halves[1]) != 0;
    }
#endif
    for (int i = 0; i < widthOf<M>; ++i)
        if (mask[i] != 0) return true;
    return false;
}

/// Without the sign, a NaN's and a zero's too. Of packs of T.
template <class V>
[[gnu::always_inline]] inline V absolute(V v) {
    using Bits = Mask<V>;
    constexpr auto allButSign =
        static_cast<Element<Bits>>(~(Element<Bits>{1} << (sizeof(Element<Bits>) * 8 - 1)));
    return bitsAs<V>(bitsAs<Bits>(v) & allButSign);
}

/// Whether a lane's magnitude is above the limit. A NaN's is not. Of packs of T.
template <class V>
[[gnu::always_inline]] inline bool anyBeyond(V v, Element<V> limit) {
    const V magnitude = absolute(v);
#if defined(__AVX512F__) && defined(__AVX512DQ__)
    const V limits = broadcast<V>(limit);
    if constexpr (sizeof(V) == 64 && sizeof(Element<V>) == 8)
        return _mm512_cmp_pd_mask((__m512d)magnitude, (__m512d)limits, _CMP_GT_OQ) != 0;
    if constexpr (sizeof(V) == 64 && sizeof(Element<V>) == 4)
        return _mm512_cmp_ps_mask((__m512)magnitude, (__m512)limits, _CMP_GT_OQ) != 0;
#endif
    return any(magnitude > limit);
}

/// The square root, correctly rounded: within half an ulp. NaN of numbers below 0. Of packs of T.
/// (The form with a full mask is the one that this compiler does not warn about.)
template <class V>
[[gnu::always_inline]] inline V squareRoot(V v) {
    constexpr bool isDouble = sizeof(Element<V>) == 8;
#if defined(__AVX512F__) && defined(__AVX512DQ__)
    if constexpr (sizeof(V) == 64 && isDouble) return (V)_mm512_maskz_sqrt_pd(0xFF, (__m512d)v);
    if constexpr (sizeof(V) == 64 && !isDouble) return (V)_mm512_maskz_sqrt_ps(0xFFFF, (__m512)v);
#endif
#if defined(__AVX2__) && defined(__FMA__)
    if constexpr (sizeof(V) == 32 && isDouble) return (V)_mm256_sqrt_pd((__m256d)v);
    if constexpr (sizeof(V) == 32 && !isDouble) return (V)_mm256_sqrt_ps((__m256)v);
#endif
#ifdef __SSE2__
    if constexpr (sizeof(V) == 16 && isDouble) return (V)_mm_sqrt_pd((__m128d)v);
    if constexpr (sizeof(V) == 16 && !isDouble) return (V)_mm_sqrt_ps((__m128)v);
#endif
    V root{};
    for (int i = 0; i < widthOf<V>; ++i)
        if constexpr (isDouble)
            root[i] = __builtin_sqrt(v[i]);
        else
            root[i] = __builtin_sqrtf(v[i]);
    return root;
}

/// a*b + c of packs of T. Rounded once, within half an ulp, where `fuses`; else the product and the
/// sum are rounded, each within half an ulp of its own. For the elementary functions only, whose
/// rounding may differ between instruction sets.
template <class V>
[[gnu::always_inline]] inline V multiplyAdd(V a, V b, V c) {
    [[maybe_unused]] constexpr bool isDouble = sizeof(Element<V>) == 8;
#if defined(__AVX512F__) && defined(__AVX512DQ__)
    if constexpr (sizeof(V) == 64 && isDouble)
        return (V)_mm512_fmadd_pd((__m512d)a, (__m512d)b, (__m512d)c);
    if constexpr (sizeof(V) == 64 && !isDouble)
        return (V)_mm512_fmadd_ps((__m512)a, (__m512)b, (__m512)c);
#endif
#if defined(__AVX2__) && defined(__FMA__)
    if constexpr (sizeof(V) == 32 && isDouble)
        return (V)_mm256_fmadd_pd((__m256d)a, (__m256d)b, (__m256d)c);
    if constexpr (sizeof(V) == 32 && !isDouble)
        return (V)_mm256_fmadd_ps((__m256)a, (__m256)b, (__m256)c);
    if constexpr (sizeof(V) == 16 && isDouble)
        return (V)_mm_fmadd_pd((__m128d)a, (__m128d)b, (__m128d)c);
    if constexpr (sizeof(V) == 16 && !isDouble)
        return (V)_mm_fmadd_ps((__m128)a, (__m128)b, (__m128)c);
#endif
    return a * b + c;
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
