// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <utility>

#include "method/DirectivityTerms.h"
#include "method/integrand.h"

// For packs on the CPU and single lanes on a GPU.

namespace pistonfield {
inline namespace PISTONFIELD_INSTRUCTION_SET {

/// Packs that are evaluated together, for the sake of pipelines and of coefficients that they
/// share.
template <class V, int n>
struct Several {
    V of[n];
};

template <class Work, int... i>
[[gnu::always_inline]] __device__ inline void forAll(Work work,
                                                     std::integer_sequence<int, i...> /*numbers*/) {
    (work(i), ...);
}

/// Does a work with the number of each, without a loop.
template <int n, class Work>
[[gnu::always_inline]] __device__ inline void forEach(Work work) {
    forAll(work, std::make_integer_sequence<int, n>());
}

/// The polynomial of Chebyshev's that comes next, of 2x - 1, by their recurrence.
template <class V, int n>
struct ChebyshevStep {
    Several<V, n> twice, before, now;

    [[gnu::always_inline]] __device__ inline void begin(int k, V x) {
        using T = lanes::Element<V>;
        const V argument =
            lanes::multiplyAdd(x, lanes::broadcast<V>(T(2)), lanes::broadcast<V>(T(-1)));
        twice.of[k] = argument + argument;
        before.of[k] = lanes::broadcast<V>(T(1));
        now.of[k] = argument;
    }

    /// @return the polynomial, after which comes the next one
    [[gnu::always_inline]] __device__ inline V take(int k) {
        const V polynomial = before.of[k];
        const V next = lanes::multiplyAdd(twice.of[k], now.of[k], -polynomial);
        before.of[k] = now.of[k];
        now.of[k] = next;
        return polynomial;
    }
};

/// Where places lie as seen from a face's centre.
template <class V, int n>
struct Directions {
    Several<V, n> s, t;     ///< see `Cosines`
    Several<V, n> power;    ///< least/R
    Several<V, n> inverse;  ///< 1/R

    /// Finds those of place number k.
    /// @param from  the place, from the centre
    /// @param least in the same unit of length
    template <class T>
    [[gnu::always_inline]] __device__ inline void find(int k, const V (&from)[3],
                                                       const V (&alongX)[3], const V (&alongY)[3],
                                                       Cosines cosines, T least) {
        const V root = lanes::nearSquareRoot(productOf(from, from));
        inverse.of[k] = lanes::nearReciprocal(root);
        const V u = productOf(from, alongX) * inverse.of[k];
        const V v = productOf(from, alongY) * inverse.of[k];
        const V sum = lanes::multiplyAdd(u, u, v * v);
        const bool areEach = cosines == Cosines::each;
        s.of[k] = areEach ? u * u : sum;
        t.of[k] = areEach ? v * v : u * u * lanes::nearReciprocal(sum + tinySquare<T>);
        power.of[k] = inverse.of[k] * least;
    }

    [[gnu::always_inline]] __device__ static inline V productOf(const V (&a)[3], const V (&b)[3]) {
        return lanes::multiplyAdd(a[2], b[2], lanes::multiplyAdd(a[1], b[1], a[0] * b[0]));
    }
};

/// The directivities.
/// @param sums   begins the polynomials of 2s - 1, which are taken one after the other
/// @param shares begins those of 2t - 1, as often as there are rows
template <int n, class V, class T, class Rows, class Columns>
[[gnu::always_inline]] __device__ inline Several<Complex<V>, n> directivitiesAt(
    const DirectivityTerms<T>& terms, const Directions<V, n>& at, Rows sums, Columns shares) {
    using lanes::multiplyAdd;
    const int* powers = terms.powers;
    const T* re = terms.re;
    const T* im = terms.im;
    Several<Complex<V>, n> total{};
    auto row = sums();
    for (int i = 0; i < terms.rows; ++i) {
        Several<Complex<V>, n> ofRow{};
        auto column = shares();
        for (int j = 0; j < terms.columns[i]; ++j) {
            const int count = *powers++;
            if (count == 0) {
                forEach<n>([&](int k) __attribute__((always_inline)) { column.take(k); });
                continue;
            }
            Several<Complex<V>, n> p;
            forEach<n>([&](int k) __attribute__((always_inline)) {
                p.of[k] = {inAllLanes<V>(*re), inAllLanes<V>(*im)};
            });
            for (int l = 1; l < count; ++l) {
                const V nextRe = inAllLanes<V>(re[l]);
                const V nextIm = inAllLanes<V>(im[l]);
                forEach<n>([&](int k) __attribute__((always_inline)) {
                    p.of[k].re = multiplyAdd(p.of[k].re, at.power.of[k], nextRe);
                    p.of[k].im = multiplyAdd(p.of[k].im, at.power.of[k], nextIm);
                });
            }
            re += count;
            im += count;
            forEach<n>([&](int k) __attribute__((always_inline)) {
                const V polynomial = column.take(k);
                ofRow.of[k].re = multiplyAdd(p.of[k].re, polynomial, ofRow.of[k].re);
                ofRow.of[k].im = multiplyAdd(p.of[k].im, polynomial, ofRow.of[k].im);
            });
        }
        forEach<n>([&](int k) __attribute__((always_inline)) {
            const V polynomial = row.take(k);
            total.of[k].re = multiplyAdd(ofRow.of[k].re, polynomial, total.of[k].re);
            total.of[k].im = multiplyAdd(ofRow.of[k].im, polynomial, total.of[k].im);
        });
    }
    return total;
}

}  // namespace PISTONFIELD_INSTRUCTION_SET
}  // namespace pistonfield
