// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <vector>

#include "field/Request.h"

namespace pistonfield {

/// The request for an array's field at points, within a tolerance of the local amplitude in double
/// precision, which is checked.
/// @param weights one or several for each element
/// @throws InvalidRequest; std::bad_alloc
Request localRequest(const std::vector<Element>& elements,
                     std::vector<std::complex<double>> weights, const Wave& wave,
                     const PointList& points, double tolerance, bool behind,
                     Baffle baffle = Baffle::rigid);

/// @throws InvalidRequest where they are none or one is no element; std::bad_alloc
void requireElements(const std::vector<Element>& elements);

/// @throws InvalidRequest of `weights` unless there is one for each element, all are finite and one
///     is not 0
void requireWeights(const std::vector<std::complex<double>>& weights,
                    const std::vector<Element>& elements);

}  // namespace pistonfield
