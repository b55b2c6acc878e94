// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "method/GroupField.h"
#include "method/GroupOrders.h"
#include "method/Rules.h"

namespace pistonfield {

/// The field of a rectangular piston at any points, within a limit of its error in exact
/// arithmetic. Arithmetic is in T.
template <class T>
class RectangleField {
  public:
    explicit RectangleField(const Face& face) : face(face), groupOrders(face) {}

    /// Computes the pressure at a group's points, whose place is known.
    /// @return evaluations of the integrand at each of the points; see `GroupOrders::inParts`
    /// @throws std::bad_alloc
    int compute(const GroupPoints& points, const ErrorLimit& limit, GroupValues<T>& values) const;

    const GroupOrders& orders() const noexcept { return groupOrders; }

  private:
    void computePart(const GroupPart& part, const GroupPoints& points,
                     GroupValues<T>& values) const;

    Face face;
    GroupOrders groupOrders;
    Rules<T> rules;
};

}  // namespace pistonfield
