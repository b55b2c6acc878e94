// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

/// Computes the Gauss-Legendre rule of `order` points on [-1, 1], in double precision: the nodes in
/// increasing order, exactly symmetric, and their weights.
///
/// Each root takes one series step from an asymptotic guess and one Newton correction (Davis and
/// Rabinowitz, Methods of Numerical Integration, 2nd ed., Academic Press 1984). O(order^2).
///
/// An order below 1 prints "LEGENDRE_COMPUTE - Fatal error!" on standard output and ends the
/// process with exit status 1. Orders above `pistonfield::largestAccurateOrder` of core/limits.h
/// lose accuracy.
/// @param x receives `order` nodes
/// @param w receives `order` weights
void legendre_compute(int order, double* x, double* w);

/// The double rule with every node and weight rounded to T.
template <class T>
void legendre_compute(int order, T* x, T* w) {
    const auto size = static_cast<std::size_t>(std::max(order, 0));
    std::vector<double> nodes(size);
    std::vector<double> weights(size);
    legendre_compute(order, nodes.data(), weights.data());
    const auto rounded = [](double value) { return static_cast<T>(value); };
    std::transform(nodes.begin(), nodes.end(), x, rounded);
    std::transform(weights.begin(), weights.end(), w, rounded);
}

/// A quadrature rule of `order` points on [-1, 1] with scratch for the rule mapped onto an
/// interval. A rule that is `unallocated` owns no arrays.
template <class T>
class GaussLegendre {
  public:
    GaussLegendre() = default;
    GaussLegendre(const GaussLegendre&) = delete;
    GaussLegendre& operator=(const GaussLegendre&) = delete;
    ~GaussLegendre() { release(); }

    /// Allocates the four arrays for `order` points unless the rule is unallocated. Neither
    /// computes the rule nor frees earlier arrays.
    /// @throws std::bad_alloc also for a negative order
    void init() {
        if (unallocated) return;
        const auto size = static_cast<std::size_t>(order);
        abscissas = new T[size];
        weights = new T[size];
        mappedAbscissas = new T[size];
        mappedWeights = new T[size];
        // No interval equals the mapped nodes of a rule that has not been mapped.
        if (order > 0)
            mappedAbscissas[0] = mappedAbscissas[order - 1] = std::numeric_limits<T>::quiet_NaN();
    }

    /// Brings the rule's arrays to `newOrder` points; the caller then fills nodes and weights.
    /// @return whether the order changed; where it did not, the arrays are left as they are
    /// @throws std::bad_alloc; the rule is then unallocated, of order 0
    bool setOrder(int newOrder) {
        if (newOrder == order) return false;
        release();
        order = newOrder;
        unallocated = false;
        try {
            init();
        } catch (...) {
            release();
            order = 0;
            unallocated = true;
            throw;
        }
        return true;
    }

    /// Brings the rule to the Gauss-Legendre rule of `newOrder` points, computing it only when the
    /// order changes.
    void compute(int newOrder) {
        if (setOrder(newOrder)) legendre_compute(order, abscissas, weights);
    }

    /// Brings the rule to a table of `newOrder` pairs (abscissa, weight).
    void take(int newOrder, const double* pairs) {
        setOrder(newOrder);
        for (int i = 0; i < order; ++i, pairs += 2) {
            abscissas[i] = static_cast<T>(pairs[0]);
            weights[i] = static_cast<T>(pairs[1]);
        }
    }

    int order = 0;
    T* abscissas = nullptr;        ///< nodes x[0..order-1], in increasing order
    T* weights = nullptr;          ///< w[i] belongs to x[i]
    T* mappedAbscissas = nullptr;  ///< scratch of the integrator
    T* mappedWeights = nullptr;    ///< scratch of the integrator
    bool unallocated = true;

  private:
    void release() noexcept {
        if (unallocated) return;
        for (T** array : {&abscissas, &weights, &mappedAbscissas, &mappedWeights})
            delete[] std::exchange(*array, nullptr);
    }
};
