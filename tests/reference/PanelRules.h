// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

#include "reference/Legendre.h"

namespace reference {

/// The Gauss-Legendre rules that panels are integrated by, of growing orders, made once.
/// @param step from 0 to mostPanelRules - 1
const Rule& panelRule(std::size_t step);
inline constexpr std::size_t mostPanelRules = 21;

/// The largest `phase` of `panelRuleFor`.
inline constexpr double largestPanelPhase = 40;

/// The step of the shortest of these rules that should integrate exp(j*phase*x) * g(x) over [-1, 1]
/// to about 1e-21 of its size: g is analytic and of moderate size within the ellipse with foci +-1
/// and semi-axes of sum rho > 2, the exponential there at most exp(phase * (rho - 1/rho) / 2).
std::size_t panelRuleFor(double rho, double phase);

}  // namespace reference
