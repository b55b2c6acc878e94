// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/errorLimits.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <sstream>

namespace pistonfield {

namespace {

double unitRoundoff(bool inSingle) {
    return (inSingle ? std::numeric_limits<float>::epsilon()
                     : std::numeric_limits<double>::epsilon()) /
           2;
}

/// The distance of the face's centre below which the local amplitude does not grow, times k.
double nearestReach(const Face& face) { return face.k * std::sqrt(face.halfX * face.halfY) / 2; }

}  // namespace

Face faceOf(const RectangularPiston& piston, const Wave& wave) {
    return {piston.width / 2, piston.height / 2, wave.wavenumber};
}

double farAmplitude(const Face& face) {
    const auto [halfX, halfY, one] = face.scaled();
    return 2 * halfX * halfY / std::numbers::pi;
}

double localAmplitude(const Face& face, double distance) {
    return std::min(1.0, farAmplitude(face) / std::max(face.k * distance, nearestReach(face)));
}

ErrorLimit localLimit(const Face& face, double fraction) {
    return {fraction, fraction * farAmplitude(face), nearestReach(face)};
}

double roundingOfIntegrals(const Face& face, bool inSingle) {
    const double perRadian = face.besideFormula() == Formula::lines ? 0.3 : 0.15;
    return unitRoundoff(inSingle) * (32 + perRadian * face.k * (face.halfX + face.halfY));
}

std::string whySideIsRefused(double wavelengths) {
    constexpr double least = 1e-5;
    constexpr double most = 2000;
    if (wavelengths >= least && wavelengths <= most) return {};
    std::ostringstream text;
    text << wavelengths << " wavelengths are not within the " << least << " to " << most
         << " for which a tolerance is kept";
    return text.str();
}

const char* fieldOfPoints(const Request& request) {
    return request.points ? "points" : "transform";
}

void requireReach(double reach, const Request& request) {
    constexpr double most = 1e9;
    if (reach <= most) return;
    throw InvalidRequest(
        fieldOfPoints(request),
        "there are points more than 1e9/wavenumber away, which is too far for a tolerance");
}

void refuseBehind(const std::array<double, 3>& position, const std::string& piston,
                  const Request& request) {
    std::ostringstream text;
    text.precision(6);
    text << "the point (";
    for (std::size_t i = 0; i < position.size(); ++i) text << (i == 0 ? "" : ", ") << position[i];
    text << ") lies behind " << piston;
    throw InvalidRequest(fieldOfPoints(request), text.str());
}

void refuseTolerance(double least, const Request& request) {
    if (!std::isfinite(least) || least < 0)
        throw InvalidRequest("tolerance",
                             "there is next to no pressure at the points that were looked at; "
                             "take a tolerance of the local amplitude");
    std::ostringstream text;
    text.precision(2);
    text << request.tolerance->value << " is below the " << least << " that "
         << (request.inSingle() ? "single" : "double") << " precision keeps of this field";
    throw InvalidRequest("tolerance", text.str());
}

}  // namespace pistonfield
