// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/boundaryNodes.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "arrays/LegendreRule.h"

namespace pistonfield {

int orderAlong(const OutlineEdge& edge, double part, double wavenumber, int refinement) noexcept {
    // Beyond a node for each radian of the half length errors fall ever faster. An arc bends by its
    // sweep as well.
    const Arc* const arc = std::get_if<Arc>(&edge);
    const double bend = arc != nullptr ? std::abs(arc->sweep) : 0;
    const double radians = part * (wavenumber * lengthOf(edge) / 2 + bend);
    const double order = radians + 2.5 * std::cbrt(radians) + 4;
    constexpr double most = std::numeric_limits<int>::max();
    return static_cast<int>(std::min(most, std::ceil(order * (1 + refinement / 3.0))));
}

std::size_t nodesOf(const Outline& outline, double wavenumber, int refinement) noexcept {
    std::size_t count = 0;
    for (const Loop& loop : outline.loops)
        for (const OutlineEdge& edge : loop)
            count += static_cast<std::size_t>(orderAlong(edge, 1, wavenumber, refinement));
    return count;
}

std::vector<BoundaryNode> nodesAlong(const Outline& outline, double wavenumber, int refinement) {
    std::vector<BoundaryNode> nodes;
    for (const Loop& loop : outline.loops)
        for (const OutlineEdge& edge : loop) {
            const LegendreRule rule(orderAlong(edge, 1, wavenumber, refinement));
            nodes.reserve(nodes.size() + rule.nodes.size());
            for (std::size_t i = 0; i < rule.nodes.size(); ++i) {
                const auto [at, tangent] = placeOn(edge, rule.nodes[i]);
                nodes.push_back({at, {rule.weights[i] * tangent[0], rule.weights[i] * tangent[1]}});
            }
        }
    return nodes;
}

}  // namespace pistonfield
