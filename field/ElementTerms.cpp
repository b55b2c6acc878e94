// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ElementTerms.h"

#include <algorithm>
#include <cmath>

#include "field/errorLimits.h"
#include "field/samplePoints.h"

namespace pistonfield {

std::vector<ElementTerms::Index> ElementTerms::coarsePoints() const {
    return thinned(samplePoints(theRequest.lattice.sizes, false),
                   std::max(looks.leastPreviewed, looks.mostPreviewed / count));
}

std::vector<ElementTerms::Index> ElementTerms::fewPoints() const {
    return thinned(coarsePoints(), 18);
}

std::vector<ElementTerms::Index> ElementTerms::finePoints() const {
    return thinned(samplePoints(theRequest.lattice.sizes, true),
                   std::max(looks.leastMeasured, looks.mostMeasured / count));
}

double ElementTerms::reachFrom(const std::vector<Pose::Vector>& centres) const {
    const auto bounds = thePositions.bounds();
    const double k = theRequest.wave.wavenumber;
    double square = 0;
    for (std::size_t axis = 0; axis < bounds.size(); ++axis) {
        double farthest = 0;
        for (const Pose::Vector& centre : centres)
            for (const double bound : bounds[axis])
                farthest = std::max(farthest, std::abs(bound - centre[axis]));
        square += farthest * farthest;
    }
    const double distance = k * std::sqrt(square);
    requireReach(std::isfinite(distance) ? distance : HUGE_VAL, theRequest);
    // The positions and the centres are rounded as well.
    double farthest = 0;
    for (const auto& [x, y, z] : centres) farthest = std::max(farthest, std::hypot(x, y, z));
    return std::max(distance, thePositions.reach() + k * farthest);
}

std::optional<std::array<double, 3>> ElementTerms::pointBehind(
    const Pose& pose, const std::array<std::array<double, 2>, 3>& bounds, double rounding) const {
    // Where the box about all points lies before the piston, nobody has to look at each.
    const Pose::Vector normal = pose.normal();
    double least = 0;
    for (std::size_t axis = 0; axis < bounds.size(); ++axis)
        least += std::min((bounds[axis][0] - pose.centre[axis]) * normal[axis],
                          (bounds[axis][1] - pose.centre[axis]) * normal[axis]);
    if (least >= -rounding) return std::nullopt;
    return thePositions.firstBehind(pose, rounding);
}

}  // namespace pistonfield
