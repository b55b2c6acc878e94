// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/Pack.h"
#include "lanes/reducedAngles.h"
#include "lanes/slowReduction.h"

namespace lanes {
inline namespace PISTONFIELD_INSTRUCTION_SET {

namespace detail {

/// For packs with angles beyond `reducible`. The other lanes have the same result as ever: a lane's
/// value must not depend on its neighbours.
template <class V>
[[gnu::noinline, gnu::cold]] ReducedAngles<V> mixedReduction(V x) {
    ReducedAngles<V> result = fastReduction(x);
    const Mask<V> beyond = absolute(x) > reducible<V>;
    for (int i = 0; i < widthOf<V>; ++i) {
        if (beyond[i] == 0) continue;
        const auto [rest, quadrant] = slowReduction(static_cast<double>(x[i]));
        result.rest[i] = static_cast<Element<V>>(rest);
        result.quadrant[i] = quadrant;
    }
    return result;
}

}  // namespace detail

/// Reduces the angles of a pack of float or double: any, and NaN and infinities to a rest of NaN.
/// By the standard library, and so much slower, where a lane's magnitude is above
/// `detail::reducible`: 2^20 in floats and 2^30 in doubles where multiplications fuse, else 2^17
/// and 2^20. The rest is what `sinCos` needs for its bound.
template <class V>
[[gnu::always_inline]] inline ReducedAngles<V> reduceAngle(V angle) {
    // An infinity or a NaN has the rest NaN by either way.
    if (anyBeyond(angle, detail::reducible<V>)) [[unlikely]]
        return detail::mixedReduction(angle);
    return detail::fastReduction(angle);
}

/// Sine and cosine of any angles, as of reduced ones.
template <class V>
[[gnu::always_inline]] inline SinCos<V> sinCos(V angle) {
    return sinCos(reduceAngle(angle));
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace lanes
