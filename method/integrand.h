// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "lanes/anyLanes.h"
#include "lanes/sinCosUpToSign.h"
#include "method/PointOrders.h"

// For packs on the CPU and single lanes on a GPU.

namespace pistonfield {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// Complex numbers, lane by lane.
template <class V>
struct Complex {
    V re, im;
};

/// What keeps a quotient by D finite where D is 0: next to nothing, but its power of 3/2 is a
/// normal number.
template <class T>
inline constexpr T tinySquare = static_cast<T>(sizeof(T) == 4 ? 1e-24 : 1e-200);

template <class V>
[[gnu::always_inline]] __device__ inline V least(V a, V b) {
    return lanes::select(a < b, a, b);
}

template <class V>
[[gnu::always_inline]] __device__ inline V largest(V a, V b) {
    return lanes::select(a > b, a, b);
}

/// A line along the face, an edge or another one, as the points of a pack see it. Nodes are counted
/// along it from a place of the formula's own:
///
/// edges        the point's foot
/// edgesBeside  the line's middle
/// lines        the line's point next to the foot: the foot itself, or an end
template <class V>
struct Line {
    V foot;                  ///< where the foot is
    V middle;                ///< where the line's middle is
    V end;                   ///< where its end is, with all its digits
    V offset;                ///< e, of the line from the foot
    V square;                ///< e^2
    V rest;                  ///< what R^2 - Q^2 has beside s*(s - 2*foot) at the node s
    lanes::Element<V> half;  ///< half its length
};

/// The lanes' heights.
template <class V>
struct Heights {
    V zz;         ///< z^2
    V reference;  ///< Q: z; the distance of the face's centre; that of its middle line
};

/// A number in every lane, as it is read from memory: unlike with `broadcast` -0 stays.
template <class V>
[[gnu::always_inline]] __device__ inline V inAllLanes(lanes::Element<V> value) {
    return value - V{};
}

/// Adds a weight times the integrand at a node, but for the reference phase: of the edges j/2 times
/// the conjugate, of lines the conjugate.
///
/// exp(-jR) - exp(-jQ) = exp(-jQ) * (-2 sin(v)) * (sin(v) + j cos(v)), v = (R - Q)/2. All formulas
/// form v without cancellation. With lengths in units of 2/k it is the quotient by R + Q alone.
template <Formula formula, class V>
[[gnu::always_inline]] __device__ inline void addNode(Complex<V>& sum, const Line<V>& line,
                                                      const Heights<V>& at, V node, V weight) {
    const V t = formula == Formula::edges ? node : node - line.foot;
    const V D = lanes::multiplyAdd(t, t, line.square);
    const V R = lanes::nearSquareRoot(D + at.zz);
    const V total = R + at.reference;
    if constexpr (formula == Formula::lines) {
        const V both = lanes::nearReciprocal(total * R);
        const V v = lanes::multiplyAdd(node, node - 2 * line.foot, line.rest) * R * both;
        const auto [s, c] = lanes::sinCosUpToSign(v);
        const V factor = weight * (total * both);
        const V twice = (s + s) * factor;
        sum.re = lanes::multiplyAdd(-twice, s, sum.re + factor);
        sum.im = lanes::multiplyAdd(twice, c, sum.im);
    } else {
        const V both = lanes::nearReciprocal(total * D);
        const V v = formula == Formula::edges
                        ? D * D * both
                        : lanes::multiplyAdd(node, node - 2 * line.foot, line.rest) * D * both;
        const auto [s, c] = lanes::sinCosUpToSign(v);
        const V factor = s * (weight * (total * both));
        sum.re = lanes::multiplyAdd(c, factor, sum.re);
        sum.im = lanes::multiplyAdd(s, factor, sum.im);
    }
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pistonfield
