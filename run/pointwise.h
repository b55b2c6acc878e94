// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>
#include <type_traits>

#include "field/Plan.h"

namespace run {

/// Computes a box in the precision of the request, the components of a point one after the other.
/// @param values room for box.points() times request().components() complex values
/// @throws as `pistonfield::Plan::compute`
inline void computePointwise(const pistonfield::Plan& plan, const LatticeBox& box, void* values,
                             const pistonfield::Conduct& conduct = {}) {
    const auto compute = [&](auto* parts) {
        const auto stride = static_cast<std::ptrdiff_t>(2 * plan.request().components());
        plan.compute(box,
                     pistonfield::Destination<std::remove_pointer_t<decltype(parts)>>{
                         parts, parts + 1, stride, 2},
                     conduct);
    };
    if (plan.request().inSingle())
        compute(static_cast<float*>(values));
    else
        compute(static_cast<double*>(values));
}

}  // namespace run
