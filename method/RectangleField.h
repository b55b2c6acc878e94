// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <bitset>
#include <limits>

#include "method/GroupField.h"
#include "method/Orders.h"
#include "method/Rules.h"

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

/// The field of a rectangular piston at any points, within a limit of its error in exact
/// arithmetic. Arithmetic is in T.
template <class T>
class RectangleField {
  public:
    explicit RectangleField(const Face& face) : face(face), orders(face.scaled()) {}

    /// Computes the pressure at a group's points, whose place is known.
    /// @return evaluations of the integrand at each of the points: where they differ, and so take
    ///     several turns, of all turns
    /// @throws std::bad_alloc
    int compute(const GroupPoints& points, const ErrorLimit& limit, GroupValues<T>& values) const;

  private:
    struct Part;

    Part partOf(Formula formula, const Place& place, Members members,
                const ErrorLimit& limit) const;
    int computePart(const Part& part, const GroupPoints& points, const ErrorLimit& limit,
                    GroupValues<T>& values) const;

    Face face;
    Orders orders;
    Rules<T> rules;
};

}  // namespace pistonfield
