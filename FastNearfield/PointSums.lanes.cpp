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

/// The points of a pack, and what their integrals share.
template <class V>
class EdgeIntegrals {
  public:
    using T = Element<V>;

    EdgeIntegrals(const Rule<T>& rule, V z, T k, Complex<V> phase)
        : zz(z * z), phase(phase), mapping{nothing, nothing}, rule(rule), k(k) {}

    /// Integrates (exp(-j*k*sqrt(z^2 + t^2 + s2)) - exp(-j*k*z)) / (t^2 + s2) over [a, b]. The
    /// lanes outside the mask have no integral here; theirs is of no meaning.
    Complex<V> operator()(Mask<V> mask, V s2, V a, V b) {
        Complex<V> sum{};
        if (rule.order <= 0) return sum;
        map(mask, a, b);
        const auto [half, mid] = mapping;
        for (int i = 0; i < rule.order; ++i) {
            const V t = half * rule.abscissas[i] + mid;
            const V d = t * t + s2;
            const V r = lanes::squareRoot(zz + d);
            const auto [sine, cosine] = lanes::sinCos(-(r * k));
            const V weightPerD = (half * rule.weights[i]) / d;
            sum.re += (cosine - phase.re) * weightPerD;
            sum.im += (sine - phase.im) * weightPerD;
        }
        return sum;
    }

  private:
    /// Equals no end of an interval.
    static constexpr V nothing = V{} + __builtin_nanf("");

    void map(Mask<V> mask, V a, V b) {
        // Deliberate: an interval that equals the last mapping's end nodes keeps that mapping.
        const Mask<V> keep = ((a == node(0)) & (b == node(rule.order - 1))) | ~mask;
        mapping = {select(keep, mapping.half, (b - a) * T(0.5)),
                   select(keep, mapping.mid, (a + b) * T(0.5))};
    }

    V node(int i) const { return mapping.half * rule.abscissas[i] + mapping.mid; }

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

/// The integral along an edge of offset e, times the offset: over [lo, b], and where the point is
/// split over [a, 0] too.
template <class V>
[[gnu::always_inline]] inline Complex<V> edgeTerm(EdgeIntegrals<V>& integral, const Cases<V>& cases,
                                                  V e, V lo, V a, V b) {
    const V s2 = e * e;
    const Mask<V> all = lanes::broadcast<Mask<V>>(-1);
    Complex<V> sum = integral(all, s2, lo, b);
    if (lanes::any(cases.split)) {
        const Complex<V> lower = integral(cases.split, s2, a, V{});
        sum.re = select(cases.split, lower.re + sum.re, sum.re);
        sum.im = select(cases.split, lower.im + sum.im, sum.im);
    }
    const V factor = select(cases.thin, 2 * e, e);
    return {factor * sum.re, factor * sum.im};
}

/// The sum over the four edges.
template <class V>
[[gnu::noinline]] Complex<V> edgeSum(const Rule<Element<V>>& rule, V x1, V x2, V y1, V y2, V z,
                                     Element<V> k, Complex<V> phase) {
    EdgeIntegrals<V> integral(rule, z, k, phase);
    const V zero{};
    const Cases<V> alongY = casesOf(y1, y2);
    const V fromY = select(alongY.thin | alongY.split, zero, y1);
    const Complex<V> t1 = edgeTerm(integral, alongY, x1, fromY, y1, y2);
    const Complex<V> t2 = edgeTerm(integral, alongY, x2, fromY, y1, y2);
    const Cases<V> alongX = casesOf(x1, x2);
    // Deliberate: a thin piston's x pair is integrated over the whole interval, its y pair is not.
    const V fromX = select(alongX.split, zero, x1);
    const Complex<V> t3 = edgeTerm(integral, alongX, y1, fromX, x1, x2);
    const Complex<V> t4 = edgeTerm(integral, alongX, y2, fromX, x1, x2);
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
