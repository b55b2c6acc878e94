// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/curvedPistons.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <string>

#include "arrays/builderChecks.h"
#include "arrays/vectors.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

using std::numbers::pi;

/// How far from the face a tile may be.
double mostDeviation(double wavenumber, double fraction) {
    if (!(std::isfinite(wavenumber) && wavenumber > 0))
        throw InvalidRequest("wavenumber", "must be a wavenumber above 0");
    constexpr double mostOfAWave = 0.125;
    if (!(fraction > 0 && fraction <= mostOfAWave))
        throw InvalidRequest("fraction", "must be above 0 and at most 1/8 of a wavelength");
    return fraction * 2 * pi / wavenumber;
}

void requireFewEnough(double count, std::size_t most, const char* what) {
    if (count > static_cast<double>(most))
        throw InvalidRequest("fraction", "takes more than the " + std::to_string(most) + ' ' +
                                             what + " of an array");
}

/// Rectangles on the inside of a sphere or a cylinder.
class Inside {
  public:
    explicit Inside(double radius) noexcept : radius(radius) {}

    /// Of what touches the face in its middle the face is from 0 to square/(8*radius) away, and on
    /// average a third of that, by which the tile is moved.
    /// @param square of a tile's sides along which the face is bent
    double shiftOf(double square) const noexcept { return square / (24 * radius); }

    /// The farthest that remains.
    double deviationOf(double square) const noexcept { return square / (12 * radius); }

    /// The tile about a direction from the centre of curvature, at (0, 0, radius).
    Element tile(const RectangularPiston& piston, double square, const Vector3& alongWidth,
                 const Vector3& alongHeight) const noexcept {
        const Vector3 normal = cross(alongWidth, alongHeight);
        return {piston,
                {plus({0, 0, radius}, shiftOf(square) - radius, normal), alongWidth, alongHeight}};
    }

  private:
    double radius;
};

/// Cuts a cap into a tile at the apex, unless there is a hole, and rings.
class CapTiling {
  public:
    CapTiling(const CapPiston& piston, double wavenumber, double fraction)
        : radius(piston.radius), inside(radius) {
        const double deviation = mostDeviation(wavenumber, fraction);
        side = std::sqrt(6 * radius * deviation);
        const double rim = std::asin(std::min(1.0, piston.aperture / 2 / radius));
        double polar = std::asin(piston.hole / 2 / radius);
        cap = zone(polar, rim);
        if (polar == 0) polar = addApex(rim);
        const double rings = std::ceil((rim - polar) * radius / side);
        requireFewEnough(rings + 1, Array::mostShapes, "different elements");
        requireFewEnough(cap / (side * side), Array::mostElements, "elements");
        const double step = (rim - polar) / std::max(1.0, rings);
        for (int i = 0; i < static_cast<int>(rings); ++i)
            addRing(polar + i * step, polar + (i + 1) * step);
        tiles.phase = wavenumber * largest;
        tiles.misplaced = misplaced / cap;
    }

    FlatTiles tiles;

  private:
    /// The area between two polar angles.
    double zone(double from, double to) const noexcept {
        return 4 * pi * radius * radius * std::sin((from + to) / 2) * std::sin((to - from) / 2);
    }

    void add(const RectangularPiston& piston, double polar, double azimuth) {
        const double square = piston.width * piston.width + piston.height * piston.height;
        largest = std::max(largest, inside.deviationOf(square));
        const double cp = std::cos(azimuth);
        const double sp = std::sin(azimuth);
        const double ct = std::cos(polar);
        tiles.elements.push_back(
            inside.tile(piston, square, {-sp, cp, 0}, {-ct * cp, -ct * sp, -std::sin(polar)}));
    }

    /// A square in place of what lies up to an angle.
    /// @return that angle
    double addApex(double rim) {
        const double polar = std::min(rim, side / std::sqrt(pi) / radius);
        const double area = zone(0, polar);
        const double length = std::sqrt(area);
        add({length, length}, 0, 0);
        // Of a disc with the area of a square so much is beside it, and as much of it is not there.
        constexpr double besideSquare = 0.0903;
        misplaced += 2 * besideSquare * area;
        return polar;
    }

    void addRing(double from, double to) {
        const double area = zone(from, to);
        const double height = radius * (to - from);
        const double count = std::ceil(area / height / side);
        const double width = area / height / count;
        // The middle by area, so that the tile's is that of its part.
        const double moment =
            std::sin(to) - to * std::cos(to) - std::sin(from) + from * std::cos(from);
        const double polar = moment * 2 * pi * radius * radius / area;
        for (int i = 0; i < static_cast<int>(count); ++i)
            add({width, height}, polar, 2 * pi * i / count);
        // Sides along meridians draw near to each other, and those along parallels are bent.
        const double across = 1 / (radius * std::tan(polar));
        misplaced += area * std::abs(across) * (height / 4 + width * width / (6 * height));
    }

    double radius;
    Inside inside;
    double side = 0;
    double cap = 0;
    double largest = 0;
    double misplaced = 0;
};

}  // namespace

FlatTiles tilesOf(const CapPiston& piston, double wavenumber, double fraction) {
    requireLength("radius", piston.radius);
    requireLength("aperture", piston.aperture);
    if (piston.aperture > 2 * piston.radius)
        throw InvalidRequest("aperture", "must be at most twice the radius");
    requireNoLess("hole", piston.hole);
    if (piston.hole >= piston.aperture) throw InvalidRequest("hole", "must be within the aperture");
    return CapTiling(piston, wavenumber, fraction).tiles;
}

FlatTiles tilesOf(const CylindricalPiston& piston, double wavenumber, double fraction) {
    requireLength("radius", piston.radius);
    requireLength("width", piston.width);
    requireLength("height", piston.height);
    if (piston.width > pi * piston.radius)
        throw InvalidRequest("width", "must be at most half the circle");
    const double side = std::sqrt(12 * piston.radius * mostDeviation(wavenumber, fraction));
    const double count = std::ceil(piston.width / side);
    requireFewEnough(count, Array::mostElements, "elements");
    const double width = piston.width / count;
    const Inside inside(piston.radius);
    FlatTiles tiles;
    for (int i = 0; i < static_cast<int>(count); ++i) {
        const double angle = ((2 * i + 1) / count - 1) / 2 * piston.width / piston.radius;
        tiles.elements.push_back(inside.tile({width, piston.height}, width * width,
                                             {std::cos(angle), 0, std::sin(angle)}, {0, 1, 0}));
    }
    tiles.phase = wavenumber * inside.deviationOf(width * width);
    return tiles;
}

}  // namespace pistonfield
