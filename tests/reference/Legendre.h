// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <vector>

#include "reference/Quad.h"

namespace reference {

/// A quadrature rule on [-1, 1]; weights[i] belongs to nodes[i].
struct Rule {
    std::vector<Quad> nodes;
    std::vector<Quad> weights;
};

struct NodeAndWeight {
    Quad node;
    Quad weight;
};

/// The i-th largest node of the Gauss-Legendre rule of `order` points, counted from 1, and its
/// weight; at most as many as are not negative.
/// @throws std::runtime_error where the iteration does not settle
NodeAndWeight legendreNode(int order, int i);

/// The Gauss-Legendre rule of `order` >= 1 points, nodes increasing: Newton's iteration on the
/// three-term recurrence until a step no longer moves the root at 113 bits.
/// @throws std::runtime_error where the iteration does not settle
Rule legendreRule(int order);

/// A rule held in a shorter precision, value by value.
Rule widen(int order, const double* nodes, const double* weights);
Rule widen(int order, const float* nodes, const float* weights);

}  // namespace reference
