// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FastNearfield/EdgeIntegrand.h"
#include "FastNearfield/PistonModules.h"
#include "cuda_runtime/kernel.h"

// The kernels of the fast near-field method and their device functions, for both precisions. A
// Family names the precision: Real, Complex, and has the rule, x(), w() and order(): in constant
// memory, or where an object of the Family says.
//
// The rule is the half of a symmetric one of order N: for i < N/2, x[i] stands for the pair +-x[i]
// of common weight w[i]; with N odd, w[N/2] belongs to the abscissa 0.
//
// The code is in terms of the lanes of `cuda_runtime/kernel.h`: on a GPU a lane is the thread.

namespace {

using cuda_runtime::Lanes;

template <class Family>
using Real = typename Family::Real;
template <class Family>
using Reals = typename Lanes<Real<Family>>::Reals;
template <class Family>
using Ints = typename Lanes<Real<Family>>::Ints;
template <class Family>
using Mask = typename Lanes<Real<Family>>::Mask;

template <class Family>
using LaneComplex = pistonfield::LaneComplex<Reals<Family>>;

template <class Family>
struct Position {
    Reals<Family> x, y, z;
};

/// The upper three rows of a transform.
template <class Family>
struct TransformRows {
    Real<Family> m00, m01, m02, m03;
    Real<Family> m10, m11, m12, m13;
    Real<Family> m20, m21, m22, m23;
};

/// exp(j*angle)
template <class Family, class Angles = cuda_runtime::AnyAngles>
__device__ inline LaneComplex<Family> unitPhase(Reals<Family> angle) {
    const auto phase = Angles::template sinCos<Reals<Family>>(Angles::reduce(angle));
    return {phase.cosine, phase.sine};
}

/// The device's mathematics, for the integrand.
template <class Family, class Angles>
struct DeviceMathematics {
    using Scalar = Real<Family>;
    using Reals = ::Reals<Family>;
    using Angle = typename Angles::template Reduced<Reals>;

