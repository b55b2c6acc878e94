// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "method/RectangleField.h"

#include <cstddef>

namespace pistonfield {

template <class T>
void RectangleField<T>::computePart(const GroupPart& part, const GroupPoints& points,
                                    GroupValues<T>& values) const {
    forEachRung(part.orders, [this](Rung rung) { rules.require(rung); });
    const auto computeAll = groupFields().in<T>().compute;
    if (part.members.all()) return computeAll(rules.table(), face, part.orders, points, values);
    GroupValues<T> all;
    computeAll(rules.table(), face, part.orders, points, all);
    for (std::size_t i = 0; i < groupSize; ++i) {
        if (!part.members[i]) continue;
        values.re[i] = all.re[i];
        values.im[i] = all.im[i];
    }
}

template <class T>
int RectangleField<T>::compute(const GroupPoints& points, const ErrorLimit& limit,
                               GroupValues<T>& values) const {
    return groupOrders.inParts(points, limit,
                               [&](const GroupPart& part) { computePart(part, points, values); });
}

template class RectangleField<float>;
template class RectangleField<double>;

}  // namespace pistonfield
