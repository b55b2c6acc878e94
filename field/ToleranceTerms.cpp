// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ToleranceTerms.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <limits>
#include <numbers>
#include <sstream>

#include "method/RectangleField.h"

namespace pistonfield {

namespace {

using Index = ToleranceTerms::Index;

Face faceOf(const Request& request) {
    return {request.piston.width / 2, request.piston.height / 2, request.wave.wavenumber};
}

/// k*A/(2*pi), what |p| times k*R is far away, times k.
double farAmplitude(const Face& face) {
    const auto [halfX, halfY, one] = face.scaled();
    return 2 * halfX * halfY / std::numbers::pi;
}

/// The distance of the face's centre below which the local amplitude does not grow, times k.
double nearestReach(const Face& face) { return face.k * std::sqrt(face.halfX * face.halfY) / 2; }

/// What errors are relative to with `Tolerance::Of::local`.
double localAmplitude(const Face& face, const std::array<double, 3>& position) {
    const double distance = face.k * std::hypot(position[0], position[1], position[2]);
    return std::min(1.0, farAmplitude(face) / std::max(distance, nearestReach(face)));
}

/// An error within a fraction of the local amplitude.
ErrorLimit localLimit(const Face& face, double fraction) {
    return {fraction, fraction * farAmplitude(face), nearestReach(face)};
}

/// Indices spread over a lattice, its ends among them, as many along each direction that has
/// several: 343 at the most, or 512 where they are `finer`.
std::vector<Index> spreadOver(const Index& sizes, bool finer) {
    const auto directions = std::count_if(sizes.begin(), sizes.end(), [](auto n) { return n > 1; });
    constexpr std::int64_t most[2][4]{{1, 343, 18, 7}, {1, 512, 22, 8}};
    const auto count = [&](std::size_t i) {
        return std::min(sizes[i], most[finer ? 1 : 0][directions]);
    };
    // Of the largest lattices the double of a size is near enough.
    const auto at = [&](std::size_t i, std::int64_t n) -> std::int64_t {
        const auto last = static_cast<double>(sizes[i] - 1);
        const auto steps = static_cast<double>(std::max<std::int64_t>(1, count(i) - 1));
        return std::min<std::int64_t>(sizes[i] - 1,
                                      std::llround(last * static_cast<double>(n) / steps));
    };
    std::vector<Index> indices;
    for (std::int64_t z = 0; z < count(2); ++z)
        for (std::int64_t y = 0; y < count(1); ++y)
            for (std::int64_t x = 0; x < count(0); ++x)
                indices.push_back(Index{at(0, x), at(1, y), at(2, z)});
    return indices;
}

/// The pressure at some points in double precision, within a tolerance of the local amplitude.
std::vector<std::complex<double>> pressureAt(const Face& face, const Positions& positions,
                                             const std::vector<Index>& indices, double tolerance) {
    const RectangleField<double> field(face);
    std::vector<std::complex<double>> values;
    GroupPoints points;
    GroupValues<double> group;
    for (const Index& index : indices) {
        const auto [x, y, z] = positions.at(index);
        std::fill_n(points.x, groupSize, std::abs(x));
        std::fill_n(points.y, groupSize, std::abs(y));
        std::fill_n(points.z, groupSize, std::abs(z));
        findPlace(points, face.k);
        field.compute(points, localLimit(face, tolerance), group);
        values.emplace_back(group.re[0], group.im[0]);
    }
    return values;
}

/// Beyond these there are no orders, or no digits in single precision.
void requireSides(const Request& request) {
    constexpr double least = 1e-5;
    constexpr double most = 2000;
    const auto requireSide = [&](const char* name, double side) {
        const double wavelengths = side * request.wave.wavenumber / (2 * std::numbers::pi);
        if (wavelengths >= least && wavelengths <= most) return;
        std::ostringstream text;
        text << wavelengths << " wavelengths are not within the " << least << " to " << most
             << " for which a tolerance is kept";
        throw InvalidRequest(name, text.str());
    };
    requireSide("width", request.piston.width);
    requireSide("height", request.piston.height);
}

const char* fieldOfPoints(const Request& request) {
    return request.points ? "points" : "transform";
}

/// Beyond this products overflow in single precision, and a phase has no digits left in double.
void requireReach(const Positions& positions, const Request& request) {
    constexpr double most = 1e9;
    if (positions.reach() <= most) return;
    throw InvalidRequest(
        fieldOfPoints(request),
        "there are points more than 1e9/wavenumber away, which is too far for a tolerance");
}

void requireBefore(const Positions& positions, const Request& request) {
    const auto index = positions.firstBehind();
    if (!index) return;
    const auto position = positions.at(*index);
    std::ostringstream text;
    text.precision(6);
    text << "the point (";
    for (std::size_t i = 0; i < position.size(); ++i) text << (i == 0 ? "" : ", ") << position[i];
    text << ") lies behind the piston";
    throw InvalidRequest(fieldOfPoints(request), text.str());
}

double unitRoundoff(bool inSingle) {
    return (inSingle ? std::numeric_limits<float>::epsilon()
                     : std::numeric_limits<double>::epsilon()) /
           2;
}

}  // namespace

ToleranceTerms::ToleranceTerms(const Request& request)
    : tolerance(*request.tolerance),
      sizes(request.lattice.sizes),
      thePositions(request),
      theFace(faceOf(request)) {
    requireSides(request);
    requireReach(thePositions, request);
    if (!request.behind) requireBefore(thePositions, request);
    if (!isLocal()) preview = previewOf();
    const double rounding = roundingOf(request.inSingle());
    share = tolerance.value - rounding;
    theLimit = limitOf(share);
    if (!(tolerance.value >= 2 * rounding && rounding >= 0))
        refuse(2 * rounding, request.inSingle());
}

std::vector<Index> ToleranceTerms::coarsePoints() const { return spreadOver(sizes, false); }

std::vector<Index> ToleranceTerms::fewPoints() const {
    // Their numbers have no common divisor with those of the points along a direction, so that some
    // are at each end.
    constexpr std::size_t every = 19;
    const std::vector<Index> points = coarsePoints();
    std::vector<Index> few;
    for (std::size_t i = 0; i < points.size(); i += every) few.push_back(points[i]);
    return few;
}

std::vector<Index> ToleranceTerms::finePoints() const { return spreadOver(sizes, true); }

auto ToleranceTerms::previewOf() const -> Preview {
    constexpr double error = 1e-10;
    const std::vector<Index> indices = coarsePoints();
    const auto values = pressureAt(theFace, thePositions, indices, error);
    Preview seen;
    for (std::size_t i = 0; i < values.size(); ++i) {
        const double amplitude = localAmplitude(theFace, thePositions.at(indices[i]));
        seen.amplitude = std::max(seen.amplitude, amplitude);
        seen.largest = std::max(seen.largest, std::abs(values[i]) - error * amplitude);
    }
    return seen;
}

double ToleranceTerms::unitAt(const Index& index) const {
    return isLocal() ? localAmplitude(theFace, thePositions.at(index)) : preview.largest;
}

Accuracy ToleranceTerms::measure(const std::vector<std::complex<double>>& values) const {
    const std::vector<Index> indices = finePoints();
    const auto finer = pressureAt(theFace, thePositions, indices, 1e-14);
    Accuracy measured{tolerance.value, 0, 0, static_cast<std::int64_t>(indices.size())};
    for (std::size_t i = 0; i < indices.size(); ++i) {
        const double error = std::abs(values[i] - finer[i]) / unitAt(indices[i]);
        if (!(error <= measured.error)) measured.error = error;
    }
    return measured;
}

void ToleranceTerms::refuse(double least, bool inSingle) const {
    if (!std::isfinite(least) || least < 0)
        throw InvalidRequest("tolerance",
                             "there is next to no pressure at the points that were looked at; "
                             "take a tolerance of the local amplitude");
    std::ostringstream text;
    text.precision(2);
    text << tolerance.value << " is below the " << least << " that "
         << (inSingle ? "single" : "double") << " precision keeps of this field";
    throw InvalidRequest("tolerance", text.str());
}

ErrorLimit ToleranceTerms::limitOf(double share) const {
    return isLocal() ? localLimit(theFace, share) : ErrorLimit{share * preview.largest};
}

double ToleranceTerms::roundingOf(bool inSingle) const {
    const double perRadian = theFace.besideFormula() == Formula::lines ? 0.3 : 0.15;
    const double integrals =
        unitRoundoff(inSingle) * (32 + perRadian * theFace.k * (theFace.halfX + theFace.halfY));
    const double phase = 4 * unitRoundoff(false);
    const double reach = thePositions.reach();
    if (isLocal()) return integrals + phase * reach;
    // A lattice's positions are sums, which are rounded at the points near the face as far away.
    // Those of a list are what they are.
    const double largestShift =
        thePositions.areSums() ? reach * preview.amplitude : std::min(reach, farAmplitude(theFace));
    return (integrals * preview.amplitude + phase * largestShift) / preview.largest;
}

}  // namespace pistonfield
