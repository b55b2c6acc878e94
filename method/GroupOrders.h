// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <bitset>
#include <limits>
#include <optional>
#include <span>

#include "method/GroupField.h"
#include "method/Orders.h"

namespace pistonfield {

/// Finds where a group's points lie, of any points.
void findPlace(GroupPoints& points, double k);

/// The largest error of |p| at a point at the distance R from the face's centre: the lesser one of
/// `fixed` and local/max(R, nearest). Distances are times the wavenumber.
struct ErrorLimit {
    double fixed;
    double local = std::numeric_limits<double>::infinity();
    double nearest = 0;

    double at(double distance) const {
        return std::min(fixed, local / std::max(distance, nearest));
    }
};

/// Some of a group's points, one bit for each.
using Members = std::bitset<groupSize>;

/// Points of a group that are computed in one go.
struct GroupPart {
    Members members;
    PointOrders orders;
    int evaluations;  ///< of the integrand at each of them
};

/// The lines that are integrated along: the edges, or one for all.
inline std::span<const Panels> panelsOf(const PointOrders& orders) {
    return std::span(orders.edges).first(orders.formula == Formula::lines ? 1 : 4);
}

/// Does a work with each rung of some orders.
template <class Work>
void forEachRung(const PointOrders& orders, Work work) {
    if (orders.formula == Formula::lines) work(orders.across);
    for (const Panels& panels : panelsOf(orders)) {
        work(panels.inner);
        for (int i = 0; i < panels.gradings; ++i) work(panels.outer[i]);
    }
}

/// Chooses formulas and orders for groups of points about a rectangular face.
class GroupOrders {
  public:
    /// @throws std::bad_alloc
    explicit GroupOrders(const Face& face) : face(face), orders(face.scaled()) {}

    /// Does a work with the parts of a group, whose place is known: each of its points is in one of
    /// them.
    /// @return evaluations of the integrand at each of the points: where they differ, and so take
    ///     several turns, of all turns
    template <class Work>
    int inParts(const GroupPoints& points, const ErrorLimit& limit, Work work) const {
        const auto from = [&](Formula formula, const Place& place, Members members) {
            return workOn(partOf(formula, place, members, limit), points, limit, work);
        };
        const Members beside = besideOf(points);
        if (beside.none()) return from(Formula::edges, points.place, Members().set());
        const Formula besideFormula = face.besideFormula();
        if (beside.all()) return from(besideFormula, points.place, beside);
        return from(Formula::edges, placeOf(points, ~beside), ~beside) +
               from(besideFormula, placeOf(points, beside), beside);
    }

  private:
    template <class Work>
    int workOn(const GroupPart& part, const GroupPoints& points, const ErrorLimit& limit,
               Work& work) const {
        if (const auto halves = halvesOf(part, points, limit))
            return workOn((*halves)[0], points, limit, work) +
                   workOn((*halves)[1], points, limit, work);
        work(part);
        return part.evaluations;
    }

    /// The points beside the face.
    Members besideOf(const GroupPoints& points) const;

    Place placeOf(const GroupPoints& points, Members members) const;

    GroupPart partOf(Formula formula, const Place& place, Members members,
                     const ErrorLimit& limit) const;

    /// A part cut in two where that takes fewer evaluations.
    std::optional<std::array<GroupPart, 2>> halvesOf(const GroupPart& part,
                                                     const GroupPoints& points,
                                                     const ErrorLimit& limit) const;

    Face face;
    Orders orders;
};

}  // namespace pistonfield
