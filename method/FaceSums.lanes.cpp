// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/FaceSums.h"

#include "lanes/Pack.h"
#include "lanes/estimates.h"
#include "method/wavesAlong.h"

namespace pistonfield {

namespace {

constexpr int W = lanes::width<double>;
using V = DoublePack;
using Number = ComplexPack;
static_assert(groupSize % W == 0);

/// The sums of a pack of points.
struct Sums {
    Number phi{}, slope{};
    Number slopeX{}, slopeY{};
    Number bend{}, bendX{}, bendY{};
};

struct At {
    V x, y;
    V zz;
    V reference;
};

template <Derivatives derivatives, bool isLossy>
[[gnu::always_inline]] inline void addNode(Sums& sums, const FaceNode& node, const At& at,
                                           double wavenumber, double attenuation) {
    const V toX = at.x - node.x;
    const V toY = at.y - node.y;
    const V R =
        lanes::nearSquareRoot(lanes::multiplyAdd(toX, toX, lanes::multiplyAdd(toY, toY, at.zz)));
    const V total = R + at.reference;
    const V all = lanes::nearReciprocal(total * R);
    const V perR = all * total;
    // R^2 - Q^2, formed without cancellation.
    const V difference = -(node.x * (toX + at.x) + node.y * (toY + at.y));
    const V path = difference * (all * R);
    const Number wave = waveAlong<isLossy>(path, wavenumber, attenuation).value;
    const V factor = node.weight * perR;
    addTimes(sums.phi, wave, factor);
    // jkR = a*R + j*b*R.
    const V imaginary = wavenumber * R;
    const V real = isLossy ? attenuation * R : V{};
    const Number slope{wave.re * (1 + real) - wave.im * imaginary,
                       wave.re * imaginary + wave.im * (1 + real)};
    const V cubed = factor * perR * perR;
    addTimes(sums.slope, slope, cubed);
    if constexpr (derivatives != Derivatives::none) {
        addTimes(sums.slopeX, slope, cubed * toX);
        addTimes(sums.slopeY, slope, cubed * toY);
    }
    if constexpr (derivatives == Derivatives::second) {
        // 3 + 3jkR + (jkR)^2.
        const V bendReal = 3 + 3 * real + real * real - imaginary * imaginary;
        const V bendImaginary = 3 * imaginary + 2 * real * imaginary;
        const Number bend{wave.re * bendReal - wave.im * bendImaginary,
                          wave.re * bendImaginary + wave.im * bendReal};
        const V fifth = cubed * perR * perR;
        addTimes(sums.bend, bend, fifth);
        addTimes(sums.bendX, bend, fifth * toX);
        addTimes(sums.bendY, bend, fifth * toY);
    }
}

template <Derivatives derivatives, bool isLossy>
void sumUp(const FaceNode* nodes, std::size_t count, double wavenumber, double attenuation,
           const ContourPoints& points, FaceSums& to) {
    for (int first = 0; first < points.count; first += W) {
        const V z = loadedPack(points.z + first);
        const At at{loadedPack(points.x + first), loadedPack(points.y + first), z * z,
                    loadedPack(points.reference + first)};
        Sums sums;
        for (std::size_t i = 0; i < count; ++i)
            addNode<derivatives, isLossy>(sums, nodes[i], at, wavenumber, attenuation);
        store(sums.phi, to.phi, first);
        store(sums.slope, to.slope, first);
        if constexpr (derivatives != Derivatives::none) {
            store(sums.slopeX, to.slopeX, first);
            store(sums.slopeY, to.slopeY, first);
        }
        if constexpr (derivatives == Derivatives::second) {
            store(sums.bend, to.bend, first);
            store(sums.bendX, to.bendX, first);
            store(sums.bendY, to.bendY, first);
        }
    }
}

template <Derivatives derivatives>
void sumUpOf(const FaceNode* nodes, std::size_t count, double wavenumber, double attenuation,
             const ContourPoints& points, FaceSums& to) {
    if (attenuation == 0)
        sumUp<derivatives, false>(nodes, count, wavenumber, 0, points, to);
    else
        sumUp<derivatives, true>(nodes, count, wavenumber, attenuation, points, to);
}

void compute(const FaceNode* nodes, std::size_t count, double wavenumber, double attenuation,
             Derivatives derivatives, const ContourPoints& points, FaceSums& sums) {
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
const FaceSumsOf& faceSumsOf<lanes::compiledSet>() {
    static constexpr FaceSumsOf sums{&compute};
    return sums;
}

}  // namespace pistonfield
