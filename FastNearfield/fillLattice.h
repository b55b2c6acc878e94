// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "FastNearfield/EdgeIntegrand.h"
#include "FastNearfield/PointSums.h"
#include "lanes/Pack.h"

namespace pointsums {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// Lattice coordinates that count up in grid point order, a pack at a time. Past the last point
/// they stay with it.
template <int W>
class Counter {
  public:
    using Ints = lanes::Pack<std::int32_t, W>;

    struct Indices {
        Ints x, y, z;
    };

    template <class G>
    Counter(const Lattice<G>& lattice, const Range& range)
        : sx(lattice.sx),
          sy(lattice.sy),
          left(range.last - range.first),
          ix(static_cast<int>(range.first % sx)),
          iy(static_cast<int>(range.first / sx % sy)),
          iz(static_cast<int>(range.first / sx / sy)) {}

    /// Points that remain.
    std::int64_t remaining() const { return left; }

    Indices next() {
        if (W < left && W < sx - ix) return withinRow();
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
    Indices withinRow() {
        Ints x{};
        for (int lane = 0; lane < W; ++lane) x[lane] = lane;
        const Indices indices{x + ix, lanes::broadcast<Ints>(iy), lanes::broadcast<Ints>(iz)};
        ix += W;
        left -= W;
        return indices;
    }

    void step() {
        if (++ix < sx) return;
        ix = 0;
        if (++iy < sy) return;
        iy = 0;
        ++iz;
    }

    int sx, sy;
    std::int64_t left;
    int ix, iy, iz;
};

/// One coordinate of the lattice points, with the arithmetic of the grid's own positions.
template <class T, int W, class G>
[[gnu::always_inline]] inline lanes::Pack<T, W> coordinate(
    const Lattice<G>& lattice, int row, const typename Counter<W>::Indices& indices) {
    using Wide = lanes::Pack<G, W>;
    const G* m = lattice.rows + std::ptrdiff_t{4} * row;
    const Wide v0 = lattice.first[0] + __builtin_convertvector(indices.x, Wide);
    const Wide v1 = lattice.first[1] + __builtin_convertvector(indices.y, Wide);
    const Wide v2 = lattice.first[2] + __builtin_convertvector(indices.z, Wide);
    const Wide p = (((m[3] + m[0] * v0) + m[1] * v1) + m[2] * v2) / lattice.divisor;
    return __builtin_convertvector(p, lanes::Pack<T, W>);
}

template <class V>
[[gnu::always_inline]] inline void store(lanes::Element<V>* to, std::ptrdiff_t stride, V values,
                                         int count) {
    if (stride == 1 && count >= lanes::widthOf<V>) {
        std::memcpy(to, &values, sizeof values);
        return;
    }
    for (int i = 0; i < lanes::widthOf<V> && i < count; ++i) to[i * stride] = values[i];
}

/// Fills a range of a lattice's points with what an evaluator says of them, in one thread.
///
/// @tparam Evaluator a shape's arithmetic. It has
///     - Reals, the packs in which it takes points,
///     - packsAtATime, how many packs are added, at the most, before they are computed,
///     - add(x, y, z), which takes the points of a pack,
///     - compute(), which computes the packs that were added, and after which the next ones added
///       are number 0 and on,
///     - pressure(i), the pressure at the points of pack number i.
template <class Evaluator, class G>
void fillLattice(Evaluator& evaluator, const Lattice<G>& lattice,
                 const Field<lanes::Element<typename Evaluator::Reals>>& field,
                 const Range& range) {
    using V = typename Evaluator::Reals;
    using T = lanes::Element<V>;
    constexpr int W = lanes::widthOf<V>;
    static_assert(pointsAtATime % (std::int64_t{W} * Evaluator::packsAtATime) == 0);
    Counter<W> counter(lattice, range);
    std::ptrdiff_t next = range.first;
    std::int64_t left = counter.remaining();
    while (left > 0) {
        int packs = 0;
        for (; packs < Evaluator::packsAtATime && counter.remaining() > 0; ++packs) {
            const auto indices = counter.next();
            evaluator.add(coordinate<T, W>(lattice, 0, indices),
                          coordinate<T, W>(lattice, 1, indices),
                          coordinate<T, W>(lattice, 2, indices));
        }
        evaluator.compute();
        for (int i = 0; i < packs; ++i) {
            const pistonfield::LaneComplex<V> pressure = evaluator.pressure(i);
            const int count = static_cast<int>(left < W ? left : W);
            store(field.re + next * field.stride, field.stride, pressure.re, count);
            store(field.im + next * field.stride, field.stride, pressure.im, count);
            next += W;
            left -= W;
        }
    }
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pointsums
