// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <vector>

#include "FastNearfield/GaussLegendre.h"
#include "method/Orders.h"

namespace pistonfield {

/// A rule's nodes and weights on [-1, 1].
template <class T>
struct Nodes {
    const T* abscissas;
    const T* weights;
    int count;
};

/// The Gauss-Legendre rules of the ladder of orders, each made when it is first asked for, by any
/// thread.
template <class T>
class Rules {
  public:
    static constexpr int rungs = OrderLadder::rungOf(1 << 16) + 1;

    /// @throws std::bad_alloc
    Nodes<T> at(int rung) const {
        Rule& rule = rules[static_cast<std::size_t>(rung)];
        const int count = OrderLadder::nodesOf(rung);
        const auto size = static_cast<std::size_t>(count);
        std::call_once(rule.made, [&] {
            rule.numbers.resize(2 * size);
            legendre_compute(count, rule.numbers.data(), rule.numbers.data() + size);
        });
        return {rule.numbers.data(), rule.numbers.data() + size, count};
    }

  private:
    struct Rule {
        std::once_flag made;
        std::vector<T> numbers;
    };

    mutable std::array<Rule, rungs> rules;
};

}  // namespace pistonfield
