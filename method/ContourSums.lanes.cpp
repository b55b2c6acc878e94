// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/ContourSums.h"

#include "lanes/Pack.h"
#include "lanes/estimates.h"
#include "method/wavesAlong.h"

namespace pistonfield {

namespace {

constexpr int W = lanes::width<double>;
using V = DoublePack;
using Number = ComplexPack;
static_assert(groupSize % W == 0);

/// Keeps quotients by D and R finite where these are 0, in products of them too.
constexpr double tinySquare = 1e-80;

/// The sums of a pack of points.
struct Sums {
    Number phi{}, alongZ{};
    Number onX{}, onY{};
    Number bentX{}, bentY{}, bent{};
};

struct At {
    V x, y, z, zz;
    V reference;
    V ratio;  ///< z/Q
    V tiny;   ///< `tinySquare`
};

template <Derivatives derivatives, bool isLossy, bool isBeside>
[[gnu::always_inline]] inline void addNode(Sums& sums, const ContourNode& node, const At& at,
                                           double wavenumber, double attenuation) {
    const V toX = node.x - at.x;
    const V toY = node.y - at.y;
    const V D = lanes::multiplyAdd(toX, toX, lanes::multiplyAdd(toY, toY, at.tiny));
    const V R = lanes::nearSquareRoot(D + at.zz);
    const V total = R + at.reference;
    const V totalByR = total * R;
    const V all = lanes::nearReciprocal(totalByR * D);
    const V perR = all * (total * D);
    const V cross = toX * node.dy - toY * node.dx;
    // R^2 - Q^2, formed without cancellation.
    const V difference = isBeside ? node.x * (toX - at.x) + node.y * (toY - at.y) : D;
    const V path = difference * (all * (R * D));
    const auto [lessOne, value] = waveAlong<isLossy>(path, wavenumber, attenuation);
    const V angle = cross * (all * totalByR);
    add(sums.phi, lessOne, angle);
    add(sums.alongZ, lessOne, angle * at.z * perR);
    sums.alongZ.re = lanes::multiplyAdd(angle * at.ratio, -path * perR, sums.alongZ.re);
    if constexpr (derivatives != Derivatives::none) {
        add(sums.onX, value, perR * node.dy);
        add(sums.onY, value, perR * node.dx);
    }
    if constexpr (derivatives == Derivatives::second) {
        // 1 + jkR = 1 + a*R + j*b*R.
        const V real = 1 + attenuation * R;
        const V imaginary = wavenumber * R;
        const Number bend{value.re * real - value.im * imaginary,
                          value.re * imaginary + value.im * real};
        const V cubed = perR * perR * perR;
        add(sums.bentX, bend, cubed * node.dy);
        add(sums.bentY, bend, cubed * node.dx);
        add(sums.bent, bend, cubed * cross);
    }
}

template <Derivatives derivatives, bool isLossy, bool isBeside>
void sumUp(const ContourNode* nodes, std::size_t count, double wavenumber, double attenuation,
           const ContourPoints& points, ContourSums& to) {
    for (int first = 0; first < points.count; first += W) {
        const V z = loaded(points.z + first);
        const V reference = loaded(points.reference + first);
        const At at{loaded(points.x + first),
                    loaded(points.y + first),
                    z,
                    z * z,
                    reference,
                    isBeside ? z / reference : lanes::broadcast<V>(1),
                    lanes::broadcast<V>(tinySquare)};
        Sums sums;
        for (std::size_t i = 0; i < count; ++i)
            addNode<derivatives, isLossy, isBeside>(sums, nodes[i], at, wavenumber, attenuation);
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
