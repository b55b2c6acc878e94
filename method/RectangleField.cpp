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

/// Where some of a group's points lie.
Place placeOf(const GroupPoints& points, Members members, double k) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    std::array<double, 3> least{infinity, infinity, infinity};
    std::array<double, 3> most{};
    double square = 0;
    for (std::size_t i = 0; i < groupSize; ++i) {
        if (!members[i]) continue;
        const std::array<double, 3> at{points.x[i], points.y[i], points.z[i]};
        for (std::size_t axis = 0; axis < at.size(); ++axis) {
            least[axis] = std::min(least[axis], at[axis]);
            most[axis] = std::max(most[axis], at[axis]);
        }
        square = std::max(square, at[0] * at[0] + at[1] * at[1] + at[2] * at[2]);
    }
    return Place::within(least, most, std::sqrt(square), k);
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
    for (const Panels& panels : panelsOf(orders)) rules.require(panels);
}

}  // namespace

void findPlace(GroupPoints& points, double k) {
    points.place = placeOf(points, Members().set(), k);
}

/// Points that are computed in one go.
template <class T>
struct RectangleField<T>::Part {
    Members members;
    PointOrders orders;
    int evaluations;
};

template <class T>
auto RectangleField<T>::partOf(Formula formula, const Place& place, Members members,
                               const ErrorLimit& limit) const -> Part {
    const PointOrders chosen =
        orders.choose(formula, place.extent, static_cast<float>(limit.at(place.reach)));
    return {members, chosen, evaluationsOf(chosen)};
}

template <class T>
int RectangleField<T>::computePart(const Part& part, const GroupPoints& points,
                                   const ErrorLimit& limit, GroupValues<T>& values) const {
    // Points far apart, as in a coarse lattice, take fewer evaluations in two turns than in one, or
    // have no bound together.
    constexpr int many = 96;
    if (part.evaluations > many && part.members.count() > 1) {
        Members halves[2];
        for (std::size_t i = 0, seen = 0; i < groupSize; ++i)
            if (part.members[i]) halves[2 * seen++ / part.members.count()].set(i);
        const auto half = [&](Members members) {
            return partOf(part.orders.formula, placeOf(points, members, face.k), members, limit);
        };
        const Part first = half(halves[0]);
        const Part second = half(halves[1]);
        if (first.evaluations + second.evaluations < part.evaluations)
            return computePart(first, points, limit, values) +
                   computePart(second, points, limit, values);
    }
    requireRules(rules, part.orders);
    const auto computeAll = groupFields().in<T>().compute;
    if (part.members.all()) {
        computeAll(rules.table(), face, part.orders, points, values);
        return part.evaluations;
    }
    GroupValues<T> all;
    computeAll(rules.table(), face, part.orders, points, all);
    for (std::size_t i = 0; i < groupSize; ++i) {
        if (!part.members[i]) continue;
        values.re[i] = all.re[i];
        values.im[i] = all.im[i];
    }
    return part.evaluations;
}

template <class T>
int RectangleField<T>::compute(const GroupPoints& points, const ErrorLimit& limit,
                               GroupValues<T>& values) const {
    const auto computeAt = [&](Formula formula, const Place& place, Members members) {
        return computePart(partOf(formula, place, members, limit), points, limit, values);
    };
    const Members all = Members().set();
    const Extent& extent = points.place.extent;
    if (!face.scaled().hasBeside(extent.x.most, extent.y.most))
        return computeAt(Formula::edges, points.place, all);

    Members beside;
    for (std::size_t i = 0; i < groupSize; ++i)
        beside[i] = face.hasBeside(points.x[i], points.y[i]);
    if (beside.none()) return computeAt(Formula::edges, points.place, all);
    if (beside.all()) return computeAt(face.besideFormula(), points.place, all);
    return computeAt(Formula::edges, placeOf(points, ~beside, face.k), ~beside) +
           computeAt(face.besideFormula(), placeOf(points, beside, face.k), beside);
}

template class RectangleField<float>;
template class RectangleField<double>;

}  // namespace pistonfield
