// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <cstddef>
#include <cstdint>
#include <cstring>

#include "FastNearfield/PointSums.h"
#include "lanes/Pack.h"
#include "lanes/sinCos.h"

namespace pointsums::PISTONFIELD_INSTRUCTION_SET {

namespace {

using lanes::Element;
using lanes::Mask;
using lanes::Pack;
using lanes::select;
using lanes::widthOf;

template <class V>
struct Complex {
    V re, im;
};

/// A rule mapped onto an interval: abscissas half*x[i] + mid, weights half*w[i].
template <class V>
struct Mapping {
    V half, mid;
};

/// The integrals along a pair of parallel edges.
template <class V>
struct Pair {
    Complex<V> first, second;
};

/// The points of a pack, and what their integrals share.
///
/// The integrand is f(t) = (exp(-j*k*sqrt(z^2 + D)) - exp(-j*k*z)) / D, D = t^2 + s2, with s2 the
/// square of the offset from the edge.
template <class V>
class EdgeIntegrals {
  public:
    using T = Element<V>;

    EdgeIntegrals(const Rule<T>& rule, V z, T k, Complex<V> phase)
        : zz(z * z), phase(phase), mapping{nothing(), nothing()}, rule(rule), k(k) {}

    /// Maps the rule onto [a, b] in the lanes of the mask.
    Mapping<V> map(Mask<V> mask, V a, V b) {
        if (rule.order > 0) {
            // Deliberate: an interval that equals the last mapping's end nodes keeps that mapping.
            const Mask<V> keep = ((a == node(0)) & (b == node(rule.order - 1))) | ~mask;
            mapping = {select(keep, mapping.half, (b - a) * T(0.5)),
                       select(keep, mapping.mid, (a + b) * T(0.5))};
        }
        return mapping;
    }

    /// The integral by a mapped rule.
    Complex<V> along(const Mapping<V>& on, V s2) const {
        Complex<V> sum{};
        for (int i = 0; i < rule.order; ++i) {
            const V t = on.half * rule.abscissas[i] + on.mid;
            add(sum, t * t + s2, on.half * rule.weights[i]);
        }
        return sum;
    }

    /// The integrals along two edges. With one mapping for both they are summed side by side, which
    /// leaves the processor two chains of operations to interleave.
    Pair<V> along(const Mapping<V>& first, const Mapping<V>& second, V s2First, V s2Second) const {
        if (differ(first, second)) return {along(first, s2First), along(second, s2Second)};
        Pair<V> sums{};
        for (int i = 0; i < rule.order; ++i) {
            const V t = first.half * rule.abscissas[i] + first.mid;
            const V tt = t * t;
            const V weight = first.half * rule.weights[i];
            add(sums.first, tt + s2First, weight);
            add(sums.second, tt + s2Second, weight);
        }
        return sums;
    }

  private:
    /// Equals no end of an interval.
    static V nothing() { return lanes::broadcast<V>(__builtin_nan("")); }

    V node(int i) const { return mapping.half * rule.abscissas[i] + mapping.mid; }

    static bool differ(const Mapping<V>& a, const Mapping<V>& b) {
        return lanes::any((a.half != b.half) | (a.mid != b.mid));
    }

    /// Adds weight * f. The weight is divided by D before it multiplies, which rounds as often as
    /// dividing both parts of the difference would and takes one division instead of two.
    [[gnu::always_inline]] void add(Complex<V>& sum, V d, V weight) const {
        const V r = lanes::squareRoot(zz + d);
        const auto [sine, cosine] = lanes::sinCos(-(r * k));
        const V weightPerD = weight / d;
        sum.re += (cosine - phase.re) * weightPerD;
        sum.im += (sine - phase.im) * weightPerD;
    }

