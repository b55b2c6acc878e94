// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <vector>

#include "field/Plan.h"

namespace pistonfield {

/// The pressure p of each element that is driven by 1 at points, in double precision and in
/// parallel: point by point those of all elements, with the wave's losses.
/// @param points    in the array's frame
/// @param tolerance the largest error, relative to `Tolerance::Of::local` of the element
/// @param behind    whether points behind an element are asked for; their value is that of the
///     point mirrored in the element's plane
/// @param baffle    about each element, in its own plane
/// @param conduct   whose progress is told 0 points, so that it can stop
/// @throws InvalidRequest, where behind is false also for points behind an element; Stopped;
///     std::bad_alloc
std::vector<std::complex<double>> elementPressures(const std::vector<Element>& elements,
                                                   const Wave& wave, const PointList& points,
                                                   double tolerance, bool behind = false,
                                                   Baffle baffle = Baffle::rigid,
                                                   const Conduct& conduct = {});

}  // namespace pistonfield
