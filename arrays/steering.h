// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <complex>
#include <vector>

#include "field/Plan.h"

namespace pistonfield {

/// Weights of amplitude 1 with which all elements arrive at a point with the phase 0: the field
/// there is the sum of the magnitudes of the elements' own. The phases are those of the elements'
/// pressures, not of the distances, with an error of up to `tolerance` relative to the local
/// amplitude.
/// @param behind,baffle,conduct see `elementPressures`
/// @throws InvalidRequest; Stopped; std::bad_alloc
std::vector<std::complex<double>> focusWeights(const std::vector<Element>& elements,
                                               const Wave& wave, const Pose::Vector& focus,
                                               double tolerance = 1e-6, bool behind = false,
                                               Baffle baffle = Baffle::rigid,
                                               const Conduct& conduct = {});

/// The direction at an azimuth, from +z towards +x, and an elevation, from there towards +y, in
/// radians: (sin(azimuth)cos(elevation), sin(elevation), cos(azimuth)cos(elevation)).
Pose::Vector directionOf(double azimuth, double elevation) noexcept;

/// Weights of amplitude 1 with the phases of a plane wave at the elements' centres, which goes in a
/// direction: exp(-j*k*direction*centre). The elements' far fields add up in that direction.
/// @param direction of any length above 0
/// @param conduct   whose progress is told 0 points, so that it can stop
/// @throws InvalidRequest of `direction`, `wavenumber`; Stopped
std::vector<std::complex<double>> planeWaveWeights(const std::vector<Element>& elements,
                                                   const Wave& wave, const Pose::Vector& direction,
                                                   const Conduct& conduct = {});

}  // namespace pistonfield
