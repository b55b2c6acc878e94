// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/GroupField.h"

#include <cstring>
#include <numbers>

#include "lanes/Pack.h"
#include "lanes/estimates.h"
#include "lanes/sinCos.h"
#include "lanes/sinCosUpToSign.h"

namespace pistonfield {

namespace {

using lanes::broadcast;
using lanes::Element;
using lanes::multiplyAdd;
using lanes::Pack;
using lanes::select;

template <class V>
struct Complex {
    V re, im;
};

/// What keeps a quotient by D finite where D is 0: next to nothing, but its power of 3/2 is a
/// normal number.
template <class T>
constexpr T tinySquare = static_cast<T>(sizeof(T) == 4 ? 1e-24 : 1e-200);

template <class V>
[[gnu::always_inline]] inline V least(V a, V b) {
    return select(a < b, a, b);
}

template <class V>
[[gnu::always_inline]] inline V largest(V a, V b) {
    return select(a > b, a, b);
}

/// A line along the face, an edge or another one, as the points of a pack see it. X runs along it
/// from -half to half; t = X - x is the distance from the foot.
template <class V>
struct Line {
    V x;              ///< of the foot
    V end;            ///< half - x, with all its digits
    V offset;         ///< e, of the line from the foot
    V square;         ///< e^2
    V rest;           ///< b*(b - 2y) of the line at b: what R^2 - Q^2 has beside X*(X - 2x)
    Element<V> half;  ///< half its length
};

/// The lanes' heights.
template <class V>
struct Heights {
    V zz;         ///< z^2
    V reference;  ///< z, or the distance Q of the face's centre
};

/// The coordinate along a line that nodes have: t where R - z = D/(R + z), X where R^2 - Q^2 takes
/// the place of D.
template <Formula formula>
constexpr bool isFromFoot = formula == Formula::edges;

/// A number in every lane, as it is read from memory: unlike with `broadcast` -0 stays.
template <class V>
[[gnu::always_inline]] inline V inAllLanes(Element<V> value) {
    return value - V{};
}

/// Adds a weight times the integrand at a node, but for the reference phase: of the edges j/2 times
/// the conjugate, of lines the conjugate.
///
/// exp(-jR) - exp(-jQ) = exp(-jQ) * (-2 sin(v)) * (sin(v) + j cos(v)), v = (R - Q)/2. All formulas
/// form v without cancellation. With lengths in units of 2/k it is the quotient by R + Q alone.
template <Formula formula, class V>
[[gnu::always_inline]] inline void addNode(Complex<V>& sum, const Line<V>& line,
                                           const Heights<V>& at, V node, V weight) {
    const V t = isFromFoot<formula> ? node : node - line.x;
    const V D = multiplyAdd(t, t, line.square);
    const V R = lanes::nearSquareRoot(D + at.zz);
    const V total = R + at.reference;
    if constexpr (formula == Formula::lines) {
        const V both = lanes::nearReciprocal(total * R);
        const V v = multiplyAdd(node, node - 2 * line.x, line.rest) * R * both;
        const auto [s, c] = lanes::sinCosUpToSign(v);
        const V factor = weight * (total * both);
        const V twice = (s + s) * factor;
        sum.re = multiplyAdd(-twice, s, sum.re + factor);
        sum.im = multiplyAdd(twice, c, sum.im);
    } else {
        const V both = lanes::nearReciprocal(total * D);
        const V v = formula == Formula::edges
                        ? D * D * both
                        : multiplyAdd(node, node - 2 * line.x, line.rest) * D * both;
        const auto [s, c] = lanes::sinCosUpToSign(v);
        const V factor = s * (weight * (total * both));
        sum.re = multiplyAdd(c, factor, sum.re);
        sum.im = multiplyAdd(s, factor, sum.im);
    }
}

/// The integral over an interval of every lane, from middle - half to middle + half.
template <Formula formula, class V>
[[gnu::always_inline]] inline Complex<V> integral(const Nodes<Element<V>>& rule,
                                                  const Line<V>& line, const Heights<V>& at,
                                                  V middle, V half) {
    Complex<V> sum{};
    for (int i = 0; i < rule.count; ++i)
        addNode<formula>(sum, line, at, multiplyAdd(half, inAllLanes<V>(rule.abscissas[i]), middle),
                         inAllLanes<V>(rule.weights[i]));
    return {sum.re * half, sum.im * half};
}

/// The integral over the line in panels that are graded about the foot.
template <Formula formula, class V>
Complex<V> gradedIntegral(const Nodes<Element<V>>* rules, const Panels& panels, const Line<V>& line,
                          const Heights<V>& at) {
    using T = Element<V>;
    Complex<V> sum{};
    const V foot = isFromFoot<formula> ? V{} : line.x;
    const V begin = isFromFoot<formula> ? -line.x - line.half : broadcast<V>(-line.half);
    const V end = isFromFoot<formula> ? line.end : broadcast<V>(line.half);
    const auto add = [&](int rung, V from, V to) {
        from = largest(least(from, end), begin);
        to = largest(least(to, end), begin);
        if (!lanes::any(from < to)) return;
        const Complex<V> part =
            integral<formula>(rules[rung], line, at, (from + to) * T(0.5), (to - from) * T(0.5));
        sum.re += part.re;
        sum.im += part.im;
    };
    V reach = line.x + line.half;
    for (int i = 0; i < panels.gradings; ++i) {
        const int rung = panels.outer[static_cast<std::size_t>(i)];
        const V next = reach * T(0.25);
        add(rung, foot - reach, foot - next);
        add(rung, foot + next, foot + reach);
        reach = next;
    }
    add(panels.inner, foot - reach, foot + reach);
    return sum;
}

template <Formula formula, class V>
[[gnu::always_inline]] inline Complex<V> lineIntegral(const Nodes<Element<V>>* rules,
                                                      const Panels& panels, const Line<V>& line,
                                                      const Heights<V>& at) {
    if (panels.gradings > 0) return gradedIntegral<formula>(rules, panels, line, at);
    return integral<formula>(rules[panels.inner], line, at, isFromFoot<formula> ? -line.x : V{},
                             broadcast<V>(line.half));
}

/// The points of a pack, in the precision of the arithmetic; lengths in units of 2/k.
template <class V>
struct Points {
    V x, y;
    V nearX, nearY;  ///< offsets from the edges on the points' own side: halfX - x, halfY - y
    Heights<V> heights;
    Complex<V> phase;  ///< exp(jQ), of the reference Q
};

/// Loads the points of a pack. What cancels is formed in double.
template <class V>
Points<V> pointsOf(const GroupPoints& group, int first, const Face& face, bool besideCentre) {
    using T = Element<V>;
    constexpr int W = lanes::widthOf<V>;
    constexpr int wide = W < lanes::width<double> ? W : lanes::width<double>;
    using D = Pack<double, wide>;
    alignas(64) T numbers[8][W];
    for (int i = 0; i < W; i += wide) {
        D x;
        D y;
        D z;
        std::memcpy(&x, group.x + first + i, sizeof x);
        std::memcpy(&y, group.y + first + i, sizeof y);
        std::memcpy(&z, group.z + first + i, sizeof z);
        const D reference = besideCentre ? lanes::squareRoot(x * x + y * y + z * z) : z;
        const auto angle = lanes::reduceAngle(reference * -face.k);
        const auto [sine, cosine] = lanes::sinCos(angle);
        const double unit = face.k / 2;
        const D height = z * unit;
        const D values[]{x * unit,
                         y * unit,
                         (face.halfX - x) * unit,
                         (face.halfY - y) * unit,
                         height * height,
                         reference * unit,
                         cosine,
                         -sine};
        for (int k = 0; k < 8; ++k) {
            const auto narrow = __builtin_convertvector(values[k], Pack<T, wide>);
            std::memcpy(&numbers[k][i], &narrow, sizeof narrow);
        }
    }
    V loaded[8];
    std::memcpy(loaded, numbers, sizeof numbers);
    return {
        loaded[0], loaded[1], loaded[2], loaded[3], {loaded[4], loaded[5]}, {loaded[6], loaded[7]}};
}

/// The line at b in the direction y, at the offset e from the points, whose end is at `end`.
template <class V>
Line<V> lineOf(V x, V end, V y, V e, Element<V> b, Element<V> half) {
    return {x,   end, e, multiplyAdd(e, e, broadcast<V>(tinySquare<Element<V>>)), b * (b - 2 * y),
            half};
}

/// The conjugate of the sum over the edges of e times the integral, times 1/pi, but for the
/// reference phase.
template <Formula formula, class V>
Complex<V> sumOfEdges(const Nodes<Element<V>>* rules, const Face& face, const PointOrders& orders,
                      const Points<V>& points) {
    using T = Element<V>;
    const auto hx = static_cast<T>(face.halfX * face.k / 2);
    const auto hy = static_cast<T>(face.halfY * face.k / 2);
    Complex<V> sum{};
    const auto add = [&](int i, const Line<V>& line) __attribute__((always_inline)) {
        const Complex<V> part = lineIntegral<formula>(
            rules, orders.edges[static_cast<std::size_t>(i)], line, points.heights);
        sum.re = multiplyAdd(part.re, line.offset, sum.re);
        sum.im = multiplyAdd(part.im, line.offset, sum.im);
    };
    add(0, lineOf(points.x, points.nearX, points.y, points.nearY, hy, hx));
    add(1, lineOf(points.x, points.nearX, points.y, points.y + hy, -hy, hx));
    add(2, lineOf(points.y, points.nearY, points.x, points.nearX, hx, hy));
    add(3, lineOf(points.y, points.nearY, points.x, points.x + hx, -hx, hy));
    constexpr auto scale = std::numbers::inv_pi_v<T>;
    return {sum.re * scale, sum.im * scale};
}

/// The same by lines along the longer side: the sum of their weights times the integrals, times
/// 1/(2pi).
template <class V>
Complex<V> sumOfLines(const Nodes<Element<V>>* rules, const Face& face, const PointOrders& orders,
                      const Points<V>& points) {
    using T = Element<V>;
    const bool alongX = face.halfX > face.halfY;
    const auto half = static_cast<T>((alongX ? face.halfX : face.halfY) * face.k / 2);
    const auto halfAcross = static_cast<T>((alongX ? face.halfY : face.halfX) * face.k / 2);
    const V along = alongX ? points.x : points.y;
    const V across = alongX ? points.y : points.x;
    const Nodes<T> rule = rules[orders.across];
    Complex<V> sum{};
    for (int i = 0; i < rule.count; ++i) {
        const T b = halfAcross * rule.abscissas[i];
        const Complex<V> part = lineIntegral<Formula::lines>(
            rules, orders.edges[0], lineOf(along, half - along, across, b - across, b, half),
            points.heights);
        sum.re = multiplyAdd(part.re, broadcast<V>(rule.weights[i]), sum.re);
        sum.im = multiplyAdd(part.im, broadcast<V>(rule.weights[i]), sum.im);
    }
    const T scale = halfAcross * std::numbers::inv_pi_v<T>;
    return {sum.re * scale, sum.im * scale};
}

template <class V>
Complex<V> sumOf(const Nodes<Element<V>>* rules, const Face& face, const PointOrders& orders,
                 const Points<V>& points) {
    switch (orders.formula) {
        case Formula::edges:
            return sumOfEdges<Formula::edges>(rules, face, orders, points);
        case Formula::edgesBeside:
            return sumOfEdges<Formula::edgesBeside>(rules, face, orders, points);
        case Formula::lines:
            break;
    }
    return sumOfLines(rules, face, orders, points);
}

template <class T>
void groupField(const Nodes<T>* rules, const Face& face, const PointOrders& orders,
                const GroupPoints& points, GroupValues<T>& values) {
    constexpr int W = lanes::width<T>;
    using V = Pack<T, W>;
    static_assert(groupSize % W == 0);
    for (int first = 0; first < groupSize; first += W) {
        const Points<V> at = pointsOf<V>(points, first, face, orders.formula != Formula::edges);
        const Complex<V> sum = sumOf<V>(rules, face, orders, at);
        // The conjugate of the product.
        const V re = sum.re * at.phase.re - sum.im * at.phase.im;
        const V im = -(sum.re * at.phase.im + sum.im * at.phase.re);
        std::memcpy(values.re + first, &re, sizeof re);
        std::memcpy(values.im + first, &im, sizeof im);
    }
}

}  // namespace

template <>
const GroupFields& groupFieldsOf<lanes::compiledSet>() {
    static constexpr GroupFields fields{&groupField<float>, &groupField<double>};
    return fields;
}

}  // namespace pistonfield