    __device__ static Reals squareRoot(Reals v) { return cuda_runtime::squareRoot(v); }
    __device__ static Angle reduceAngle(Reals angle) { return Angles::reduce(angle); }
    __device__ static auto sinCos(const Angle& angle) {
        return Angles::template sinCos<Reals>(angle);
    }
};

// The integrand g(t) of an edge at the offset X has D = X^2 + t^2 and the factor 1/D.

template <class Family, class Angles>
using EdgeIntegrand = pistonfield::EdgeIntegrand<DeviceMathematics<Family, Angles>>;

template <class Family, class Angles>
__device__ inline auto nodeAt(Reals<Family> X, Reals<Family> t, Reals<Family> z, Real<Family> k) {
    using Integrand = EdgeIntegrand<Family, Angles>;
    const Reals<Family> d = X * X + t * t;
    return typename Integrand::Node{Integrand::angleAt(z * z, d, -k), cuda_runtime::reciprocal(d)};
}

/// g(t)
template <class Family, class Angles = cuda_runtime::AnyAngles>
__device__ inline LaneComplex<Family> RectangularPiston_innerIntegral(
    Reals<Family> X, Reals<Family> t, Reals<Family> z, Real<Family> k, LaneComplex<Family> E) {
    using Integrand = EdgeIntegrand<Family, Angles>;
    return Integrand::valueAt(Integrand::reduced(nodeAt<Family, Angles>(X, t, z, k)), E);
}

/// Something of each of some parallel edges.
template <class T, int edges>
struct OfEdges {
    T of[edges];
};

/// What a pair of abscissas c +- offset has on each edge in a stage of the integrand, and its
/// weight.
template <class Family, class Stage, int edges>
struct NodePairs {
    Stage plus[edges];
    Stage minus[edges];
    Reals<Family> weight;
};

/// F(X, lo, hi) of parallel edges: the integrals of g over [lo, hi] by the rule.
template <class Family, class Angles, int edges>
__device__ inline OfEdges<LaneComplex<Family>, edges> integrals(
    const OfEdges<Reals<Family>, edges>& X, Reals<Family> z, Real<Family> k, LaneComplex<Family> E,
    Reals<Family> lo, Reals<Family> hi, const Family& family) {
    using Integrand = EdgeIntegrand<Family, Angles>;
    using Nodes = NodePairs<Family, typename Integrand::Node, edges>;
    using ReducedNodes = NodePairs<Family, typename Integrand::ReducedNode, edges>;
    const Reals<Family> c = (lo + hi) * Real<Family>(0.5);
    const Reals<Family> h = (hi - lo) * Real<Family>(0.5);
    const int order = family.order();
    const int pairs = order / 2;
    OfEdges<LaneComplex<Family>, edges> sums{};
    cuda_runtime::pipelined(
        pairs,
        [&](int i) __attribute__((always_inline)) {
            const Reals<Family> offset = h * family.x(i);
            Nodes nodes;
            for (int edge = 0; edge < edges; ++edge) {
                nodes.plus[edge] = nodeAt<Family, Angles>(X.of[edge], c + offset, z, k);
                nodes.minus[edge] = nodeAt<Family, Angles>(X.of[edge], c - offset, z, k);
            }
            nodes.weight = family.w(i) * h;
            return nodes;
        },
        [](const Nodes& nodes) __attribute__((always_inline)) {
            ReducedNodes reduced;
            for (int edge = 0; edge < edges; ++edge) {
                reduced.plus[edge] = Integrand::reduced(nodes.plus[edge]);
                reduced.minus[edge] = Integrand::reduced(nodes.minus[edge]);
            }
            reduced.weight = nodes.weight;
            return reduced;
        },
        [&](const ReducedNodes& nodes) __attribute__((always_inline)) {
            for (int edge = 0; edge < edges; ++edge) {
                const auto plus = Integrand::valueAt(nodes.plus[edge], E);
                const auto minus = Integrand::valueAt(nodes.minus[edge], E);
                sums.of[edge].re += (plus.re + minus.re) * nodes.weight;
                sums.of[edge].im += (plus.im + minus.im) * nodes.weight;
            }
        });
    if (order > 2 * pairs) {
        const Reals<Family> weight = family.w(pairs) * h;
        for (int edge = 0; edge < edges; ++edge) {
            const auto middle =
                RectangularPiston_innerIntegral<Family, Angles>(X.of[edge], c, z, k, E);
            sums.of[edge].re += middle.re * weight;
            sums.of[edge].im += middle.im * weight;
        }
    }
    return sums;
}

/// F(X, lo, hi)
template <class Family>
__device__ inline LaneComplex<Family> RectangularPiston_integrateFlexible(
    Reals<Family> X, Reals<Family> z, Real<Family> k, LaneComplex<Family> E, Reals<Family> lo,
    Reals<Family> hi, const Family& family = {}) {
    return integrals<Family, cuda_runtime::AnyAngles, 1>({{X}}, z, k, E, lo, hi, family).of[0];
}

/// Adds factor * F(X, lo, hi) to the sums re and im.
template <class Family>
__device__ inline void integrate_all(Reals<Family>* re, Reals<Family>* im, Reals<Family> X,
                                     Reals<Family> z, Real<Family> k, Reals<Family> phaseRe,
                                     Reals<Family> phaseIm, Reals<Family> lo, Reals<Family> hi,
                                     Reals<Family> factor) {
    const auto integral =
        RectangularPiston_integrateFlexible<Family>(X, z, k, {phaseRe, phaseIm}, lo, hi);
    *re += factor * integral.re;
    *im += factor * integral.im;
}

/// How a point lies to a pair of parallel edges: which limits its integrals have.
template <class Family>
struct Placing {
    Mask<Family> outside;  ///< beyond the piston: one integral over the whole edge
    Mask<Family> split;    ///< within it: the integral is split at the foot point 0
    // Elsewhere, on the axis: the two halves are equal, and one is doubled.
};

template <class Family>
__device__ inline Placing<Family> placingOf(Reals<Family> coordinate, Real<Family> halfSide) {
    constexpr auto nearAxis = static_cast<Real<Family>>(1e-7);
    const Mask<Family> outside = coordinate > halfSide;
    const Mask<Family> split = (!outside) & (coordinate > nearAxis);
    return {outside, split};
}

/// The terms X * (integral along the edge from lo to hi at the offset X) of two parallel edges.
template <class Family, class Angles>
__device__ inline OfEdges<LaneComplex<Family>, 2> edgeTerms(
    Placing<Family> placing, const OfEdges<Reals<Family>, 2>& X, Reals<Family> z, Real<Family> k,
    LaneComplex<Family> E, Reals<Family> lo, Reals<Family> hi, const Family& family) {
    using cuda_runtime::select;
    const Reals<Family> zero{};
    OfEdges<LaneComplex<Family>, 2> sums{};
    cuda_runtime::inTurn(
        cuda_runtime::any(placing.split) ? 2 : 1, [&](int part) __attribute__((always_inline)) {
            const Reals<Family> begin = part > 0 ? lo : select(placing.outside, lo, zero);
            const Reals<Family> end = part > 0 ? zero : hi;
            const auto found = integrals<Family, Angles, 2>(X, z, k, E, begin, end, family);
            for (int edge = 0; edge < 2; ++edge) {
                auto& [re, im] = sums.of[edge];
                const auto& [foundRe, foundIm] = found.of[edge];
                re = part > 0 ? select(placing.split, re + foundRe, re) : foundRe;
                im = part > 0 ? select(placing.split, im + foundIm, im) : foundIm;
            }
        });
    const Mask<Family> once = placing.outside | placing.split;
    for (int edge = 0; edge < 2; ++edge) {
        const Reals<Family> factor = select(once, X.of[edge], 2 * X.of[edge]);
        sums.of[edge].re = factor * sums.of[edge].re;
        sums.of[edge].im = factor * sums.of[edge].im;
    }
    return sums;
}

/// -j * S / (2 pi)
template <class Family>
__device__ inline LaneComplex<Family> scaled(LaneComplex<Family> S) {
    constexpr auto oneOverTwoPi = static_cast<Real<Family>>(0.15915494309189535);
    return {S.im * oneOverTwoPi, -S.re * oneOverTwoPi};
}

/// The pressure at (x, y, z), which by the piston's symmetry depends on |x| and |y| only. A point
/// whose projection is a corner of the piston has no finite value.
/// @tparam Angles what finds sines and cosines: of the launchers the language's own functions
template <class Family, class Angles = cuda_runtime::AnyAngles>
__device__ inline LaneComplex<Family> calculate_FastNearfieldFlexible(
    Reals<Family> x, Reals<Family> y, Reals<Family> z, Real<Family> a, Real<Family> b,
    Real<Family> k, const Family& family = {}) {
    using cuda_runtime::select;
    const Reals<Family> ax = cuda_runtime::absolute(x);
    const Reals<Family> ay = cuda_runtime::absolute(y);
    const LaneComplex<Family> E = unitPhase<Family, Angles>(-k * z);
    // -0 leaves what is added to it as it is.
    LaneComplex<Family> S{-Reals<Family>{}, -Reals<Family>{}};
    OfEdges<Reals<Family>, 2> across{{ax - a, ax + a}};
    OfEdges<Reals<Family>, 2> along{{ay - b, ay + b}};
    Placing<Family> placing = placingOf<Family>(ay, b);
    cuda_runtime::inTurn(
        2, [&](int) __attribute__((always_inline)) {
            const auto terms = edgeTerms<Family, Angles>(placing, across, z, k, E, along.of[0],
                                                         along.of[1], family);
            // The order of the additions depends on the case.
            const auto added = [&](Reals<Family> s, Reals<Family> t1, Reals<Family> t2) {
                return select(placing.split, (s + t1) - t2, s + (t1 - t2));
            };
            S = {added(S.re, terms.of[0].re, terms.of[1].re),
                 added(S.im, terms.of[0].im, terms.of[1].im)};
            const auto swapped = across;
            across = along;
            along = swapped;
            placing = placingOf<Family>(ax, a);
        });
    return scaled<Family>(S);
}

/// No point of the piston is further from (x, y, z).
template <class Family>
__device__ inline Reals<Family> farthestFrom(Reals<Family> x, Reals<Family> y, Reals<Family> z,
                                             Real<Family> a, Real<Family> b) {
    const Reals<Family> alongX = cuda_runtime::absolute(x) + a;
    const Reals<Family> alongY = cuda_runtime::absolute(y) + b;
    return cuda_runtime::squareRoot(alongX * alongX + alongY * alongY + z * z);
}

/// The pressure at (x, y, z) with every edge in one piece: the plain sum of four integrals.
template <class Family>
__device__ inline LaneComplex<Family> calculate_FastNearfield(Reals<Family> x, Reals<Family> y,
                                                              Reals<Family> z, Real<Family> a,
                                                              Real<Family> b, Real<Family> k) {
    const Reals<Family> x1 = x - a;
    const Reals<Family> x2 = x + a;
    const Reals<Family> y1 = y - b;
    const Reals<Family> y2 = y + b;
    const LaneComplex<Family> E = unitPhase<Family>(-k * z);
    LaneComplex<Family> S{};
    integrate_all<Family>(&S.re, &S.im, x1, z, k, E.re, E.im, y1, y2, x1);
    integrate_all<Family>(&S.re, &S.im, x2, z, k, E.re, E.im, y1, y2, -x2);
    integrate_all<Family>(&S.re, &S.im, y1, z, k, E.re, E.im, x1, x2, y1);
    integrate_all<Family>(&S.re, &S.im, y2, z, k, E.re, E.im, x1, x2, -y2);
    return scaled<Family>(S);
}

/// A regular grid's points, numbered x fastest, then y, then z.
template <class Family>
struct GridIndices {
    Ints<Family> x, y, z;
};

template <class Family>
__device__ inline GridIndices<Family> gridIndices(Ints<Family> index, int sx, int sy) {
    const Ints<Family> row = cuda_runtime::quotient(index, sx);
    const Ints<Family> plane = cuda_runtime::quotient(row, sy);
    return {index - row * sx, row - plane * sy, plane};
}

/// The number of points, in 32-bit arithmetic that wraps around.
__device__ inline int pointCount(int sx, int sy, int sz) {
    return static_cast<int>(static_cast<unsigned>(sx) * static_cast<unsigned>(sy) *
                            static_cast<unsigned>(sz));
}

template <class Family>
__device__ inline TransformRows<Family> loadRows(const Real<Family>* m) {
    using cuda_runtime::load;
    return {load(m, 0), load(m, 1), load(m, 2), load(m, 3), load(m, 4),  load(m, 5),
            load(m, 6), load(m, 7), load(m, 8), load(m, 9), load(m, 10), load(m, 11)};
}

/// One coordinate of a lattice point, by a row of the transform, rounded as on any processor.
template <class Family>
__device__ inline Reals<Family> coordinate(const Position<Family>& index, Real<Family> m0,
                                           Real<Family> m1, Real<Family> m2, Real<Family> m3) {
    using cuda_runtime::product;
    using cuda_runtime::sum;
    const Reals<Family> inPlane = sum(product(m1, index.y), product(m0, index.x));
    return sum(sum(inPlane, product(m2, index.z)), m3);
}

template <class Family>
__device__ inline Position<Family> asReals(const GridIndices<Family>& index) {
    return {cuda_runtime::toReals<Reals<Family>>(index.x),
            cuda_runtime::toReals<Reals<Family>>(index.y),
            cuda_runtime::toReals<Reals<Family>>(index.z)};
}

/// Deliberate: no fourth row and no division, unlike the positions of the CPU evaluation.
template <class Family>
__device__ inline Position<Family> place(const GridIndices<Family>& index,
                                         const TransformRows<Family>& m) {
    const Position<Family> at = asReals<Family>(index);
    return {coordinate<Family>(at, m.m00, m.m01, m.m02, m.m03),
            coordinate<Family>(at, m.m10, m.m11, m.m12, m.m13),
            coordinate<Family>(at, m.m20, m.m21, m.m22, m.m23)};
}

template <class Family>
__device__ inline LaneComplex<Family> pressureAt(const Position<Family>& p, Real<Family> a,
                                                 Real<Family> b, Real<Family> k) {
    return calculate_FastNearfieldFlexible<Family>(p.x, p.y, p.z, a, b, k);
}

template <class Family>
__device__ inline void calculateGrid(typename Family::Complex* d_array, int sx, int sy, int sz,
                                     const TransformRows<Family>& rows, Real<Family> a,
                                     Real<Family> b, Real<Family> k) {
    const auto index = cuda_runtime::threadIndex<Real<Family>>();
    const auto inside = index < pointCount(sx, sy, sz);
    if (!cuda_runtime::any(inside)) return;
    const auto p =
        pressureAt<Family>(place<Family>(gridIndices<Family>(index, sx, sy), rows), a, b, k);
    cuda_runtime::store(d_array, index, inside, p.re, p.im);
}

template <class Family>
__device__ inline void calculateGrid(Real<Family>* d_arrayr, Real<Family>* d_arrayi, int sx, int sy,
                                     int sz, const TransformRows<Family>& rows, Real<Family> a,
                                     Real<Family> b, Real<Family> k) {
    const auto index = cuda_runtime::threadIndex<Real<Family>>();
    const auto inside = index < pointCount(sx, sy, sz);
    if (!cuda_runtime::any(inside)) return;
    const auto p =
        pressureAt<Family>(place<Family>(gridIndices<Family>(index, sx, sy), rows), a, b, k);
    cuda_runtime::store(d_arrayr, index, inside, p.re);
    cuda_runtime::store(d_arrayi, index, inside, p.im);
}

template <class Family>
__global__ void calculate(typename Family::Complex* d_array, int sx, int sy, int sz,
                          Real<Family> dx, Real<Family> dy, Real<Family> dz, Real<Family> a,
                          Real<Family> b, Real<Family> k) {
    const auto index = cuda_runtime::threadIndex<Real<Family>>();
    const auto inside = index < pointCount(sx, sy, sz);
    if (!cuda_runtime::any(inside)) return;
    const Position<Family> at = asReals<Family>(gridIndices<Family>(index, sx, sy));
    const Position<Family> position{cuda_runtime::product(dx, at.x),
                                    cuda_runtime::product(dy, at.y),
                                    cuda_runtime::product(dz, at.z)};
    const auto p = pressureAt<Family>(position, a, b, k);
    cuda_runtime::store(d_array, index, inside, p.re, p.im);
}

template <class Family>
__global__ void calculate_grid(typename Family::Complex* d_array, int sx, int sy, int sz,
                               Real<Family> transform00, Real<Family> transform01,
                               Real<Family> transform02, Real<Family> transform03,
                               Real<Family> transform10, Real<Family> transform11,
                               Real<Family> transform12, Real<Family> transform13,
                               Real<Family> transform20, Real<Family> transform21,
                               Real<Family> transform22, Real<Family> transform23, Real<Family> a,
                               Real<Family> b, Real<Family> k) {
    calculateGrid<Family>(
        d_array, sx, sy, sz,
        {transform00, transform01, transform02, transform03, transform10, transform11, transform12,
         transform13, transform20, transform21, transform22, transform23},
        a, b, k);
}

template <class Family>
__global__ void calculate_grid(Real<Family>* d_arrayr, Real<Family>* d_arrayi, int sx, int sy,
                               int sz, Real<Family> transform00, Real<Family> transform01,
                               Real<Family> transform02, Real<Family> transform03,
                               Real<Family> transform10, Real<Family> transform11,
                               Real<Family> transform12, Real<Family> transform13,
                               Real<Family> transform20, Real<Family> transform21,
                               Real<Family> transform22, Real<Family> transform23, Real<Family> a,
                               Real<Family> b, Real<Family> k) {
    calculateGrid<Family>(
        d_arrayr, d_arrayi, sx, sy, sz,
        {transform00, transform01, transform02, transform03, transform10, transform11, transform12,
         transform13, transform20, transform21, transform22, transform23},
        a, b, k);
}

template <class Family>
__global__ void calculate_grid(typename Family::Complex* d_array, int sx, int sy, int sz,
                               const Real<Family>* transform, Real<Family> a, Real<Family> b,
                               Real<Family> k) {
    calculateGrid<Family>(d_array, sx, sy, sz, loadRows<Family>(transform), a, b, k);
}

template <class Family>
__global__ void calculate_grid(Real<Family>* d_arrayr, Real<Family>* d_arrayi, int sx, int sy,
                               int sz, const Real<Family>* transform, Real<Family> a,
                               Real<Family> b, Real<Family> k) {
    calculateGrid<Family>(d_arrayr, d_arrayi, sx, sy, sz, loadRows<Family>(transform), a, b, k);
}

template <class Family>
__global__ void calculate_grid_structured(typename Family::Complex* d_array, int sx, int sy, int sz,
                                          const Real<Family>* posx, const Real<Family>* posy,
                                          const Real<Family>* posz, Real<Family> a, Real<Family> b,
                                          Real<Family> k) {
    using cuda_runtime::load;
    const auto index = cuda_runtime::threadIndex<Real<Family>>();
    const auto inside = index < pointCount(sx, sy, sz);
    if (!cuda_runtime::any(inside)) return;
    const auto at = gridIndices<Family>(index, sx, sy);
    const Position<Family> position{load<Reals<Family>>(posx, at.x, inside),
                                    load<Reals<Family>>(posy, at.y, inside),
                                    load<Reals<Family>>(posz, at.z, inside)};
    const auto p = pressureAt<Family>(position, a, b, k);
    cuda_runtime::store(d_array, index, inside, p.re, p.im);
}

/// Where a point's coordinates begin in a list of triples; where there is no point, at 0, so that
/// no number is too large to be tripled.
template <class Family, class Inside>
__device__ inline Ints<Family> tripleOf(Ints<Family> index, Inside inside) {
    return 3 * cuda_runtime::select(inside, index, Ints<Family>{});
}

template <class Family>
__global__ void calculate_grid_unstructured(typename Family::Complex* d_array, int nbPos,
                                            const Real<Family>* pos, Real<Family> a, Real<Family> b,
                                            Real<Family> k) {
    using cuda_runtime::load;
    const auto index = cuda_runtime::threadIndex<Real<Family>>();
    const auto inside = index < nbPos;
    if (!cuda_runtime::any(inside)) return;
    const Ints<Family> x = tripleOf<Family>(index, inside);
    const Position<Family> position{load<Reals<Family>>(pos, x, inside),
                                    load<Reals<Family>>(pos, x + 1, inside),
                                    load<Reals<Family>>(pos, x + 2, inside)};
    const auto p = pressureAt<Family>(position, a, b, k);
    cuda_runtime::store(d_array, index, inside, p.re, p.im);
}

/// The entry to a kernel of the Family, chosen among its overloads by the entry's parameters.
template <class Entry, class Family, typename Entry::Kernel kernel>
Entry entryTo() {
    return Entry(cuda_runtime::entryOf<Real<Family>, kernel>());
}

/// The kernels that every Family has.
template <class Family>
PistonModule<Real<Family>, typename Family::Complex> commonModule(
    const std::array<cuda_runtime::ConstantSymbol, 3>& constants) {
    using Module = PistonModule<Real<Family>, typename Family::Complex>;
    return {entryTo<typename Module::Calculate, Family, &calculate<Family>>(),
            entryTo<typename Module::GridByValues, Family, &calculate_grid<Family>>(),
            entryTo<typename Module::SplitGridByValues, Family, &calculate_grid<Family>>(),
            entryTo<typename Module::Grid, Family, &calculate_grid<Family>>(),
            entryTo<typename Module::SplitGrid, Family, &calculate_grid<Family>>(),
            constants};
}

}  // namespace
