// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/anyLanes.h"
#include "lanes/phases.h"

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

namespace detail {

#ifndef __CUDACC__
/// A pack of angles less multiples of pi where products round: doubles take three parts of 33 bits,
/// floats the detour over double.
template <class V>
[[gnu::always_inline]] inline V lessMultiples(V x, V multiple) {
    if constexpr (sizeof(Element<V>) == 8) {
        constexpr Element<V> part1 = 0x1.921fb544p+1;
        constexpr Element<V> part2 = 0x1.0b4611a6p-33;
        constexpr Element<V> part3 = 0x1.3198a2ep-68;
        return ((x - multiple * part1) - multiple * part2) - multiple * part3;
    } else {
        using Wide = Pack<double, widthOf<V>>;
        const Wide rest = __builtin_convertvector(x, Wide) -
                          __builtin_convertvector(multiple, Wide) * 0x1.921fb54442d18p+1;
        return __builtin_convertvector(rest, V);
    }
}
#endif

/// An angle less the nearest multiple of pi, in parts as `fastReduction` does.
template <class V>
[[gnu::always_inline]] __device__ inline V lessHalfTurns(V x) {
    using T = Element<V>;
    constexpr auto perHalfTurn = static_cast<T>(0x1.45f306dc9c883p-2);
    const V shifted = multiplyAdd(x, broadcast<V>(perHalfTurn), broadcast<V>(roundingShift<T>));
    const V multiple = shifted - roundingShift<T>;
    if constexpr (fuses<V>) {
        constexpr bool isDouble = sizeof(T) == 8;
        constexpr T part1 = isDouble ? T(0x1.921fb54442d18p+1) : T(0x1.921fb6p+1F);
        constexpr T part2 = isDouble ? T(0x1.1a62633145c07p-53) : T(-0x1.777a5cp-24F);
        const V rest = multiplyAdd(multiple, broadcast<V>(-part1), x);
        return multiplyAdd(multiple, broadcast<V>(-part2), rest);
    } else {
        return lessMultiples(x, multiple);
    }
}

// The coefficients are those of lanes/minimax.py on |r| <= pi/2.

/// P in sin(r) = r + r*z*P(z), z = r*r: 2^-26.7 in float, 2^-57.8 in double.
template <class V>
[[gnu::always_inline]] __device__ inline V wideSinePolynomial(V z) {
    if constexpr (sizeof(Element<V>) == 4) {
        V p = multiplyAdd(broadcast<V>(0x1.5dbd66p-19F), z, broadcast<V>(-0x1.9f6ff6p-13F));
        p = multiplyAdd(p, z, broadcast<V>(0x1.110ed4p-7F));
        return multiplyAdd(p, z, broadcast<V>(-0x1.55554cp-3F));
    } else {
        V p = multiplyAdd(broadcast<V>(0x1.882947dfbf89cp-49), z,
                          broadcast<V>(-0x1.ae431a2f52c44p-41));
        p = multiplyAdd(p, z, broadcast<V>(0x1.6123cb1bb07aep-33));
        p = multiplyAdd(p, z, broadcast<V>(-0x1.ae6454cb20db3p-26));
        p = multiplyAdd(p, z, broadcast<V>(0x1.71de3a52874b5p-19));
        p = multiplyAdd(p, z, broadcast<V>(-0x1.a01a01a0148a9p-13));
        p = multiplyAdd(p, z, broadcast<V>(0x1.11111111110c1p-7));
        return multiplyAdd(p, z, broadcast<V>(-0x1.5555555555555p-3));
    }
}

/// Q in cos(r) = 1 - z/2 + z*z*Q(z): 2^-27.4 in float, 2^-58.0 in double, of 1.
template <class V>
[[gnu::always_inline]] __device__ inline V wideCosinePolynomial(V z) {
    if constexpr (sizeof(Element<V>) == 4) {
        V q = multiplyAdd(broadcast<V>(-0x1.1940acp-22F), z, broadcast<V>(0x1.9f8f54p-16F));
        q = multiplyAdd(q, z, broadcast<V>(-0x1.6c149cp-10F));
        return multiplyAdd(q, z, broadcast<V>(0x1.55555p-5F));
    } else {
        V q = multiplyAdd(broadcast<V>(-0x1.5d079e980d283p-53), z,
                          broadcast<V>(0x1.ae47aaad9494p-45));
        q = multiplyAdd(q, z, broadcast<V>(-0x1.9396b248176f6p-37));
        q = multiplyAdd(q, z, broadcast<V>(0x1.1eed8e07af978p-29));
        q = multiplyAdd(q, z, broadcast<V>(-0x1.27e4fb75a44c2p-22));
        q = multiplyAdd(q, z, broadcast<V>(0x1.a01a01a015b3p-16));
        q = multiplyAdd(q, z, broadcast<V>(-0x1.6c16c16c16bc6p-10));
        return multiplyAdd(q, z, broadcast<V>(0x1.5555555555555p-5));
    }
}

}  // namespace detail

/// Sine and cosine of every lane, up to a common sign: of the angle less a multiple of pi. That is
/// all that their squares and their product need. Each is within 3 u of the exact one, and a tiny
/// angle is its own sine, for magnitudes up to `detail::reducible` of sinCos.h, of a single lane up
/// to those where multiplications fuse; of larger angles nothing is promised.
template <class V>
[[gnu::always_inline]] __device__ inline SinCos<V> sinCosUpToSign(V angle) {
    const V r = detail::lessHalfTurns(angle);
    const V z = r * r;
    return {
        multiplyAdd(r * z, detail::wideSinePolynomial(z), r),
        multiplyAdd(z * z, detail::wideCosinePolynomial(z),
                    multiplyAdd(z, broadcast<V>(Element<V>(-0.5)), broadcast<V>(Element<V>(1))))};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
