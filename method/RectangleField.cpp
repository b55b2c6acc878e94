// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RectangleField.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace pistonfield {

namespace {

using Mask = std::array<bool, groupSize>;

/// Where some of a group's points lie, and how far away the farthest one is.
struct Place {
    Extent extent;
    double reach;
};

/// The extent is wider than the points by more than its rounding.
Place placeOf(const GroupPoints& points, const Mask& mask) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    double x[2]{infinity, 0};
    double y[2]{infinity, 0};
    double z = infinity;
    double square = 0;
    for (std::size_t i = 0; i < groupSize; ++i) {
        if (!mask[i]) continue;
        x[0] = std::min(x[0], points.x[i]);
        x[1] = std::max(x[1], points.x[i]);
        y[0] = std::min(y[0], points.y[i]);
        y[1] = std::max(y[1], points.y[i]);
        z = std::min(z, points.z[i]);
        square = std::max(square, points.x[i] * points.x[i] + points.y[i] * points.y[i] +
                                      points.z[i] * points.z[i]);
    }
    constexpr double wider = 0x1p-22;
    const auto below = [](double v) { return static_cast<float>(v * (1 - wider)); };
    const auto above = [](double v) { return static_cast<float>(v * (1 + wider)); };
    return {{{below(x[0]), above(x[1])}, {below(y[0]), above(y[1])}, below(z)}, std::sqrt(square)};
}

int nodesOf(const Panels& panels) {
    int nodes = OrderLadder::nodesOf(panels.inner);
    for (int i = 0; i < panels.gradings; ++i)
        nodes += 2 * OrderLadder::nodesOf(panels.outer[static_cast<std::size_t>(i)]);
    return nodes;
}

int evaluationsOf(const PointOrders& orders) {
    if (orders.formula == Formula::lines)
        return OrderLadder::nodesOf(orders.across) * nodesOf(orders.edges[0]);
    int nodes = 0;
    for (const Panels& panels : orders.edges) nodes += nodesOf(panels);
    return nodes;
}

}  // namespace

template <class T>
int RectangleField<T>::compute(const GroupPoints& points, const ErrorLimit& limit,
                               GroupValues<T>& values) const {
    Mask beside{};
    for (std::size_t i = 0; i < groupSize; ++i)
        beside[i] = face.hasBeside(points.x[i], points.y[i]);
    const auto computePart = [&](Formula formula, const Mask& mask, GroupValues<T>& to) {
        const Place place = placeOf(points, mask);
        const double tolerance = limit.at(place.reach);
        const PointOrders chosen =
            orders.choose(formula, place.extent, static_cast<float>(tolerance));
        groupFields().in<T>()(rules, face, chosen, points, to);
        return evaluationsOf(chosen);
    };
    const auto count = std::count(beside.begin(), beside.end(), true);
    if (count == 0) {
        Mask all;
        all.fill(true);
        return computePart(Formula::edges, all, values);
    }
    if (count == groupSize) return computePart(face.besideFormula(), beside, values);

    Mask near;
    std::transform(beside.begin(), beside.end(), near.begin(), [](bool is) { return !is; });
    GroupValues<T> others;
    const int evaluations = computePart(Formula::edges, near, values) +
                            computePart(face.besideFormula(), beside, others);
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
