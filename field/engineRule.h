// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "FastNearfield/GaussLegendre.h"
#include "field/Request.h"

namespace pistonfield {

/// Brings a quadrature rule to the one of a request.
template <class T>
void setRule(GaussLegendre<T>& quadrature, const Rule& rule) {
    if (rule.table.empty())
        quadrature.compute(rule.order);
    else
        quadrature.take(rule.order, rule.table.data());
}

}  // namespace pistonfield
