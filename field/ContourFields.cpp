// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/ContourFields.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <numbers>
#include <utility>

namespace pistonfield {

namespace {

/// The distance of the centre below which the local amplitude does not grow.
double nearestOf(const OutlineField& outline) { return std::sqrt(outline.area()) / 4; }

}  // namespace

ContourFields::ContourFields(const Request& request)
    : wave(request.wave),
      baffle(request.baffle),
      withVelocity(request.quantity != Quantity::pressure),
      derivatives(derivativesFor(request.baffle, request.quantity)),
      elements(request.array ? request.array->elements
                             : std::vector<Element>{{request.piston, Pose{}, {}}}) {
    std::map<std::pair<double, double>, std::size_t> rectangles;
    std::map<const Outline*, std::size_t> outlines;
    const auto add = [&](const Outline& outline) {
        fields.push_back(
            std::make_unique<const OutlineField>(outline, wave.wavenumber, wave.attenuation));
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
    const Pose& pose = elements[element].pose;
    const Pose::Vector normal = pose.normal();
    const int evaluations = outlineOf(element).compute(placed(element, places), derivatives, limit,
                                                       work.potentials, work.outline);
    for (std::size_t i = 0; i < groupSize; ++i) {
        values[i] = fieldAt(work.potentials, i, baffle, withVelocity, wave.wavenumber);
        const auto [x, y, z] = values[i].velocity;
        for (std::size_t axis = 0; axis < 3; ++axis)
            values[i].velocity[axis] =
                x * pose.alongWidth[axis] + y * pose.alongHeight[axis] + z * normal[axis];
    }
    return evaluations;
}

int ContourFields::evaluationsOf(std::size_t element, const GroupPlaces& places,
                                 const DecayingLimit& limit, Work& work) const {
    return outlineOf(element).evaluations(placed(element, places), derivatives, limit,
                                          work.outline);
}

}  // namespace pistonfield
