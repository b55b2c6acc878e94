// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

#include "lanes/anyLanes.h"
#include "lanes/phases.h"

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// An angle less the nearest multiple of pi/2, and that multiple (its low bits at least).
template <class V>
struct ReducedAngles {
    V rest;
    Bits<V> quadrant;
};

namespace detail {

/// The angles up to which `fastReduction` stays within pi/4 and within a fraction of the rounding
/// of 1: what sine and cosine can show.
template <class V>
inline constexpr Element<V> reducible = sizeof(Element<V>) == 4
                                            ? (fuses<V> ? Element<V>(0x1p20F) : Element<V>(0x1p17F))
                                            : (fuses<V> ? Element<V>(0x1p30) : Element<V>(0x1p20));

/// For magnitudes up to `reducible`.
///
/// Subtracts the multiple of pi/2 in parts (W. J. Cody and W. Waite, Software Manual for the
/// Elementary Functions, Prentice-Hall 1980). Fused, the two parts are full precision; where
/// products round, doubles take three parts of 33 bits and floats the detour over double.
template <class V>
[[gnu::always_inline]] __device__ inline ReducedAngles<V> fastReduction(V x) {
    using T = Element<V>;
    constexpr auto twoOverPi = static_cast<T>(0x1.45f306dc9c883p-1);
    const V shifted = multiplyAdd(x, broadcast<V>(twoOverPi), broadcast<V>(roundingShift<T>));
    const V multiple = shifted - roundingShift<T>;
    const auto quadrant = sameBits<Bits<V>>(shifted);
    if constexpr (fuses<V>) {
        constexpr bool isDouble = sizeof(T) == 8;
        constexpr T part1 = isDouble ? T(0x1.921fb54442d18p+0) : T(0x1.921fb6p+0F);
        constexpr T part2 = isDouble ? T(0x1.1a62633145c07p-54) : T(-0x1.777a5cp-25F);
        const V rest = multiplyAdd(multiple, broadcast<V>(-part1), x);
        return {multiplyAdd(multiple, broadcast<V>(-part2), rest), quadrant};
    }
#ifndef __CUDACC__
    else if constexpr (sizeof(T) == 8) {
        constexpr T part1 = 0x1.921fb544p+0;
        constexpr T part2 = 0x1.0b4611a6p-34;
        constexpr T part3 = 0x1.3198a2ep-69;
        return {((x - multiple * part1) - multiple * part2) - multiple * part3, quadrant};
    } else {
        using Wide = Pack<double, widthOf<V>>;
        const Wide rest = __builtin_convertvector(x, Wide) -
                          __builtin_convertvector(multiple, Wide) * 0x1.921fb54442d18p+0;
        return {__builtin_convertvector(rest, V), quadrant};
    }
#endif
}

// The coefficients are those of lanes/minimax.py, with the largest relative error on |r| <= pi/4.

/// P in sin(r) = r + r*z*P(z), z = r*r: 2^-26.9 in float, 2^-56.4 in double.
template <class V>
[[gnu::always_inline]] __device__ inline V sinePolynomial(V z) {
    if constexpr (sizeof(Element<V>) == 4) {
        V p = multiplyAdd(broadcast<V>(-0x1.9943b6p-13F), z, broadcast<V>(0x1.11073ap-7F));
        return multiplyAdd(p, z, broadcast<V>(-0x1.555546p-3F));
    } else {
        V p = multiplyAdd(broadcast<V>(0x1.5d8fbb1a73b3bp-33), z,
                          broadcast<V>(-0x1.ae5e5a45fb981p-26));
        p = multiplyAdd(p, z, broadcast<V>(0x1.71de356775e2ap-19));
        p = multiplyAdd(p, z, broadcast<V>(-0x1.a01a019bfd86ep-13));
        p = multiplyAdd(p, z, broadcast<V>(0x1.111111110f7cdp-7));
        return multiplyAdd(p, z, broadcast<V>(-0x1.5555555555548p-3));
    }
}

/// Q in cos(r) = 1 - z/2 + z*z*Q(z): 2^-32.4 in float, 2^-59.7 in double.
template <class V>
[[gnu::always_inline]] __device__ inline V cosinePolynomial(V z) {
    if constexpr (sizeof(Element<V>) == 4) {
        V q = multiplyAdd(broadcast<V>(0x1.99eb74p-16F), z, broadcast<V>(-0x1.6c0c34p-10F));
        return multiplyAdd(q, z, broadcast<V>(0x1.55554ap-5F));
    } else {
        V q = multiplyAdd(broadcast<V>(-0x1.8fa48158ff97ap-37), z,
                          broadcast<V>(0x1.1ee9d7863d09ap-29));
        q = multiplyAdd(q, z, broadcast<V>(-0x1.27e4f7ea81948p-22));
        q = multiplyAdd(q, z, broadcast<V>(0x1.a01a019c83f46p-16));
        q = multiplyAdd(q, z, broadcast<V>(-0x1.6c16c16c14f8ep-10));
        return multiplyAdd(q, z, broadcast<V>(0x1.555555555554bp-5));
    }
}

}  // namespace detail

/// Sine and cosine of every lane of an angle that `reduceAngle` has reduced, each within 2 u of the
/// exact one, u = 2^-24 in floats and 2^-53 in doubles: 2 ulp from 1/2 on. Beside a multiple of
/// pi/2 the small one of the two is no better than that, but a tiny angle (u/8 and less) is its own
/// sine. The sine is odd and the cosine even in every bit; of a rest of NaN both are NaN.
template <class V>
[[gnu::always_inline]] __device__ inline SinCos<V> sinCos(const ReducedAngles<V>& angle) {
    using Word = typename LanesOf<V>::Word;
    constexpr int signBit = sizeof(Word) * 8 - 1;
    const auto& [r, quadrant] = angle;
    const V z = r * r;
    const V sine = multiplyAdd(r * z, detail::sinePolynomial(z), r);
    const V cosine =
        multiplyAdd(z * z, detail::cosinePolynomial(z),
                    multiplyAdd(z, broadcast<V>(Element<V>(-0.5)), broadcast<V>(Element<V>(1))));
    const auto swapped = (quadrant & 1) != 0;
    // The sign is bit 1 of the quadrant, or of the next one for the cosine.
    constexpr std::uint64_t highest = std::uint64_t{1} << signBit;
    constexpr auto sign = static_cast<Word>(highest);
    const auto signedBy = [](V value, Bits<V> signs) __attribute__((always_inline)) {
        return sameBits<V>(sameBits<Bits<V>>(value) ^ (signs << (signBit - 1) & sign));
    };
    return {signedBy(select(swapped, cosine, sine), quadrant),
            signedBy(select(swapped, sine, cosine), quadrant + 1)};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
