// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "beam/GridField.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <utility>

#include "beam/Region.h"

namespace pistonfield {

namespace {

constexpr std::int64_t mostNodes = 6;

/// The points along one direction that a value is interpolated from.
struct Nodes {
    std::int64_t first = 0;
    std::int64_t count = 1;
    std::array<double, mostNodes> weights{1};

    /// @param size of the lattice; @param most nodes
    Nodes(double coordinate, std::int64_t size, std::int64_t most) : count(std::min(size, most)) {
        const auto before = static_cast<std::int64_t>(std::floor(coordinate)) - (count - 1) / 2;
        first = std::clamp<std::int64_t>(before, 0, size - count);
        const double at = coordinate - static_cast<double>(first);
        for (std::int64_t i = 0; i < count; ++i) {
            double weight = 1;
            for (std::int64_t j = 0; j < count; ++j)
                if (j != i) weight *= (at - static_cast<double>(j)) / static_cast<double>(i - j);
            weights[static_cast<std::size_t>(i)] = weight;
        }
    }
};

/// The sum of the values around a place, each times its weight.
/// @param take makes what is interpolated of a value
template <class Take>
auto interpolated(const GridField& field, const Vector3& coordinates, std::int64_t most,
                  const Take& take) {
    const auto& sizes = field.lattice().sizes;
    const std::array<Nodes, 3> nodes{Nodes(coordinates[0], sizes[0], most),
                                     Nodes(coordinates[1], sizes[1], most),
                                     Nodes(coordinates[2], sizes[2], most)};
    decltype(take(field.values().front())) sum = 0;
    for (std::int64_t z = 0; z < nodes[2].count; ++z)
        for (std::int64_t y = 0; y < nodes[1].count; ++y) {
            const std::int64_t row =
                ((nodes[2].first + z) * sizes[1] + nodes[1].first + y) * sizes[0] + nodes[0].first;
            const double weight = nodes[2].weights[static_cast<std::size_t>(z)] *
                                  nodes[1].weights[static_cast<std::size_t>(y)];
            for (std::int64_t x = 0; x < nodes[0].count; ++x)
                sum += weight * nodes[0].weights[static_cast<std::size_t>(x)] *
                       take(field.values()[static_cast<std::size_t>(row + x)]);
        }
    return sum;
}

double square(const std::complex<double>& value) { return std::norm(value); }

double magnitudeFrom(double square) { return square < 0 ? 0 : std::sqrt(square); }

/// What is interpolated at each point that is within, and not a number elsewhere.
template <class Value, class At>
std::vector<Value> atPoints(const Lattice& lattice, const PointList& points, const At& at) {
    const Region region(lattice);
    std::vector<Value> values(points.x.size(), std::numeric_limits<double>::quiet_NaN());
    for (std::size_t i = 0; i < values.size(); ++i) {
        const Vector3 place{points.x[i], points.y[i], points.z[i]};
        if (region.contains(place)) values[i] = at(region.within(region.coordinatesOf(place)));
    }
    return values;
}

}  // namespace

GridField::GridField(const Lattice& lattice, std::vector<std::complex<double>> values)
    : points(lattice), known(std::move(values)) {
    static_cast<void>(Region(lattice));
    if (static_cast<std::int64_t>(known.size()) != lattice.box().points())
        throw InvalidRequest("values", std::to_string(known.size()) + " are not one for each of " +
                                           std::to_string(lattice.box().points()) + " points");
}

std::vector<std::complex<double>> GridField::pressures(const PointList& places) const {
    return atPoints<std::complex<double>>(points, places, [this](const Vector3& coordinates) {
        return interpolated(*this, coordinates, mostNodes,
                            [](const std::complex<double>& value) { return value; });
    });
}

std::vector<double> GridField::magnitudes(const PointList& places) const {
    return atPoints<double>(points, places, [this](const Vector3& coordinates) {
        return magnitudeFrom(interpolated(*this, coordinates, mostNodes, square));
    });
}

double GridField::uncertainty(const Pose::Vector& place) const {
    const Region region(points);
    const Vector3 coordinates = region.within(region.coordinatesOf(place));
    const double six = magnitudeFrom(interpolated(*this, coordinates, mostNodes, square));
    const double four = magnitudeFrom(interpolated(*this, coordinates, mostNodes - 2, square));
    return std::abs(six - four) / six;
}

}  // namespace pistonfield
