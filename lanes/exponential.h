// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>

#include "lanes/Pack.h"

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// exp(x), and exp(x) - 1 with all its digits where x is small.
template <class V>
struct Exponential {
    V value;
    V lessOne;
};

namespace detail {

/// P in exp(r) = 1 + r + r*r*P(r) for |r| <= ln(2)/2: the Taylor polynomial to r^13, off by 2^-57
/// of exp(r) at most.
template <class V>
[[gnu::always_inline]] inline V exponentialPolynomial(V r) {
    constexpr double coefficients[]{1.0 / 479001600, 1.0 / 39916800, 1.0 / 3628800, 1.0 / 362880,
                                    1.0 / 40320,     1.0 / 5040,     1.0 / 720,     1.0 / 120,
                                    1.0 / 24,        1.0 / 6,        1.0 / 2};
    V p = broadcast<V>(1.0 / 6227020800);
    for (const double coefficient : coefficients) p = multiplyAdd(p, r, broadcast<V>(coefficient));
    return p;
}

}  // namespace detail

/// The exponentials of every lane of a pack of doubles, each within 2 ulp: of numbers from -700 to
/// 700, and where a number is beyond these, of the nearer one of them. Of NaN both are NaN.
template <class V>
[[gnu::always_inline]] inline Exponential<V> exponential(V x) {
    static_assert(sizeof(Element<V>) == 8);
    constexpr double most = 700;
    constexpr double shift = 0x1.8p52;
    constexpr double ln2High = 0x1.62e42fefap-1;
    constexpr double ln2Low = 0x1.cf79abc9e3b3ap-40;
    const V within =
        select(x > most, broadcast<V>(most), select(x < -most, broadcast<V>(-most), x));
    const V shifted = multiplyAdd(within, broadcast<V>(0x1.71547652b82fep+0), broadcast<V>(shift));
    const V multiple = shifted - shift;
    const V high = multiplyAdd(multiple, broadcast<V>(-ln2High), within);
    const V r = multiplyAdd(multiple, broadcast<V>(-ln2Low), high);
    const V lessOne = multiplyAdd(r * r, detail::exponentialPolynomial(r), r);
    // The multiple's bits are the low ones of `shifted`: its power of 2 is made of them.
    const auto power = bitsAs<V>((bitsAs<Mask<V>>(shifted) + 1023) << 52);
    return {multiplyAdd(power, lessOne, power), multiplyAdd(power, lessOne, power - 1)};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
