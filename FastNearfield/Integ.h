// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FastNearfield/GaussLegendre.h"

/// Applies a quadrature rule to a function over an interval.
///
/// Not reentrant: it rewrites the rule's mapped arrays.
template <class T>
class Integ {
  public:
    explicit Integ(GaussLegendre<T>* rule) noexcept : rule(rule) {}

    /// The integral of f over [a, b]; a reversed interval (a > b) yields the signed integral. A
    /// rule of order 0 yields zero.
    template <class F>
    typename F::return_type operator()(const F& f, T a, T b) const {
        using Result = typename F::return_type;
        const int n = rule->order;
        if (n <= 0) return Result(0);
        map(a, b);
        Result sum(0);
        for (int i = 0; i < n; ++i) sum += f(rule->mappedAbscissas[i]) * rule->mappedWeights[i];
        return sum;
    }

    GaussLegendre<T>* rule;  ///< the rule that is applied; not owned

  private:
    void map(T a, T b) const {
        const int n = rule->order;
        T* const t = rule->mappedAbscissas;
        T* const v = rule->mappedWeights;
        // Deliberate: the interval is held against mapped nodes, not against the last interval's
        // ends.
        if (a == t[0] && b == t[n - 1]) return;
        const T half = (b - a) * T(0.5);
        const T mid = (a + b) * T(0.5);
        for (int i = 0; i < n; ++i) {
            t[i] = half * rule->abscissas[i] + mid;
            v[i] = half * rule->weights[i];
        }
    }
};
