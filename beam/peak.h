// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <functional>
#include <vector>

#include "beam/Beam.h"
#include "beam/BeamField.h"
#include "beam/Samples.h"

namespace pistonfield {

/// What a magnitude at a place is multiplied by: above 0, at most 1.
using PlaceFactor = std::function<double(const Pose::Vector& place)>;

/// The largest |p|, times a factor, within what the samples span.
///
/// The samples' local maxima of at least half of the largest one are where it may be. Around each
/// of them a stencil of 3 points along each direction moves to its best point; it is half as wide
/// each time, from half a step on. So a peak is found that a sample lies beside, to a thousandth
/// of a step or what the field's uncertainty leaves of that.
/// @throws InvalidRequest of `values` where all samples are 0 or not a number; what the field
///     throws
BeamPeak findPeak(const BeamField& field, const Samples& samples, const PlaceFactor& factor = {});

}  // namespace pistonfield
