// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "method/GroupNumbers.h"
#include "method/Nodes.h"
#include "method/integrand.h"

// For packs on the CPU and single lanes on a GPU.

namespace pistonfield {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// The integral over an interval of every lane, from middle - half to middle + half.
template <Formula formula, class V>
[[gnu::always_inline]] __device__ inline Complex<V> integral(const Nodes<lanes::Element<V>>& rule,
                                                             const Line<V>& line,
                                                             const Heights<V>& at, V middle,
                                                             V half) {
    Complex<V> sum{};
    for (int i = 0; i < rule.count; ++i)
        addNode<formula>(sum, line, at,
                         lanes::multiplyAdd(half, inAllLanes<V>(rule.abscissas[i]), middle),
                         inAllLanes<V>(rule.weights[i]));
    return {sum.re * half, sum.im * half};
}

/// The integral over the line in panels that are graded about the foot.
template <Formula formula, class V>
__device__ Complex<V> gradedIntegral(const Nodes<lanes::Element<V>>* rules, const Panels& panels,
                                     const Line<V>& line, const Heights<V>& at) {
    using T = lanes::Element<V>;
    Complex<V> sum{};
    const V begin = line.middle - line.half;
    const auto add = [&](int rung, V from, V to) {
        from = largest(least(from, line.end), begin);
        to = largest(least(to, line.end), begin);
        if (!lanes::any(from < to)) return;
        const Complex<V> part =
            integral<formula>(rules[rung], line, at, (from + to) * T(0.5), (to - from) * T(0.5));
        sum.re += part.re;
        sum.im += part.im;
    };
    V reach = line.foot - begin;
    for (int i = 0; i < panels.gradings; ++i) {
        const int rung = panels.outer[i];
        const V next = reach * T(0.25);
        add(rung, line.foot - reach, line.foot - next);
        add(rung, line.foot + next, line.foot + reach);
        reach = next;
    }
    add(panels.inner, line.foot - reach, line.foot + reach);
    return sum;
}

template <Formula formula, class V>
[[gnu::always_inline]] __device__ inline Complex<V> lineIntegral(
    const Nodes<lanes::Element<V>>* rules, const Panels& panels, const Line<V>& line,
    const Heights<V>& at) {
    if (panels.gradings > 0) return gradedIntegral<formula>(rules, panels, line, at);
    return integral<formula>(rules[panels.inner], line, at, line.middle,
                             lanes::broadcast<V>(line.half));
}

/// A lane's or a pack's points; see `GroupNumbers`.
template <class V>
struct Points {
    V x, y;
    V nearX, nearY;  ///< offsets from the edges on the points' own side
    Heights<V> heights;
    Complex<V> phase;  ///< exp(jQ), of the reference Q
};

template <class T>
inline constexpr auto inversePi = static_cast<T>(0x1.45f306dc9c883p-2);

template <class V>
__device__ V squareOf(V e) {
    return lanes::multiplyAdd(e, e, lanes::broadcast<V>(tinySquare<lanes::Element<V>>));
}

/// The edge at b in the direction y, at the offset e from the points, whose end is `end` ahead of
/// the foot at x.
template <Formula formula, class V>
__device__ Line<V> edgeOf(V x, V end, V y, V e, lanes::Element<V> b, lanes::Element<V> half) {
    if constexpr (formula == Formula::edges)
        return {V{}, -x, end, e, squareOf(e), V{}, half};
    else
        return {x, V{}, lanes::broadcast<V>(half), e, squareOf(e), b * (b - 2 * y), half};
}

/// The line at b in the direction y.
template <class V>
__device__ Line<V> lineOf(V x, V end, V y, lanes::Element<V> b, lanes::Element<V> half) {
    const V e = b - y;
    const V beyond = largest(-end, V{});
    return {beyond,
            -least(x, lanes::broadcast<V>(half)),
            largest(end, V{}),
            e,
            squareOf(e),
            b * (b - 2 * y),
            half};
}

/// The conjugate of the sum over the edges of e times the integral, times 1/pi, but for the
/// reference phase.
template <Formula formula, class V>
__device__ Complex<V> sumOfEdges(const Nodes<lanes::Element<V>>* rules,
                                 const HalfSides<lanes::Element<V>>& sides,
                                 const PointOrders& orders, const Points<V>& points) {
    const auto [hx, hy] = sides;
    Complex<V> sum{};
    const auto add = [&](int i, const Line<V>& line) __attribute__((always_inline)) {
        const Complex<V> part = lineIntegral<formula>(rules, orders.edges[i], line, points.heights);
        sum.re = lanes::multiplyAdd(part.re, line.offset, sum.re);
        sum.im = lanes::multiplyAdd(part.im, line.offset, sum.im);
    };
    const auto& [x, y, nearX, nearY, heights, phase] = points;
    add(0, edgeOf<formula>(x, nearX, y, nearY, hy, hx));
    add(1, edgeOf<formula>(x, nearX, y, y + hy, -hy, hx));
    add(2, edgeOf<formula>(y, nearY, x, nearX, hx, hy));
    add(3, edgeOf<formula>(y, nearY, x, x + hx, -hx, hy));
    constexpr auto scale = inversePi<lanes::Element<V>>;
    return {sum.re * scale, sum.im * scale};
}

/// The same by lines along the longer side: the sum of their weights times the integrals, times
/// 1/(2pi).
template <class V>
__device__ Complex<V> sumOfLines(const Nodes<lanes::Element<V>>* rules,
                                 const HalfSides<lanes::Element<V>>& sides,
                                 const PointOrders& orders, const Points<V>& points) {
    using T = lanes::Element<V>;
    const bool alongX = sides.x > sides.y;
    const T half = alongX ? sides.x : sides.y;
    const T halfAcross = alongX ? sides.y : sides.x;
    const V along = alongX ? points.x : points.y;
    const V across = alongX ? points.y : points.x;
    const V end = alongX ? points.nearX : points.nearY;
    const Nodes<T> rule = rules[orders.across];
    Complex<V> sum{};
    for (int i = 0; i < rule.count; ++i) {
        const T b = halfAcross * rule.abscissas[i];
        const Complex<V> part = lineIntegral<Formula::lines>(
            rules, orders.edges[0], lineOf(along, end, across, b, half), points.heights);
        sum.re = lanes::multiplyAdd(part.re, lanes::broadcast<V>(rule.weights[i]), sum.re);
        sum.im = lanes::multiplyAdd(part.im, lanes::broadcast<V>(rule.weights[i]), sum.im);
    }
    const T scale = halfAcross * inversePi<T>;
    return {sum.re * scale, sum.im * scale};
}

template <class V>
__device__ Complex<V> sumOf(const Nodes<lanes::Element<V>>* rules,
                            const HalfSides<lanes::Element<V>>& sides, const PointOrders& orders,
                            const Points<V>& points) {
    switch (orders.formula) {
        case Formula::edges:
            return sumOfEdges<Formula::edges>(rules, sides, orders, points);
        case Formula::edgesBeside:
            return sumOfEdges<Formula::edgesBeside>(rules, sides, orders, points);
        case Formula::lines:
            break;
    }
    return sumOfLines(rules, sides, orders, points);
}

/// The pressure, by the orders, whose rules stand in the table by their rungs.
template <class V>
[[gnu::always_inline]] __device__ inline Complex<V> pressureAt(
    const Nodes<lanes::Element<V>>* rules, const HalfSides<lanes::Element<V>>& sides,
    const PointOrders& orders, const Points<V>& points) {
    const Complex<V> sum = sumOf(rules, sides, orders, points);
    const auto& [cosine, sine] = points.phase;
    // The conjugate of the product.
    return {sum.re * cosine - sum.im * sine, -(sum.re * sine + sum.im * cosine)};
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pistonfield
