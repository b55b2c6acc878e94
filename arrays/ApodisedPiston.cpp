// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/ApodisedPiston.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <numbers>
#include <numeric>
#include <string>

#include "FastNearfield/GaussLegendre.h"
#include "arrays/builderChecks.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

using std::numbers::pi;

double valueAt(const VelocityProfile& profile, double x) {
    return std::visit([x](const auto& one) { return one.at(x); }, profile);
}

/// What the error of tiles along a side depends on; x is from -1 to 1.
struct Shape {
    double largest = 0;    ///< |f|
    double slope = 0;      ///< the largest |f'|
    double bend = 0;       ///< the largest |f''|
    double endSlopes = 0;  ///< |f'(-1)| + |f'(1)|

    bool varies() const noexcept { return slope > 0; }
};

/// From differences of values.
Shape shapeOf(const VelocityProfile& profile) {
    constexpr int steps = 4096;
    constexpr double step = 2.0 / steps;
    std::vector<double> values;
    for (int i = 0; i <= steps; ++i) values.push_back(valueAt(profile, i * step - 1));
    Shape shape;
    for (const double value : values) shape.largest = std::max(shape.largest, std::abs(value));
    if (!(std::isfinite(shape.largest) && shape.largest > 0))
        throw InvalidRequest("profile", "must be finite, and not 0 everywhere");
    // Differences of less are rounding.
    const double rounding = 16 * std::numeric_limits<double>::epsilon() * shape.largest;
    std::vector<double> changes;
    for (std::size_t i = 1; i < values.size(); ++i) {
        const double change = values[i] - values[i - 1];
        changes.push_back(std::abs(change) > rounding ? change / step : 0);
        shape.slope = std::max(shape.slope, std::abs(changes.back()));
    }
    for (std::size_t i = 1; i < changes.size(); ++i) {
        const double bend = changes[i] - changes[i - 1];
        if (std::abs(bend) > rounding / step)
            shape.bend = std::max(shape.bend, std::abs(bend) / step);
    }
    shape.endSlopes = std::abs(changes.front()) + std::abs(changes.back());
    return shape;
}

/// A side with the piston's other one across it.
struct Side {
    double length;
    double across;
    Shape shape;
};

std::array<Side, 2> sidesOf(const ApodisedPiston& piston) {
    requireLength("width", piston.width);
    requireLength("height", piston.height);
    for (const VelocityProfile* profile : {&piston.alongX, &piston.alongY})
        if (const auto* const window = std::get_if<Window>(profile)) check(*window);
    return {{{piston.width, piston.height, shapeOf(piston.alongX)},
             {piston.height, piston.width, shapeOf(piston.alongY)}}};
}

/// Where the field is looked at.
struct Place {
    double wavenumber;
    double distance;

    /// What a plane piston of an area has at most.
    double plane(double area, double most) const noexcept {
        return std::min(most, wavenumber * area / (2 * pi * distance));
    }

    /// And a line of a length.
    double line(double length) const noexcept {
        const double x = wavenumber * distance;
        const double endless = std::hypot(std::cyl_bessel_j(0.0, x), std::cyl_neumann(0.0, x));
        return wavenumber * std::min(endless / 2, length / (2 * pi * distance));
    }
};

Place checkedPlace(double wavenumber, double distance) {
    if (!(std::isfinite(wavenumber) && wavenumber > 0))
        throw InvalidRequest("wavenumber", "must be a wavenumber above 0");
    requireLength("distance", distance);
    return {wavenumber, distance};
}

double localScale(double area, const Place& place) noexcept {
    const double distance = std::max(place.distance, std::sqrt(area) / 4);
    return std::min(1.0, place.wavenumber * area / (2 * pi * distance));
}

/// The error that so many tiles along a side leave.
double errorOf(const Side& side, std::int64_t count, const Place& place) {
    const Shape& shape = side.shape;
    if (!shape.varies()) return 0;
    const double tile = side.length / static_cast<double>(count);
    const double waves = tile * place.wavenumber / (2 * pi);
    if (waves >= 0.5) return std::numeric_limits<double>::infinity();
    const double half = side.length / 2;  // the unit of the profile's places
    const double area = side.length * side.across;
    const double smooth = 2 * tile * tile / 12 *
                          (shape.bend / (half * half) * place.plane(area, 2) +
                           shape.endSlopes / half * place.line(side.across));
    const double steps = tile / 2 * shape.slope / half *
                         std::exp(-2 * pi * place.distance / tile * std::sqrt(1 - waves * waves));
    return (smooth + steps) / shape.largest / localScale(area, place);
}

