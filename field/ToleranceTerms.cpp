// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ToleranceTerms.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <numbers>
#include <string>

#include "field/errorLimits.h"
#include "field/samplePoints.h"
#include "method/RectangleField.h"

namespace pistonfield {

namespace {

using Index = ToleranceTerms::Index;

/// The pressure at some points in double precision, within a tolerance of the local amplitude.
std::vector<std::complex<double>> pressureAt(const Face& face, const Positions& positions,
                                             const std::vector<Index>& indices, double tolerance) {
    const RectangleField<double> field(face);
    std::vector<std::complex<double>> values;
    GroupPoints points;
    GroupValues<double> group;
    for (std::size_t first = 0; first < indices.size(); first += groupSize) {
        const std::size_t count = std::min<std::size_t>(groupSize, indices.size() - first);
        for (std::size_t i = 0; i < groupSize; ++i) {
            const auto [x, y, z] = positions.at(indices[first + std::min(i, count - 1)]);
            points.x[i] = std::abs(x);
            points.y[i] = std::abs(y);
            points.z[i] = std::abs(z);
        }
        findPlace(points, face.k);
        field.compute(points, localLimit(face, tolerance), group);
        for (std::size_t i = 0; i < count; ++i) values.emplace_back(group.re[i], group.im[i]);
    }
    return values;
}

void requireSide(const char* name, double side, const Wave& wave) {
    const std::string reason = whySideIsRefused(side * wave.wavenumber / (2 * std::numbers::pi));
    if (!reason.empty()) throw InvalidRequest(name, reason);
}

double distanceOf(const std::array<double, 3>& position) {
    return std::hypot(position[0], position[1], position[2]);
}

}  // namespace

ToleranceTerms::ToleranceTerms(const Request& request)
    : tolerance(*request.tolerance),
      sizes(request.lattice.sizes),
      thePositions(request),
      theFace(faceOf(request.piston, request.wave)) {
    requireSide("width", request.piston.width, request.wave);
    requireSide("height", request.piston.height, request.wave);
    requireReach(thePositions.reach(), request);
    if (!request.behind)
        if (const auto index = thePositions.firstBehind())
            refuseBehind(thePositions.at(*index), "the piston", request);
    if (!isLocal()) preview = previewOf();
    const double rounding = roundingOf(request.inSingle());
    share = tolerance.value - rounding;
    theLimit = limitOf(share);
    if (!(tolerance.value >= 2 * rounding && rounding >= 0)) refuseTolerance(2 * rounding, request);
}

std::vector<Index> ToleranceTerms::coarsePoints() const { return samplePoints(sizes, false); }

std::vector<Index> ToleranceTerms::fewPoints() const {
    // Their numbers have no common divisor with those of the points along a direction, so that some
    // are at each end.
    constexpr std::size_t every = 19;
    const std::vector<Index> points = coarsePoints();
    std::vector<Index> few;
    for (std::size_t i = 0; i < points.size(); i += every) few.push_back(points[i]);
    return few;
}

std::vector<Index> ToleranceTerms::finePoints() const { return samplePoints(sizes, true); }

auto ToleranceTerms::previewOf() const -> Preview {
    constexpr double error = 1e-10;
    const std::vector<Index> indices = coarsePoints();
    const auto values = pressureAt(theFace, thePositions, indices, error);
    Preview seen;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double amplitude = localAmplitude(theFace, distanceOf(thePositions.at(indices[i])));
        seen.amplitude = std::max(seen.amplitude, amplitude);
        seen.largest = std::max(seen.largest, std::abs(values[i]) - error * amplitude);
    }
    return seen;
}

double ToleranceTerms::unitAt(const Index& index) const {
    return isLocal() ? localAmplitude(theFace, distanceOf(thePositions.at(index)))
                     : preview.largest;
}

Accuracy ToleranceTerms::measure(const std::vector<std::complex<double>>& values) const {
    const std::vector<Index> indices = finePoints();
    const auto finer = pressureAt(theFace, thePositions, indices, 1e-14);
    Accuracy measured{tolerance.value, 0, 0, static_cast<std::int64_t>(indices.size())};
    for (std::size_t i = 0; i < indices.size(); ++i) {
        const double error = std::abs(values[i] - finer[i]) / unitAt(indices[i]);
        if (!(error <= measured.error) && !std::isnan(measured.error)) measured.error = error;
    }
    return measured;
}

ErrorLimit ToleranceTerms::limitOf(double share) const {
    return isLocal() ? localLimit(theFace, share) : ErrorLimit{share * preview.largest};
}

double ToleranceTerms::roundingOf(bool inSingle) const {
    const double integrals = roundingOfIntegrals(theFace, inSingle);
    const double reach = thePositions.reach();
    if (isLocal()) return integrals + roundingOfPhase * reach;
    // A lattice's positions are sums, which are rounded at the points near the face as far away.
    // Those of a list are what they are.
    const double largestShift =
        thePositions.areSums() ? reach * preview.amplitude : std::min(reach, farAmplitude(theFace));
    return (integrals * preview.amplitude + roundingOfPhase * largestShift) / preview.largest;
}

}  // namespace pistonfield
