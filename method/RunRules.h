// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <vector>

namespace pistonfield {

/// A rule for the integrals of a function from the middle of an interval to some points in it.
template <class T>
struct RunRule {
    const double* abscissas;  ///< the nodes, in [-1, 1]
    const T* integrals;  ///< weights: of the first point those of all nodes, then the next one's
    int count;           ///< of nodes
};

/// The rules for the integrals from the middle of [-1, 1] to `points` evenly spaced points from -1
/// to 1: the integrals of the polynomial that interpolates a function at Chebyshev's points. Each
/// is made when it is first asked for, by any thread.
///
/// For a function whose magnitude is at most M in the ellipse whose semi-axes have the sum rho, the
/// interpolant of n nodes is off by at most 4 M rho^-n / (1 - 1/rho) (Trefethen, Approximation
/// Theory and Approximation Practice, theorem 8.2); so is each of these integrals.
template <class T>
class RunRules {
  public:
    /// The most nodes, an even number.
    static constexpr int mostNodes = 64;

    /// @param points 2 or more
    explicit RunRules(int points) : points(points) {}

    /// @param nodes even, 2 to `mostNodes`
    /// @throws std::bad_alloc
    RunRule<T> rule(int nodes) const;

  private:
    struct Numbers {
        std::once_flag made;
        std::vector<double> abscissas;
        std::vector<T> integrals;
    };

    int points;
    mutable std::array<Numbers, mostNodes / 2> rules;
};

}  // namespace pistonfield
