// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "lanes/slowReduction.h"

#include <cmath>

namespace lanes {

ReducedAngle slowReduction(double angle) noexcept {
    // In extended precision, so that the rest has one rounding.
    const long double sine = std::sin(static_cast<long double>(angle));
    const long double cosine = std::cos(static_cast<long double>(angle));
    const auto rest = [](long double sineOfRest) {
        return static_cast<double>(std::asin(sineOfRest));
    };
    if (std::fabs(cosine) >= std::fabs(sine))
        return cosine > 0 ? ReducedAngle{rest(sine), 0} : ReducedAngle{rest(-sine), 2};
    return sine > 0 ? ReducedAngle{rest(-cosine), 1} : ReducedAngle{rest(cosine), 3};
}

}  // namespace lanes
