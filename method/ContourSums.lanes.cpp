// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/ContourSums.h"

#include <cstring>

#include "method/contourPaths.h"

namespace pistonfield {

namespace {

using V = ContourPack;
using Number = ContourNumber;

void store(const Number& sum, ContourSums::Sum& to, int first) {
    std::memcpy(to.re + first, &sum.re, sizeof sum.re);
    std::memcpy(to.im + first, &sum.im, sizeof sum.im);
}

/// The sums of a pack of points.
struct Sums {
    Number phi{}, alongZ{};
    Number onX{}, onY{};
    Number bentX{}, bentY{}, bent{};
};

template <Derivatives derivatives, bool isLossy, bool isBeside>
[[gnu::always_inline]] inline void addNode(Sums& sums, const ContourNode& node, const ContourAt& at,
                                           V ratio, double wavenumber, double attenuation) {
    const auto [path, angle, cross, R, perR] = pathTo<isBeside>(node, at);
    const auto [lessOne, value] = waveAlong<isLossy>(path, wavenumber, attenuation);
    addTimes(sums.phi, lessOne, angle);
    addTimes(sums.alongZ, lessOne, angle * at.z * perR);
    sums.alongZ.re = lanes::multiplyAdd(angle * ratio, -path * perR, sums.alongZ.re);
    if constexpr (derivatives != Derivatives::none) {
        addTimes(sums.onX, value, perR * node.dy);
        addTimes(sums.onY, value, perR * node.dx);
    }
    if constexpr (derivatives == Derivatives::second) {
        // 1 + jkR = 1 + a*R + j*b*R.
        const V real = 1 + attenuation * R;
        const V imaginary = wavenumber * R;
        const Number bend{value.re * real - value.im * imaginary,
                          value.re * imaginary + value.im * real};
        const V cubed = perR * perR * perR;
        addTimes(sums.bentX, bend, cubed * node.dy);
        addTimes(sums.bentY, bend, cubed * node.dx);
        addTimes(sums.bent, bend, cubed * cross);
    }
}

template <Derivatives derivatives, bool isLossy, bool isBeside>
void sumUp(const ContourNode* nodes, std::size_t count, double wavenumber, double attenuation,
           const ContourPoints& points, ContourSums& to) {
    for (int first = 0; first < points.count; first += contourWidth) {
        const ContourAt at = ContourAt::of(points, first);
        const V ratio = isBeside ? at.z / at.reference : lanes::broadcast<V>(1);  // z/Q
        Sums sums;
        for (std::size_t i = 0; i < count; ++i)
            addNode<derivatives, isLossy, isBeside>(sums, nodes[i], at, ratio, wavenumber,
                                                    attenuation);
        store(sums.phi, to.phi, first);
        store(sums.alongZ, to.alongZ, first);
        if constexpr (derivatives != Derivatives::none) {
            store(sums.onX, to.onX, first);
            store(sums.onY, to.onY, first);
        }
        if constexpr (derivatives == Derivatives::second) {
            store(sums.bentX, to.bentX, first);
            store(sums.bentY, to.bentY, first);
            store(sums.bent, to.bent, first);
        }
    }
}

template <Derivatives derivatives>
void sumUpOf(const ContourNode* nodes, std::size_t count, double wavenumber, double attenuation,
             const ContourPoints& points, ContourSums& to) {
    if (attenuation == 0 && points.beside)
        sumUp<derivatives, false, true>(nodes, count, wavenumber, 0, points, to);
    else if (attenuation == 0)
        sumUp<derivatives, false, false>(nodes, count, wavenumber, 0, points, to);
    else if (points.beside)
        sumUp<derivatives, true, true>(nodes, count, wavenumber, attenuation, points, to);
    else
        sumUp<derivatives, true, false>(nodes, count, wavenumber, attenuation, points, to);
}

void compute(const ContourNode* nodes, std::size_t count, double wavenumber, double attenuation,
             Derivatives derivatives, const ContourPoints& points, ContourSums& sums) {
    switch (derivatives) {
        case Derivatives::potential:
        case Derivatives::none:
            return sumUpOf<Derivatives::none>(nodes, count, wavenumber, attenuation, points, sums);
        case Derivatives::gradient:
            return sumUpOf<Derivatives::gradient>(nodes, count, wavenumber, attenuation, points,
                                                  sums);
        case Derivatives::second:
            return sumUpOf<Derivatives::second>(nodes, count, wavenumber, attenuation, points,
                                                sums);
    }
}

}  // namespace

template <>
const ContourSumsOf& contourSumsOf<lanes::compiledSet>() {
    static constexpr ContourSumsOf sums{&compute};
    return sums;
}

}  // namespace pistonfield
