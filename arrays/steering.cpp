// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/steering.h"

#include <cmath>

#include "arrays/arrayRequests.h"
#include "arrays/elementPressures.h"
#include "arrays/vectors.h"
#include "field/Watch.h"

namespace pistonfield {

std::vector<std::complex<double>> focusWeights(const std::vector<Element>& elements,
                                               const Wave& wave, const Pose::Vector& focus,
                                               double tolerance, bool behind, Baffle baffle,
                                               const Conduct& conduct) {
    const PointList point{{focus[0]}, {focus[1]}, {focus[2]}};
    std::vector<std::complex<double>> weights =
        elementPressures(elements, wave, point, tolerance, behind, baffle, conduct);
    for (std::complex<double>& weight : weights) weight = std::polar(1.0, -std::arg(weight));
    return weights;
}

Pose::Vector directionOf(double azimuth, double elevation) noexcept {
    return {std::sin(azimuth) * std::cos(elevation), std::sin(elevation),
            std::cos(azimuth) * std::cos(elevation)};
}

std::vector<std::complex<double>> planeWaveWeights(const std::vector<Element>& elements,
                                                   const Wave& wave, const Pose::Vector& direction,
                                                   const Conduct& conduct) {
    const Watch watch(conduct);
    watch.look();
    requireElements(elements);
    if (!(std::isfinite(wave.wavenumber) && wave.wavenumber > 0))
        throw InvalidRequest("wavenumber", "must be a wavenumber above 0");
    const double length = lengthOf(direction);
    if (!(std::isfinite(length) && length > 0))
        throw InvalidRequest("direction", "must be of a length above 0");
    const Vector3 along = unitOf(direction);
    std::vector<std::complex<double>> weights;
    weights.reserve(elements.size());
    for (const Element& element : elements) {
        watch.look();
        weights.push_back(std::polar(1.0, -wave.wavenumber * dot(along, element.pose.centre)));
    }
    return weights;
}

}  // namespace pistonfield
