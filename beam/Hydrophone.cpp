// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/Hydrophone.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <utility>

#include "FastNearfield/GaussLegendre.h"
#include "beam/places.h"

namespace pistonfield {

namespace {

using std::numbers::pi;

/// Offsets within a hydrophone's face, and the parts of the face that they stand for.
struct FaceRule {
    std::vector<Vector3> offsets;
    std::vector<double> parts;

    void add(const Hydrophone& hydrophone, double along, double across, double part) {
        offsets.push_back(plus(plus({}, along, hydrophone.along), across, hydrophone.across));
        parts.push_back(part);
    }
};

struct Legendre {
    explicit Legendre(int order)
        : nodes(static_cast<std::size_t>(order)), weights(static_cast<std::size_t>(order)) {
        legendre_compute(order, nodes.data(), weights.data());
    }

    std::vector<double> nodes, weights;
};

/// A rule's order for a length: some nodes beside those that the waves along it need.
int orderOf(double length, const Wave& wave, int refinement) {
    return static_cast<int>(length * wave.wavenumber / 2) + 4 + 3 * refinement;
}

FaceRule ruleOfRectangle(const Hydrophone& hydrophone, const Wave& wave, int refinement) {
    const Legendre first(orderOf(hydrophone.size[0], wave, refinement));
    const Legendre second(orderOf(hydrophone.size[1], wave, refinement));
    FaceRule rule;
    for (std::size_t i = 0; i < first.nodes.size(); ++i)
        for (std::size_t j = 0; j < second.nodes.size(); ++j)
            rule.add(hydrophone, hydrophone.size[0] / 2 * first.nodes[i],
                     hydrophone.size[1] / 2 * second.nodes[j],
                     first.weights[i] * second.weights[j] / 4);
    return rule;
}

FaceRule ruleOfDisc(const Hydrophone& hydrophone, const Wave& wave, int refinement) {
    const double radius = hydrophone.size[0] / 2;
    const Legendre squares(orderOf(radius, wave, refinement));
    const int angles = 2 * orderOf(2 * radius, wave, refinement);
    FaceRule rule;
    for (std::size_t i = 0; i < squares.nodes.size(); ++i)
        for (int j = 0; j < angles; ++j) {
            const double distance = radius * std::sqrt((1 + squares.nodes[i]) / 2);
            const double angle = 2 * pi * (j + 0.5) / angles;
            rule.add(hydrophone, distance * std::cos(angle), distance * std::sin(angle),
                     squares.weights[i] / 2 / angles);
        }
    return rule;
}

FaceRule ruleOf(const Hydrophone& hydrophone, const Wave& wave, int refinement) {
    return hydrophone.size.size() == 1 ? ruleOfDisc(hydrophone, wave, refinement)
                                       : ruleOfRectangle(hydrophone, wave, refinement);
}

std::vector<std::complex<double>> averages(const BeamField& field, const FaceRule& rule,
                                           const PointList& points) {
    Places places;
    for (std::size_t i = 0; i < points.x.size(); ++i)
        for (const Vector3& offset : rule.offsets)
            places.add(plus({points.x[i], points.y[i], points.z[i]}, 1, offset));
    const std::vector<std::complex<double>> values = field.pressures(places.list());
    std::vector<std::complex<double>> sums(points.x.size());
    for (std::size_t i = 0; i < values.size(); ++i)
        sums[i / rule.parts.size()] += rule.parts[i % rule.parts.size()] * values[i];
    return sums;
}

void requireHydrophone(const Hydrophone& hydrophone, const Wave& wave) {
    constexpr double mostWavelengths = 100;
    const std::vector<double>& size = hydrophone.size;
    if (size.empty() || size.size() > 2)
        throw InvalidRequest("hydrophone", "its size is a diameter, or a rectangle's two sides");
    for (const double length : size) {
        if (!(std::isfinite(length) && length > 0))
            throw InvalidRequest("hydrophone", "must be lengths above 0");
        if (length * wave.wavenumber > mostWavelengths * 2 * pi)
            throw InvalidRequest("hydrophone", "must be at most 100 wavelengths large");
    }
}

/// Whether all readings are as exact as they are to be, those that are known.
bool areEnough(const std::vector<HydrophoneReading>& readings) {
    constexpr double enough = 1e-7;
    return std::none_of(readings.begin(), readings.end(), [](const HydrophoneReading& each) {
        return each.change > enough * std::abs(each.pressure);
    });
}

}  // namespace

std::vector<HydrophoneReading> hydrophoneReadings(const BeamField& field,
                                                  const Hydrophone& hydrophone,
                                                  const PointList& points, const Wave& wave) {
    requireHydrophone(hydrophone, wave);
    constexpr int mostRefinements = 4;
    std::vector<std::complex<double>> last = averages(field, ruleOf(hydrophone, wave, 0), points);
    std::vector<HydrophoneReading> readings(last.size());
    for (int refinement = 1; refinement <= mostRefinements; ++refinement) {
        const std::vector<std::complex<double>> finer =
            averages(field, ruleOf(hydrophone, wave, refinement), points);
        for (std::size_t i = 0; i < finer.size(); ++i)
            readings[i] = {finer[i], std::abs(finer[i] - last[i])};
        if (areEnough(readings)) break;
        last = finer;
    }
    return readings;
}

HydrophoneField::HydrophoneField(const BeamField& field, Hydrophone hydrophone, const Wave& wave)
    : field(field), hydrophone(std::move(hydrophone)), wave(wave) {
    requireHydrophone(this->hydrophone, wave);
}

std::vector<std::complex<double>> HydrophoneField::pressures(const PointList& points) const {
    return averages(field, ruleOf(hydrophone, wave, 1), points);
}

double HydrophoneField::uncertainty(const Pose::Vector& place) const {
    const HydrophoneReading reading =
        hydrophoneReadings(field, hydrophone, {{place[0]}, {place[1]}, {place[2]}}, wave).front();
    return field.uncertainty(place) + reading.change / std::abs(reading.pressure);
}

}  // namespace pistonfield