    V zz;
    Complex<V> phase;
    Mapping<V> mapping;
    const Rule<T>& rule;
    T k;
};

/// How the two edges of a pair are integrated between the offsets a and b of the other pair.
template <class V>
struct Cases {
    Mask<V> thin;   ///< a piston side below 1e-7: one integral, doubled
    Mask<V> split;  ///< the foot point lies between the edges: split at 0
};

template <class V>
[[gnu::always_inline]] inline Cases<V> casesOf(V a, V b) {
    // The float nearest to 1e-7 lies above it: floats are below the one if they are below the
    // other.
    constexpr auto thinSide = static_cast<Element<V>>(1e-7);
    const Mask<V> thin = lanes::absolute(a - b) < thinSide;
    return {thin, ~thin & ((a > 0) ^ (b > 0))};
}

/// The integrals along the edges of offsets e1 and e2, times the offsets: over [lo, b], and where
/// the points are split over [a, 0] too. The first edge is integrated before the second.
template <class V>
[[gnu::always_inline]] inline Pair<V> edgeTerms(EdgeIntegrals<V>& integrals, const Cases<V>& cases,
                                                V e1, V e2, V lo, V a, V b) {
    const auto all = lanes::broadcast<Mask<V>>(-1);
    const bool anySplit = lanes::any(cases.split);
    const auto lower = [&] { return integrals.map(cases.split, a, V{}); };
    const Mapping<V> upper1 = integrals.map(all, lo, b);
    const Mapping<V> lower1 = anySplit ? lower() : upper1;
    const Mapping<V> upper2 = integrals.map(all, lo, b);
    const Mapping<V> lower2 = anySplit ? lower() : upper2;

    Pair<V> sums = integrals.along(upper1, upper2, e1 * e1, e2 * e2);
    if (anySplit) {
        const Pair<V> rest = integrals.along(lower1, lower2, e1 * e1, e2 * e2);
        const auto joined = [&cases](V low, V high) {
            return select(cases.split, low + high, high);
        };
        sums = {{joined(rest.first.re, sums.first.re), joined(rest.first.im, sums.first.im)},
                {joined(rest.second.re, sums.second.re), joined(rest.second.im, sums.second.im)}};
    }
    const V factor1 = select(cases.thin, 2 * e1, e1);
    const V factor2 = select(cases.thin, 2 * e2, e2);
    return {{factor1 * sums.first.re, factor1 * sums.first.im},
            {factor2 * sums.second.re, factor2 * sums.second.im}};
}

/// The sum over the four edges.
template <class V>
[[gnu::noinline]] Complex<V> edgeSum(const Rule<Element<V>>& rule, V x1, V x2, V y1, V y2, V z,
                                     Element<V> k, Complex<V> phase) {
    EdgeIntegrals<V> integrals(rule, z, k, phase);
    const V zero{};
    const Cases<V> alongY = casesOf(y1, y2);
    const V fromY = select(alongY.thin | alongY.split, zero, y1);
    const auto [t1, t2] = edgeTerms(integrals, alongY, x1, x2, fromY, y1, y2);
    const Cases<V> alongX = casesOf(x1, x2);
    // Deliberate: a thin piston's x pair is integrated over the whole interval, its y pair is not.
    const V fromX = select(alongX.split, zero, x1);
    const auto [t3, t4] = edgeTerms(integrals, alongX, y1, y2, fromX, x1, x2);
    return {((t1.re - t2.re) + t3.re) - t4.re, ((t1.im - t2.im) + t3.im) - t4.im};
}

template <class T>
Value<T> phaseAt(T angle) {
    const auto [sine, cosine] = lanes::sinCos(lanes::broadcast<Pack<T, lanes::width<T>>>(angle));
    return {cosine[0], sine[0]};
}

template <class T>
Value<T> atPoint(const Rule<T>& rule, const Point<T>& p) {
    using V = Pack<T, lanes::width<T>>;
    const auto all = [](T value) { return lanes::broadcast<V>(value); };
    const Complex<V> sum = edgeSum<V>(rule, all(p.x1), all(p.x2), all(p.y1), all(p.y2), all(p.z),
                                      p.k, {all(p.phaseRe), all(p.phaseIm)});
    return {sum.re[0], sum.im[0]};
}

/// Lattice coordinates that count up in grid point order, a pack at a time. Past the last point
/// they stay with it.
template <int W>
class Counter {
  public:
    using Ints = Pack<std::int32_t, W>;

