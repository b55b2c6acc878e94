// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/anyLanes.h"
#include "lanes/sinCosUpToSign.h"
#include "method/integrand.h"

// For packs on the CPU and single lanes on a GPU.

namespace pistonfield {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// A number in two parts, the second of which is what the first one rounds off. In single precision
/// they have some 47 bits, which the phases of far points need; in double the second one is 0.
template <class V>
struct InTwo {
    V high, low;
};

namespace detail {

/// What a sum rounds off (D. E. Knuth, The Art of Computer Programming, volume 2).
template <class V>
[[gnu::always_inline]] __device__ inline InTwo<V> exactSum(V a, V b) {
    const V sum = a + b;
    const V ofB = sum - a;
    return {sum, (a - (sum - ofB)) + (b - ofB)};
}

#ifndef __CUDACC__
/// What the product of floats rounds off where multiplications do not fuse: doubles have it.
template <class V>
[[gnu::always_inline]] inline V restOfProduct(V a, V b, V product) {
    using Wide = lanes::Pack<double, lanes::widthOf<V>>;
    return __builtin_convertvector(
        __builtin_convertvector(a, Wide) * __builtin_convertvector(b, Wide) -
            __builtin_convertvector(product, Wide),
        V);
}
#endif

template <class V>
[[gnu::always_inline]] __device__ inline InTwo<V> squareOf(const InTwo<V>& a) {
    // A product that the compiler does not fuse with the sum after it.
    const V square = lanes::multiplyAdd(a.high, a.high, V{});
    V rest;
    if constexpr (lanes::fuses<V>)
        rest = lanes::multiplyAdd(a.high, a.high, -square);
    else
        rest = restOfProduct(a.high, a.high, square);
    return {square, lanes::multiplyAdd(a.high + a.high, a.low, rest)};
}

template <class V>
[[gnu::always_inline]] __device__ inline InTwo<V> sumOf(const InTwo<V>& a, const InTwo<V>& b) {
    const InTwo<V> sum = exactSum(a.high, b.high);
    return {sum.high, sum.low + (a.low + b.low)};
}

/// A number less the nearest whole one; from 2^22 on in single precision one next to it.
template <class V>
[[gnu::always_inline]] __device__ inline V lessWhole(V x) {
    constexpr auto shift = lanes::detail::roundingShift<lanes::Element<V>>;
    return x - ((x + shift) - shift);
}

}  // namespace detail

/// The distance between two places along an axis.
template <class V>
[[gnu::always_inline]] __device__ inline InTwo<V> differenceOf(const InTwo<V>& a,
                                                               const InTwo<V>& b) {
    if constexpr (sizeof(lanes::Element<V>) == 8) {
        return {a.high - b.high, V{}};
    } else {
        const InTwo<V> difference = detail::exactSum(a.high, -b.high);
        return detail::exactSum(difference.high, difference.low + (a.low - b.low));
    }
}

/// exp(-2*pi*j*R) of the length R of a vector in wavelengths.
template <class V>
[[gnu::always_inline]] __device__ inline Complex<V> wavePhase(const InTwo<V> (&vector)[3]) {
    using T = lanes::Element<V>;
    const auto& [x, y, z] = vector;
    V turns;
    if constexpr (sizeof(T) == 8) {
        const V square =
            lanes::multiplyAdd(z.high, z.high, lanes::multiplyAdd(y.high, y.high, x.high * x.high));
        turns = detail::lessWhole(lanes::nearSquareRoot(square));
    } else {
        const InTwo<V> square = detail::sumOf(
            detail::sumOf(detail::squareOf(x), detail::squareOf(y)), detail::squareOf(z));
        // What is left of the root by Newton's iteration; beside the point R = 0, where there is no
        // phase to keep.
        const V root = lanes::nearSquareRoot(square.high + tinySquare<T>);
        const InTwo<V> ofRoot = detail::squareOf(InTwo<V>{root, V{}});
        const V difference = (square.high - ofRoot.high) + (square.low - ofRoot.low);
        const V low = difference * lanes::nearReciprocal(root + root);
        // Large ones have more than one whole number's multiples taken off.
        turns = detail::lessWhole(detail::lessWhole(root)) + low;
    }
    constexpr auto pi = static_cast<T>(0x1.921fb54442d18p+1);
    const auto [s, c] = lanes::sinCosUpToSign(turns * pi);
    const V twice = s + s;
    return {lanes::multiplyAdd(-twice, s, lanes::broadcast<V>(T(1))), -twice * c};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pistonfield