/// The least number of tiles whose error is within a limit.
/// @param most that are tried
std::int64_t countFor(const Side& side, double limit, const Place& place, std::int64_t most) {
    std::int64_t tooFew = 0;
    std::int64_t enough = 1;
    while (enough < most && errorOf(side, enough, place) > limit) {
        tooFew = enough;
        enough *= 2;
    }
    while (enough - tooFew > 1) {
        const std::int64_t middle = (tooFew + enough) / 2;
        (errorOf(side, middle, place) > limit ? tooFew : enough) = middle;
    }
    return enough;
}

/// The means of a profile over equal parts.
std::vector<double> meansOf(const VelocityProfile& profile, std::int64_t count) {
    constexpr int order = 16;
    std::array<double, order> nodes{};
    std::array<double, order> weights{};
    legendre_compute(order, nodes.data(), weights.data());
    const double half = 1 / static_cast<double>(count);
    std::vector<double> means;
    for (std::int64_t i = 0; i < count; ++i) {
        const double middle = static_cast<double>(2 * i + 1) * half - 1;
        double sum = 0;
        for (std::size_t n = 0; n < nodes.size(); ++n)
            sum += weights[n] / 2 * valueAt(profile, middle + half * nodes[n]);
        means.push_back(sum);
    }
    return means;
}

TiledPiston tilesOf(const ApodisedPiston& piston, std::int64_t columns, std::int64_t rows) {
    const double width = piston.width / static_cast<double>(columns);
    const double height = piston.height / static_cast<double>(rows);
    const std::vector<double> alongX = meansOf(piston.alongX, columns);
    const std::vector<double> alongY = meansOf(piston.alongY, rows);
    const auto placeOf = [](std::int64_t i, std::int64_t count, double size) {
        return static_cast<double>(2 * i + 1 - count) / 2 * size;
    };
    TiledPiston tiles{{}, columns, rows};
    for (std::int64_t row = 0; row < rows; ++row)
        for (std::int64_t column = 0; column < columns; ++column) {
            tiles.array.elements.push_back(
                {{width, height},
                 {{placeOf(column, columns, width), placeOf(row, rows, height), 0}}});
            tiles.array.weights.emplace_back(alongX[static_cast<std::size_t>(column)] *
                                             alongY[static_cast<std::size_t>(row)]);
        }
    return tiles;
}

void requireFewEnough(const char* name, std::int64_t columns, std::int64_t rows) {
    const auto most = static_cast<std::int64_t>(Array::mostElements);
    if (columns > most / rows)
        throw InvalidRequest(name, std::to_string(columns) + " by " + std::to_string(rows) +
                                       " tiles are more than the " + std::to_string(most) +
                                       " elements of an array");
}

}  // namespace

double Polynomial::at(double x) const noexcept {
    return std::accumulate(coefficients.rbegin(), coefficients.rend(), 0.0,
                           [x](double value, double next) { return value * x + next; });
}

double tilingError(const ApodisedPiston& piston, std::int64_t columns, std::int64_t rows,
                   double wavenumber, double distance) {
    const auto sides = sidesOf(piston);
    requireCount("columns", columns);
    requireCount("rows", rows);
    const Place place = checkedPlace(wavenumber, distance);
    return errorOf(sides[0], columns, place) + errorOf(sides[1], rows, place);
}

TiledPiston tiled(const ApodisedPiston& piston, std::int64_t columns, std::int64_t rows,
                  double wavenumber, double distance) {
    const double error = tilingError(piston, columns, rows, wavenumber, distance);
    requireFewEnough("columns", columns, rows);
    TiledPiston tiles = tilesOf(piston, columns, rows);
    tiles.error = error;
    return tiles;
}

TiledPiston tiled(const ApodisedPiston& piston, double tolerance, double wavenumber,
                  double distance) {
    const auto sides = sidesOf(piston);
    const Place place = checkedPlace(wavenumber, distance);
    if (!(tolerance > 0 && tolerance < 1))
        throw InvalidRequest("tolerance", "must be above 0 and below 1");
    const bool bothVary = sides[0].shape.varies() && sides[1].shape.varies();
    const double limit = bothVary ? tolerance / 2 : tolerance;
    const auto most = static_cast<std::int64_t>(Array::mostElements);
    const std::int64_t columns = countFor(sides[0], limit, place, most);
    const std::int64_t rows = countFor(sides[1], limit, place, most);
    requireFewEnough("tolerance", columns, rows);
    TiledPiston tiles = tilesOf(piston, columns, rows);
    tiles.error = errorOf(sides[0], columns, place) + errorOf(sides[1], rows, place);
    return tiles;
}

}  // namespace pistonfield
