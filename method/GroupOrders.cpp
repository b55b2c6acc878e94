// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/GroupOrders.h"

#include <cmath>

namespace pistonfield {

namespace {

/// Where some of a group's points lie.
Place placeWithin(const GroupPoints& points, Members members, double k) {
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

int evaluationsOf(const PointOrders& orders) {
    int nodes = 0;
    for (const Panels& panels : panelsOf(orders)) nodes += nodesOf(panels);
    return orders.formula == Formula::lines ? OrderLadder::nodesOf(orders.across) * nodes : nodes;
}

/// Whether each rule has a bound.
bool areBounded(const PointOrders& orders) {
    bool bounded = true;
    forEachRung(orders, [&](Rung rung) {
        bounded = bounded && OrderLadder::nodesOf(rung) < OrderLadder::mostNodes;
    });
    return bounded;
}

}  // namespace

void findPlace(GroupPoints& points, double k) {
    points.place = placeWithin(points, Members().set(), k);
}

Members GroupOrders::besideOf(const GroupPoints& points) const {
    Members beside;
    const Extent& extent = points.place.extent;
    if (!face.scaled().hasBeside(extent.x.most, extent.y.most)) return beside;
    for (std::size_t i = 0; i < groupSize; ++i)
        beside[i] = face.hasBeside(points.x[i], points.y[i]);
    return beside;
}

Place GroupOrders::placeOf(const GroupPoints& points, Members members) const {
    return placeWithin(points, members, face.k);
}

GroupPart GroupOrders::partOf(Formula formula, const Place& place, Members members,
                              const ErrorLimit& limit) const {
    const PointOrders chosen =
        orders.choose(formula, place.extent, static_cast<float>(limit.at(place.reach)));
    return {members, chosen, evaluationsOf(chosen)};
}

std::optional<std::array<GroupPart, 2>> GroupOrders::halvesOf(const GroupPart& part,
                                                              const GroupPoints& points,
                                                              const ErrorLimit& limit) const {
    // Points far apart, as in a coarse lattice, take fewer evaluations in two turns than in one. Or
    // they have no bound together, and in a half neither before they are cut once more.
    constexpr int many = 96;
    if (part.evaluations <= many || part.members.count() < 2) return std::nullopt;
    Members halves[2];
    for (std::size_t i = 0, seen = 0; i < groupSize; ++i)
        if (part.members[i]) halves[2 * seen++ / part.members.count()].set(i);
    const auto half = [&](Members members) {
        return partOf(part.orders.formula, placeOf(points, members), members, limit);
    };
    const std::array<GroupPart, 2> parts{half(halves[0]), half(halves[1])};
    const bool fewer = parts[0].evaluations + parts[1].evaluations < part.evaluations;
    if (!fewer && areBounded(part.orders)) return std::nullopt;
    return parts;
}

}  // namespace pistonfield
