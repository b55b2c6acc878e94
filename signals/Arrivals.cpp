// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "signals/Arrivals.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>

#include "field/Positions.h"
#include "parallel/threads.h"

namespace pistonfield {

namespace {

/// The least and the largest distance of a face's points.
struct Distances {
    double least;
    double most;
};

Distances distancesOf(const RectangularPiston& piston, const Pose::Vector& place) noexcept {
    const double x = std::abs(place[0]);
    const double y = std::abs(place[1]);
    const double halfWidth = piston.width / 2;
    const double halfHeight = piston.height / 2;
    return {std::hypot(std::max(0.0, x - halfWidth), std::max(0.0, y - halfHeight), place[2]),
            std::hypot(x + halfWidth, y + halfHeight, place[2])};
}

Distances distancesOf(const Circle& circle, const Pose::Vector& place) noexcept {
    const double across = std::hypot(place[0] - circle.centre[0], place[1] - circle.centre[1]);
    return {std::hypot(std::max(0.0, across - circle.radius), place[2]),
            std::hypot(across + circle.radius, place[2])};
}

/// A face in its frame.
struct PlacedFace {
    Pose pose;
    RectangularPiston piston;
    bool isRound;
    Circle about;  ///< all of an outline
    double delay;

    Distances from(const Pose::Vector& point) const noexcept {
        const Pose::Vector place = pose.placeOf(point);
        return isRound ? distancesOf(about, place) : distancesOf(piston, place);
    }
};

std::vector<PlacedFace> facesOf(const Request& request, const std::vector<double>& delays) {
    if (!request.array) return {{{}, request.piston, false, {}, 0}};
    std::vector<PlacedFace> faces;
    faces.reserve(request.array->elements.size());
    for (const auto& [piston, pose, outline] : request.array->elements) {
        const double delay = delays.empty() ? 0 : delays[faces.size()];
        faces.push_back(
            {pose, piston, outline != nullptr, outline ? circleAbout(*outline) : Circle{}, delay});
    }
    return faces;
}

}  // namespace

Arrivals::Arrivals(const Request& request, const std::vector<double>& delays,
                   const Slowness& slowness)
    : each(static_cast<std::size_t>(request.lattice.box().points())) {
    const Positions positions(request);
    const std::vector<PlacedFace> faces = facesOf(request, delays);
    constexpr double infinite = std::numeric_limits<double>::infinity();
    std::vector<double> distances(each.size(), infinite);
    const auto [sizeX, sizeY, sizeZ] = request.lattice.sizes;
    const std::array<std::int64_t, 2> sizes{sizeX, sizeY};
    const auto findSome = [&](std::int64_t first, std::int64_t last) {
        for (std::int64_t i = first; i < last; ++i) {
            const auto point =
                positions.at({i % sizes[0], i / sizes[0] % sizes[1], i / sizes[0] / sizes[1]});
            Arrival arrival{infinite, -infinite};
            double& nearest = distances[static_cast<std::size_t>(i)];
            for (const PlacedFace& face : faces) {
                const Distances from = face.from(point);
                arrival.first = std::min(arrival.first, from.least * slowness.least + face.delay);
                arrival.last = std::max(arrival.last, from.most * slowness.most + face.delay);
                nearest = std::min(nearest, from.least);
            }
            each[static_cast<std::size_t>(i)] = arrival;
        }
    };
    const auto points = static_cast<std::int64_t>(each.size());
    constexpr std::int64_t aTurn = 256;
    inParallel(points, aTurn, points > aTurn ? threadCount() : 1, findSome);

    total = each.front();
    for (const Arrival& arrival : each)
        total = {std::min(total.first, arrival.first), std::max(total.last, arrival.last)};
    least = *std::min_element(distances.begin(), distances.end());
}

}  // namespace pistonfield
