// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RectangleField.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <span>

namespace pistonfield {

namespace {

using Mask = std::array<bool, groupSize>;

/// Where some of a group's points lie.
Place placeOf(const GroupPoints& points, const Mask& mask) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::array<double, 3> least{infinity, infinity, infinity};
    std::array<double, 3> most{};
    double square = 0;
    for (std::size_t i = 0; i < groupSize; ++i) {
        if (!mask[i]) continue;
        const std::array<double, 3> at{points.x[i], points.y[i], points.z[i]};
        for (std::size_t k = 0; k < at.size(); ++k) {
            least[k] = std::min(least[k], at[k]);
            most[k] = std::max(most[k], at[k]);
        }
        square = std::max(square, at[0] * at[0] + at[1] * at[1] + at[2] * at[2]);
    }
    return Place::within(least, most, std::sqrt(square));
}

int nodesOf(const Panels& panels) {
    int nodes = OrderLadder::nodesOf(panels.inner);
    for (int i = 0; i < panels.gradings; ++i)
        nodes += 2 * OrderLadder::nodesOf(panels.outer[static_cast<std::size_t>(i)]);
    return nodes;
}

/// The lines that are integrated along: the edges, or one for all.
std::span<const Panels> panelsOf(const PointOrders& orders) {
    return std::span(orders.edges).first(orders.formula == Formula::lines ? 1 : 4);
}

int evaluationsOf(const PointOrders& orders) {
    int nodes = 0;
    for (const Panels& panels : panelsOf(orders)) nodes += nodesOf(panels);
    return orders.formula == Formula::lines ? OrderLadder::nodesOf(orders.across) * nodes : nodes;
}

template <class T>
void requireRules(const Rules<T>& rules, const PointOrders& orders) {
    if (orders.formula == Formula::lines) rules.require(orders.across);
    for (const Panels& panels : panelsOf(orders)) {
        rules.require(panels.inner);
        for (int i = 0; i < panels.gradings; ++i)
            rules.require(panels.outer[static_cast<std::size_t>(i)]);
    }
}

}  // namespace

void findPlace(GroupPoints& points) {
    Mask all;
    all.fill(true);
    points.place = placeOf(points, all);
}

template <class T>
int RectangleField<T>::compute(const GroupPoints& points, const ErrorLimit& limit,
                               GroupValues<T>& values) const {
    const auto computePart = [&](Formula formula, const Place& place, GroupValues<T>& to) {
        const PointOrders chosen =
            orders.choose(formula, place.extent, static_cast<float>(limit.at(place.reach)));
        requireRules(rules, chosen);
        groupFields().in<T>()(rules.table(), face, chosen, points, to);
        return evaluationsOf(chosen);
    };
    const Extent& extent = points.place.extent;
    if (!face.hasBeside(extent.x.most, extent.y.most))
        return computePart(Formula::edges, points.place, values);

    Mask beside{};
    for (std::size_t i = 0; i < groupSize; ++i)
        beside[i] = face.hasBeside(points.x[i], points.y[i]);
    const auto count = std::count(beside.begin(), beside.end(), true);
    if (count == 0) return computePart(Formula::edges, points.place, values);
    if (count == groupSize) return computePart(face.besideFormula(), points.place, values);

    Mask near;
    std::transform(beside.begin(), beside.end(), near.begin(), [](bool is) { return !is; });
    GroupValues<T> others;
    const int evaluations = computePart(Formula::edges, placeOf(points, near), values) +
                            computePart(face.besideFormula(), placeOf(points, beside), others);
    for (std::size_t i = 0; i < groupSize; ++i) {
        if (near[i]) continue;
        values.re[i] = others.re[i];
        values.im[i] = others.im[i];
    }
    return evaluations;
}

template class RectangleField<float>;
template class RectangleField<double>;

}  // namespace pistonfield
