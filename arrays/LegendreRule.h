// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <vector>

#include "FastNearfield/GaussLegendre.h"

namespace pistonfield {

/// A Gauss-Legendre rule on [-1, 1].
struct LegendreRule {
    explicit LegendreRule(int order)
        : nodes(static_cast<std::size_t>(order)), weights(static_cast<std::size_t>(order)) {
        legendre_compute(order, nodes.data(), weights.data());
    }

    std::vector<double> nodes, weights;
};

}  // namespace pistonfield
