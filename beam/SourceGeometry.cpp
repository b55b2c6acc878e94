// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/SourceGeometry.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "arrays/arrangement.h"
#include "arrays/faces.h"

namespace pistonfield {

namespace {

/// How far a coordinate lies beyond a side that is centred on 0.
double beyond(double coordinate, double side) noexcept {
    return std::max(0.0, std::abs(coordinate) - side / 2);
}

double distanceToRectangle(const Element& element, const Vector3& place) noexcept {
    const Vector3 seen = element.pose.placeOf(place);
    return std::hypot(beyond(seen[0], element.piston.width), beyond(seen[1], element.piston.height),
                      seen[2]);
}

}  // namespace

SourceGeometry::SourceGeometry(const Request& request)
    : faces(request.array ? request.array->elements
                          : std::vector<Element>{{request.piston, Pose{}, {}}}),
      drive(request.array ? request.array->weights : std::vector<std::complex<double>>{1}) {
    if (faces.empty()) throw InvalidRequest("elements", "there are none");
    double area = 0;
    centres.reserve(faces.size());
    polygons.resize(faces.size());
    for (std::size_t i = 0; i < faces.size(); ++i) {
        const double part = areaOfFace(faces[i]);
        centres.push_back(centreOfFace(faces[i]));
        if (faces[i].outline) polygons[i].emplace(faces[i]);
        area += part;
        middle = plus(middle, part, centres.back());
    }
    middle = plus({}, 1 / area, middle);
    forward = meanNormal(faces).value_or(faces.front().pose.normal());
    for (const Element& element : faces)
        for (const Vector3& corner : cornersOfFace(element))
            size = std::max(size, 2 * lengthOf(minus(corner, middle)));
}

double SourceGeometry::meanDrive() const noexcept {
    double sum = 0;
    double area = 0;
    for (std::size_t i = 0; i < faces.size(); ++i) {
        sum += areaOfFace(faces[i]) * std::abs(drive[i]);
        area += areaOfFace(faces[i]);
    }
    return sum / area;
}

bool SourceGeometry::isBefore(const Vector3& place) const noexcept {
    return std::all_of(faces.begin(), faces.end(),
                       [&](const Element& element) { return element.pose.placeOf(place)[2] >= 0; });
}

double SourceGeometry::distanceFrom(const Vector3& place) const noexcept {
    double least = HUGE_VAL;
    for (std::size_t i = 0; i < faces.size(); ++i)
        least = std::min(least, polygons[i] ? polygons[i]->distanceToFace(place)
                                            : distanceToRectangle(faces[i], place));
    return least;
}

std::vector<double> SourceGeometry::sortedPlacesAlong(const Vector3& direction) const {
    std::vector<double> places;
    places.reserve(centres.size());
    for (const Vector3& centre : centres) places.push_back(dot(minus(centre, middle), direction));
    std::sort(places.begin(), places.end());
    const double rounding = 1e-6 * size;
    places.erase(std::unique(places.begin(), places.end(),
                             [&](double a, double b) { return b - a <= rounding; }),
                 places.end());
    return places;
}

std::optional<double> SourceGeometry::pitchAlong(const Vector3& direction) const {
    const std::vector<double> places = sortedPlacesAlong(direction);
    if (places.size() < 2 || !areCoplanar(faces)) return std::nullopt;
    const double pitch = (places.back() - places.front()) / static_cast<double>(places.size() - 1);
    for (std::size_t i = 1; i < places.size(); ++i)
        if (std::abs(places[i] - places[i - 1] - pitch) > 1e-3 * pitch) return std::nullopt;
    return pitch;
}

std::size_t SourceGeometry::placesAlong(const Vector3& direction) const {
    return sortedPlacesAlong(direction).size();
}

}  // namespace pistonfield