    struct Indices {
        Ints x, y, z;
    };

    template <class G>
    explicit Counter(const Lattice<G>& lattice)
        : sx(lattice.sx), sy(lattice.sy), left(std::int64_t{sx} * sy * lattice.sz) {}

    /// Points that remain.
    std::int64_t remaining() const { return left; }

    Indices next() {
        Indices indices{};
        for (int lane = 0; lane < W; ++lane) {
            indices.x[lane] = ix;
            indices.y[lane] = iy;
            indices.z[lane] = iz;
            if (left > 1) step();
            --left;
        }
        return indices;
    }

  private:
    void step() {
        if (++ix < sx) return;
        ix = 0;
        if (++iy < sy) return;
        iy = 0;
        ++iz;
    }

    int sx, sy;
    std::int64_t left;
    int ix = 0, iy = 0, iz = 0;
};

/// One coordinate of the lattice points, with the arithmetic of the grid's own positions.
template <class T, int W, class G>
[[gnu::always_inline]] inline Pack<T, W> coordinate(const Lattice<G>& lattice, int row,
                                                    const typename Counter<W>::Indices& indices) {
    using Wide = Pack<G, W>;
    const G* m = lattice.rows + std::ptrdiff_t{4} * row;
    const Wide v0 = __builtin_convertvector(indices.x, Wide);
    const Wide v1 = __builtin_convertvector(indices.y, Wide);
    const Wide v2 = __builtin_convertvector(indices.z, Wide);
    const Wide p = (((m[3] + m[0] * v0) + m[1] * v1) + m[2] * v2) / lattice.divisor;
    return __builtin_convertvector(p, Pack<T, W>);
}

template <class V>
[[gnu::always_inline]] inline void store(Element<V>* to, std::ptrdiff_t stride, V values,
                                         int count) {
    if (stride == 1 && count >= widthOf<V>) {
        std::memcpy(to, &values, sizeof values);
        return;
    }
    for (int i = 0; i < widthOf<V> && i < count; ++i) to[i * stride] = values[i];
}

template <class T, class G>
void fill(const Rule<T>& rule, const Piston<T>& piston, const Lattice<G>& lattice,
          const Field<T>& field) {
    constexpr int W = lanes::width<T>;
    using V = Pack<T, W>;
    if (lattice.sx < 1 || lattice.sy < 1 || lattice.sz < 1) return;
    constexpr auto scale = static_cast<T>(-0.15915494309189535);  // -1/(2pi)
    Counter<W> counter(lattice);
    std::ptrdiff_t first = 0;
    while (counter.remaining() > 0) {
        const int count = static_cast<int>(counter.remaining() < W ? counter.remaining() : W);
        const auto indices = counter.next();
        const V x = coordinate<T, W>(lattice, 0, indices);
        const V y = coordinate<T, W>(lattice, 1, indices);
        const V z = coordinate<T, W>(lattice, 2, indices);
        const auto [sine, cosine] = lanes::sinCos(-(z * piston.k));
        const Complex<V> sum = edgeSum<V>(rule, x - piston.hx, x + piston.hx, y - piston.hy,
                                          y + piston.hy, z, piston.k, {cosine, sine});
        // The complex product (0, scale) * sum.
        const V re = T(0) * sum.re - scale * sum.im;
        const V im = T(0) * sum.im + scale * sum.re;
        store(field.re + first * field.stride, field.stride, re, count);
        store(field.im + first * field.stride, field.stride, im, count);
        first += W;
    }
}

}  // namespace

const Functions functions{&phaseAt<float>,      &phaseAt<double>,    &atPoint<float>,
                          &atPoint<double>,     &fill<float, float>, &fill<float, double>,
                          &fill<double, double>};

}  // namespace pointsums::PISTONFIELD_INSTRUCTION_SET
