// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <cstddef>
#include <mutex>
#include <vector>

#include "FastNearfield/GaussLegendre.h"
#include "method/Nodes.h"
#include "method/Orders.h"

namespace pistonfield {

/// The Gauss-Legendre rules of the ladder of orders, each made when it is first asked for, by any
/// thread.
template <class T>
class Rules {
  public:
    static constexpr int rungs = OrderLadder::rungOf(OrderLadder::mostNodes) + 1;

    /// Makes a rung's rule, unless it is made.
    /// @throws std::bad_alloc
    void require(int rung) const {
        const auto at = static_cast<std::size_t>(rung);
        std::call_once(made[at], [&] {
            const int count = OrderLadder::nodesOf(rung);
            const auto size = static_cast<std::size_t>(count);
            numbers[at].resize(2 * size);
            legendre_compute(count, numbers[at].data(), numbers[at].data() + size);
            nodes[at] = {numbers[at].data(), numbers[at].data() + size, count};
        });
    }

    /// Makes the rules of panels.
    /// @throws std::bad_alloc
    void require(const Panels& panels) const {
        require(panels.inner);
        for (int i = 0; i < panels.gradings; ++i) require(panels.outer[i]);
    }

    /// The rules by their rungs, those that are made.
    const Nodes<T>* table() const noexcept { return nodes.data(); }

  private:
    mutable std::array<std::once_flag, rungs> made;
    mutable std::array<std::vector<T>, rungs> numbers;
    mutable std::array<Nodes<T>, rungs> nodes{};
};

}  // namespace pistonfield
