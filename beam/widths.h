// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <functional>

#include "beam/Beam.h"
#include "beam/BeamField.h"
#include "beam/Region.h"

namespace pistonfield {

/// A line through a point.
struct Line {
    Vector3 place{};
    Vector3 direction{};  ///< of length 1
    Range range{};        ///< how far it goes

    Vector3 at(double way) const noexcept { return plus(place, way, direction); }
};

/// How far one may go from a place to the next one without passing over a dip or a lobe.
using StepAt = std::function<double(const Vector3& place)>;

using BeamReaches = std::array<BeamReach, beamLevels.size()>;

/// How far from a point, backwards and forwards along each line, |p| first falls by each of
/// `beamLevels`. The lines are gone along in steps, and where a step leads below a level the place
/// is bracketed.
/// @param lines through one point
/// @param value |p| at the point, which levels are relative to
std::array<BeamReaches, 3> reachesAlong(const BeamField& field, const std::array<Line, 3>& lines,
                                        double value, const StepAt& stepAt);

}  // namespace pistonfield
