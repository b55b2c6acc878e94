// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RunField.h"

#include <cstring>

#include "lanes/Pack.h"
#include "method/pointSums.h"

namespace pistonfield {

namespace {

using lanes::broadcast;
using lanes::Element;
using lanes::multiplyAdd;
using lanes::Pack;

/// Two edges as the rows of a pack see them, with lengths in units of 2/k.
template <class V>
struct RowPack {
    V offsets[2];
    V squares[2];
    Heights<V> heights;
};

/// Loads some rows. What cancels is formed in double.
template <class V>
RowPack<V> rowsOf(const Rows& rows, int first, const Sides& sides) {
    using T = Element<V>;
    constexpr int W = lanes::widthOf<V>;
    alignas(64) T numbers[4][W];
    const double unit = sides.k / 2;
    for (int i = 0; i < W; ++i) {
        const double across = rows.across[first + i];
        const double z = rows.z[first + i] * unit;
        numbers[0][i] = static_cast<T>((sides.across - across) * unit);
        numbers[1][i] = static_cast<T>((sides.across + across) * unit);
        numbers[2][i] = static_cast<T>(z * z);
        numbers[3][i] = static_cast<T>(z);
    }
    V loaded[4];
    std::memcpy(loaded, numbers, sizeof numbers);
    return {
        {loaded[0], loaded[1]}, {squareOf(loaded[0]), squareOf(loaded[1])}, {loaded[2], loaded[3]}};
}

/// The sum of the offsets times the integrals along the edges at the middle.
template <class T, class V>
Complex<V> atMiddle(const Nodes<T>* rules, const Sides& sides, const Run<T>& run,
                    const RowPack<V>& rows) {
    const double unit = sides.k / 2;
    // The integrals are the same on both sides of the edges' middle.
    const double middle = run.middle < 0 ? -run.middle : run.middle;
    Complex<V> sum{};
    for (int i = 0; i < 2; ++i) {
        const Line<V> line{V{},
                           broadcast<V>(-middle * unit),
                           broadcast<V>((sides.along - middle) * unit),
                           rows.offsets[i],
                           rows.squares[i],
                           V{},
                           static_cast<T>(sides.along * unit)};
        const Complex<V> part =
            lineIntegral<Formula::edges>(rules, run.edges[i], line, rows.heights);
        sum.re = multiplyAdd(part.re, line.offset, sum.re);
        sum.im = multiplyAdd(part.im, line.offset, sum.im);
    }
    return sum;
}

/// Half the run's length times the derivative of that sum by the points' coordinate, at the nodes.
template <class T, class V>
void derivatives(const Sides& sides, const Run<T>& run, const RowPack<V>& rows, Complex<V>* to) {
    const double unit = sides.k / 2;
    const T half = static_cast<T>(run.half * unit);
    for (int j = 0; j < run.rule.count; ++j) {
        const double x = run.middle + run.half * run.rule.abscissas[j];
        const V ahead = broadcast<V>((sides.along - x) * unit);
        const V behind = broadcast<V>((sides.along + x) * unit);
        Complex<V> sum{};
        for (int i = 0; i < 2; ++i) {
            const Line<V> line{V{}, V{}, V{}, rows.offsets[i], rows.squares[i], V{}, T{}};
            const V weight = rows.offsets[i] * half;
            addNode<Formula::edges>(sum, line, rows.heights, behind, weight);
            addNode<Formula::edges>(sum, line, rows.heights, ahead, -weight);
        }
        to[j] = sum;
    }
}

/// The sums over the nodes of several points at a time.
template <int points, class T, class V>
[[gnu::always_inline]] inline void store(const Run<T>& run, int first, const Complex<V>& middle,
                                         const Complex<V>* nodes, const RunValues<T>& to) {
    Complex<V> sums[points];
    for (int i = 0; i < points; ++i) sums[i] = middle;
    const T* const weights = run.rule.integrals + first * run.rule.count;
    for (int j = 0; j < run.rule.count; ++j)
        for (int i = 0; i < points; ++i) {
            const V weight = inAllLanes<V>(weights[i * run.rule.count + j]);
            sums[i].re = multiplyAdd(weight, nodes[j].re, sums[i].re);
            sums[i].im = multiplyAdd(weight, nodes[j].im, sums[i].im);
        }
    constexpr auto scale = inversePi<T>;
    for (int i = 0; i < points; ++i) {
        const V re = sums[i].re * scale;
        const V im = sums[i].im * scale;
        std::memcpy(to.re + (first + i) * to.stride, &re, sizeof re);
        std::memcpy(to.im + (first + i) * to.stride, &im, sizeof im);
    }
}

template <class T>
void runField(const Nodes<T>* rules, const Sides& sides, const Rows& rows, const Run<T>& run,
              const RunValues<T>& values) {
    constexpr int W = lanes::width<T>;
    using V = Pack<T, W>;
    static_assert(rowsOfRun % W == 0);
    Complex<V> nodes[RunRules<T>::mostNodes];
    for (int first = 0; first < rows.count; first += W) {
        const RowPack<V> pack = rowsOf<V>(rows, first, sides);
        const Complex<V> middle = atMiddle(rules, sides, run, pack);
        derivatives(sides, run, pack, nodes);
        const RunValues<T> to{values.re + first, values.im + first, values.stride};
        constexpr int several = 4;
        int i = 0;
        for (; i + several <= run.points; i += several) store<several>(run, i, middle, nodes, to);
        for (; i < run.points; ++i) store<1>(run, i, middle, nodes, to);
    }
}

}  // namespace

template <>
const RunFields& runFieldsOf<lanes::compiledSet>() {
    static constexpr RunFields fields{&runField<float>, &runField<double>};
    return fields;
}

}  // namespace pistonfield
