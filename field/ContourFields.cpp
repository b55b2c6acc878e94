// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ContourFields.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <map>
#include <numbers>
#include <utility>

namespace pistonfield {

namespace {

/// The distance of the centre below which the local amplitude does not grow.
double nearestOf(const OutlineField& outline) { return std::sqrt(outline.area()) / 4; }

/// Bounds of what a field is at most: integrals over the face of the magnitudes of
/// exp(-jkR)/R, or of its derivatives of an order 1 or 2, in the units of p or v.
struct Magnitudes {
    double wavenumber;  ///< b of k = b - ja
    double magnitude;   ///< |k|
    double area;

    /// At distances from all of the face: those of the face's nearest point.
    double far(int order, double nearest) const noexcept {
        if (nearest <= 0) return std::numeric_limits<double>::infinity();
        const double perRadius = 1 / nearest;
        const double ofFirst = magnitude + perRadius;
        const double ofSecond = (magnitude * magnitude + 2 * ofFirst * perRadius) / wavenumber;
        const double perLength = order == 0 ? wavenumber : order == 1 ? ofFirst : ofSecond;
        return area / (2 * std::numbers::pi) * perLength * perRadius;
    }

    /// At a height over the plane: those of a disc of that area about the foot, which has the
    /// largest integrals of what falls with the distance.
    double near(int order, bool isVelocity, double height) const noexcept {
        const double radius = std::sqrt(area / std::numbers::pi);
        if (order == 0) return wavenumber * radius;
        // Of the normal derivative alone 1/R^2 is times z/R: the solid angle.
        if (!isVelocity) return 1 + magnitude * radius;
        if (height <= 0) return std::numeric_limits<double>::infinity();
        const double ratio = radius / height;
        const double logarithm = std::log1p(ratio * ratio);
        if (order == 1) return magnitude * radius + logarithm / 2;
        return (magnitude * (magnitude * radius + logarithm) + 2 / height) / wavenumber;
    }
};

}  // namespace

ContourFields::ContourFields(const Request& request)
    : ContourFields(request,
                    {request.wave.wavenumber, request.wave.attenuation, request.wave.attenuation},
                    derivativesFor(request.baffle, request.quantity)) {}

ContourFields::ContourFields(const Request& request, const WaveBand& band)
    : ContourFields(request, band, Derivatives::potential) {}

ContourFields::ContourFields(const Request& request, const WaveBand& band, Derivatives derivatives)
    : wave{band.wavenumber, band.attenuation},
      baffle(request.baffle),
      withVelocity(request.quantity != Quantity::pressure),
      derivatives(derivatives),
      elements(request.array ? request.array->elements
                             : std::vector<Element>{{request.piston, Pose{}, {}}}) {
    std::map<std::pair<double, double>, std::size_t> rectangles;
    std::map<const Outline*, std::size_t> outlines;
    const auto add = [&](const Outline& outline) {
        fields.push_back(std::make_unique<const OutlineField>(outline, band));
    };
    for (const Element& element : elements) {
        const auto [width, height] = element.piston;
        std::size_t shape = fields.size();
        if (element.outline) {
            shape = outlines.try_emplace(element.outline.get(), shape).first->second;
            if (shape == fields.size()) add(*element.outline);
        } else {
            shape = rectangles.try_emplace({width, height}, shape).first->second;
            if (shape == fields.size()) add(rectangleOutline(width, height));
        }
        shapes.push_back(shape);
    }
}

Pose::Vector ContourFields::centreOf(std::size_t element) const noexcept {
    const Pose& pose = elements[element].pose;
    const auto [x, y] = outlineOf(element).circle().centre;
    Pose::Vector centre = pose.centre;
    for (std::size_t axis = 0; axis < centre.size(); ++axis)
        centre[axis] += x * pose.alongWidth[axis] + y * pose.alongHeight[axis];
    return centre;
}

double ContourFields::localAmplitude(std::size_t element, double distance) const noexcept {
    const OutlineField& outline = outlineOf(element);
    const double far = wave.wavenumber * outline.area() / (2 * std::numbers::pi);
    return std::min(1.0, far / std::max(distance, nearestOf(outline))) *
           std::exp(-wave.attenuation * distance);
}

/// A point in an element's frame, moved to the centre of its circle.
Pose::Vector ContourFields::fromCentre(std::size_t element,
                                       const Pose::Vector& point) const noexcept {
    Pose::Vector place = elements[element].pose.placeOf(point);
    const PlaneVector& centre = outlineOf(element).circle().centre;
    for (std::size_t axis = 0; axis < centre.size(); ++axis) place[axis] -= centre[axis];
    return place;
}

/// @param lead the distance of the centre less the one that the decay is relative to
double ContourFields::excessOf(std::size_t element, double lead) const noexcept {
    const double most = OutlineField::besideRadii * outlineOf(element).circle().radius;
    return std::exp(wave.attenuation * std::min(lead, most));
}

double ContourFields::excessAt(std::size_t element, const Pose::Vector& point) const noexcept {
    const auto [x, y, z] = fromCentre(element, point);
    return excessOf(element, std::hypot(x, y, z) - std::abs(z));
}

double ContourFields::excessWithin(
    std::size_t element, const std::array<std::array<double, 2>, 3>& bounds) const noexcept {
    // On either side of the plane the lead is a convex function, whose largest value is a corner's.
    double lead = 0;
    double leadInPlane = 0;
    bool before = false;
    bool behind = false;
    for (const double atX : bounds[0])
        for (const double atY : bounds[1])
            for (const double atZ : bounds[2]) {
                const auto [x, y, z] = fromCentre(element, {atX, atY, atZ});
                lead = std::max(lead, std::hypot(x, y, z) - std::abs(z));
                leadInPlane = std::max(leadInPlane, std::hypot(x, y));
                (z < 0 ? behind : before) = true;
            }
    return excessOf(element, before && behind ? leadInPlane : lead);
}

DecayingLimit ContourFields::localLimit(std::size_t element, double fraction) const noexcept {
    const OutlineField& outline = outlineOf(element);
    const double k = wave.wavenumber;
    return {{fraction, fraction * k * k * outline.area() / (2 * std::numbers::pi),
             k * nearestOf(outline)},
            true};
}

PlacesInFrame ContourFields::placed(std::size_t element, const GroupPlaces& places) const noexcept {
    const Pose& pose = elements[element].pose;
    const Pose::Vector& c = pose.centre;
    PlacesInFrame placed;
    const auto along = [&](const Pose::Vector& axis, double* to) {
        for (int i = 0; i < groupSize; ++i)
            to[i] = (places.x[i] - c[0]) * axis[0] + (places.y[i] - c[1]) * axis[1] +
                    (places.z[i] - c[2]) * axis[2];
    };
    along(pose.alongWidth, placed.x);
    along(pose.alongHeight, placed.y);
    along(pose.normal(), placed.z);
    return placed;
}

int ContourFields::compute(std::size_t element, const GroupPlaces& places,
                           const DecayingLimit& limit, std::array<PointField, groupSize>& values,
                           Work& work) const {
    return computeInFrame(element, placed(element, places), limit, values, work);
}

int ContourFields::computeInFrame(std::size_t element, const PlacesInFrame& places,
                                  const DecayingLimit& limit,
                                  std::array<PointField, groupSize>& values, Work& work) const {
    const Pose& pose = elements[element].pose;
    const Pose::Vector normal = pose.normal();
    const int evaluations =
        outlineOf(element).compute(places, derivatives, limit, work.potentials, work.outline);
    for (std::size_t i = 0; i < groupSize; ++i) {
        values[i] = fieldAt(work.potentials, i, baffle, withVelocity, wave.wavenumber);
        const auto [x, y, z] = values[i].velocity;
        for (std::size_t axis = 0; axis < 3; ++axis)
            values[i].velocity[axis] =
                x * pose.alongWidth[axis] + y * pose.alongHeight[axis] + z * normal[axis];
    }
    return evaluations;
}

int ContourFields::computeTones(std::size_t element, const GroupPlaces& places,
                                const DecayingLimit& limit, std::span<const EvenTones> tones,
                                std::span<ContourSums::Sum> values, Work& work) const {
    return outlineOf(element).computeTones(placed(element, places), limit, tones, values,
                                           work.outline);
}

int ContourFields::evaluationsOf(std::size_t element, const GroupPlaces& places,
                                 const DecayingLimit& limit, Work& work) const {
    return evaluationsInFrame(element, placed(element, places), limit, work);
}

int ContourFields::evaluationsInFrame(std::size_t element, const PlacesInFrame& places,
                                      const DecayingLimit& limit, Work& work) const {
    return outlineOf(element).evaluations(places, derivatives, limit, work.outline);
}

double ContourFields::largestAt(std::size_t element, double distance,
                                double height) const noexcept {
    const OutlineField& outline = outlineOf(element);
    const double nearest = std::max(height, distance - outline.circle().radius);
    const Magnitudes magnitudes{wave.wavenumber, std::hypot(wave.wavenumber, wave.attenuation),
                                outline.area()};
    const int order = static_cast<int>(withVelocity) + static_cast<int>(baffle != Baffle::rigid);
    return std::min(magnitudes.near(order, withVelocity, height), magnitudes.far(order, nearest)) *
           std::exp(-wave.attenuation * nearest);
}

}  // namespace pistonfield
