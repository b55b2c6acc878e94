// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <vector>

namespace pistonfield {

/// A rule that interpolates a function from some nodes to points.
template <class T>
struct RowRule {
    const T* nodes;             ///< abscissas, in [-1, 1]
    const T* weights;           ///< of the first point those of all nodes, then the next one's
    const T* lastCoefficients;  ///< weights of the coefficients of the last two Chebyshev
                                ///< polynomials; none of a single node
    int count;                  ///< of nodes
};

/// The rules from Chebyshev's points to `points` evenly spaced points from -1 to 1. Each is made
/// when it is first asked for, by any thread.
template <class T>
class RowRules {
  public:
    static constexpr int leastNodes = 1;
    static constexpr int mostNodes = 32;

    /// @param points 1 or more
    explicit RowRules(int points) : thePoints(points) {}

    int points() const noexcept { return thePoints; }

    /// @param nodes `leastNodes` to `mostNodes`
    /// @throws std::bad_alloc
    RowRule<T> rule(int nodes) const;

  private:
    struct Numbers {
        std::once_flag made;
        std::vector<T> nodes, weights, lastCoefficients;
    };

    int thePoints;
    mutable std::array<Numbers, mostNodes - leastNodes + 1> rules;
};

}  // namespace pistonfield
