// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <vector>

#include "arrays/vectors.h"
#include "beam/BeamField.h"
#include "beam/Region.h"

namespace pistonfield {

/// A curve through the peak, which is at 0.
struct Curve {
    std::function<Vector3(double)> at;
    Range range{};
    double step = 0;  ///< that leads past no lobe
};

/// A local maximum on a curve.
struct CurveLobe {
    double at = 0;
    double value = 0;  ///< |p| there
};

/// The local maxima of |p| on each curve beyond the first minimum on either side of the peak, the
/// largest ones first, 8 at most; those below -60 dB are left out.
/// @param peak |p| at 0
std::vector<std::vector<CurveLobe>> lobesOn(const BeamField& field,
                                            const std::vector<Curve>& curves, double peak);

}  // namespace pistonfield
