// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <vector>

/// The first half of a rule's table, by which the GPU knows a symmetric rule; at least one pair.
template <class T>
struct HalfTable {
    /// @param order the rule's order
    /// @param table `order` (abscissa, weight) pairs
    HalfTable(int order, const double* table) {
        const auto pairs =
            static_cast<std::size_t>(order) / 2 + static_cast<std::size_t>(order) % 2;
        for (std::size_t i = 0; i < pairs; ++i) {
            x.push_back(static_cast<T>(table[2 * i]));
            w.push_back(static_cast<T>(table[2 * i + 1]));
        }
        // The upload shows the first abscissa before it refuses an order of 0.
        if (x.empty()) x.push_back(0);
    }

    std::vector<T> x;
    std::vector<T> w;
};
