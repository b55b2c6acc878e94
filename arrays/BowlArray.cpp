// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/BowlArray.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <string>

#include "arrays/ArrayReport.h"
#include "arrays/builderChecks.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

using std::numbers::pi;

/// Against rounding, where elements touch each other.
constexpr double touching = 1 + 1e-12;

/// Elements of one size on a bowl, each at a polar angle as seen from the focus.
class Tiles {
  public:
    Tiles(const Bowl& bowl, double width, double height)
        : radius(bowl.radius), width(width), height(height) {
        requireLength("radius", radius);
        requireLength("width", width);
        requireLength("height", height);
        findLimits(bowl);
    }

    /// The least and the largest polar angle of an element within hole and rim.
    double first() const noexcept { return least; }
    double last() const noexcept { return most; }

    /// The largest polar angle of an element's points, that of its outer corners.
    double outerAngle(double polar) const noexcept {
        const double along = radius * std::cos(polar) - height / 2 * std::sin(polar);
        const double across =
            std::hypot(radius * std::sin(polar) + height / 2 * std::cos(polar), width / 2);
        return std::atan2(across, along);
    }

    /// By how much the least polar angle of an element's points is less than its own.
    double halfHeightAngle() const noexcept { return std::atan(height / 2 / radius); }

    /// The angle that points are apart at least which are `distance` apart: none of an element's
    /// lies within the sphere.
    double angleOf(double distance) const noexcept {
        return 2 * std::asin(std::min(1.0, distance / 2 / radius));
    }

    /// How many elements there is room for in a ring, at least `kerf` apart, 1 or more: each lies
    /// half of that beside the planes in the middle between it and its neighbours, where its inner
    /// corners are the nearest to them.
    double roomInRing(double polar, double kerf) const noexcept {
        const double inner = radius * std::sin(polar) - height / 2 * std::cos(polar);
        const double corner = std::hypot(inner, width / 2);
        if (inner <= 0 || kerf / 2 > corner) return 1;
        const double half = std::asin(kerf / 2 / corner) + std::atan(width / 2 / inner);
        return pi / half * touching;
    }

    Element at(double polar, double azimuth) const noexcept {
        const double st = std::sin(polar);
        const double ct = std::cos(polar);
        const double sp = std::sin(azimuth);
        const double cp = std::cos(azimuth);
        const double half = std::sin(polar / 2);
        return {{width, height},
                {{radius * st * cp, radius * st * sp, 2 * radius * half * half},
                 {-sp, cp, 0},
                 {-ct * cp, -ct * sp, -st}}};
    }

  private:
    void findLimits(const Bowl& bowl) {
        const double aperture = apertureOf(bowl);
        requireNoLess("hole", bowl.hole);
        // Where edges across the meridian lie: those at a polar angle t are
        // radius*sin(t) +- height/2*cos(t) from the axis.
        const double edge = std::hypot(radius, height / 2);
        const double rim = aperture / 2;
        if (!(rim > width / 2)) throw InvalidRequest(nameOfAperture(bowl), noRoom);
        most =
            std::asin(std::sqrt((rim - width / 2) * (rim + width / 2)) / edge) - halfHeightAngle();
        if (most < 0) throw InvalidRequest(nameOfAperture(bowl), noRoom);
        if (bowl.hole == 0) return;
        if (bowl.hole >= aperture) throw InvalidRequest("hole", "must be within the aperture");
        least = std::asin(bowl.hole / 2 / edge) + halfHeightAngle();
        if (least > most) throw InvalidRequest("hole", "there is no room for an element beside it");
    }

    static const char* nameOfAperture(const Bowl& bowl) {
        return bowl.aperture ? "aperture" : "openingAngle";
    }

    static double apertureOf(const Bowl& bowl) {
        if (bowl.aperture.has_value() == bowl.openingAngle.has_value())
            throw InvalidRequest("aperture", "it or the opening angle is to be given");
        if (bowl.aperture) {
            requireLength("aperture", *bowl.aperture);
            if (*bowl.aperture > 2 * bowl.radius)
                throw InvalidRequest("radius", "is too small: a rim is at most twice as wide");
            return *bowl.aperture;
        }
        if (!(*bowl.openingAngle > 0 && *bowl.openingAngle <= pi))
            throw InvalidRequest("openingAngle", "must be above 0 and at most pi");
        return 2 * bowl.radius * std::sin(*bowl.openingAngle / 2);
    }

    static constexpr const char* noRoom = "there is no room for an element";

    double radius, width, height;
    double least = 0;
    double most = 0;
};

/// How far the edges of neighbours are apart: along a ring and between rings.
struct Kerfs {
    double along, across;
};

Kerfs kerfsOf(const BowlRings& array) {
    if (array.kerf) {
        requireNoLess("kerf", *array.kerf);
        return {*array.kerf, *array.kerf};
    }
    requireLength("pitch", *array.pitch);
    if (*array.pitch < std::max(array.width, array.height))
        throw InvalidRequest("pitch", "elements overlap unless it is the longer side or more");
    return {*array.pitch - array.width, *array.pitch - array.height};
}

void requireFewEnough(std::size_t elements, const std::string& name) {
    if (elements > Array::mostElements)
        throw InvalidRequest(
            name, "there would be more than " + std::to_string(Array::mostElements) + " elements");
}

/// The polar angles of as many rings as there is room for.
std::vector<double> packedRings(const Tiles& tiles, double kerf, const std::string& name) {
    const double between = tiles.angleOf(kerf) + tiles.halfHeightAngle();
    std::vector<double> rings;
    double polar = tiles.first();
    while (polar <= tiles.last()) {
        rings.push_back(polar);
        requireFewEnough(rings.size(), name);
        polar = tiles.outerAngle(polar) + between;
    }
    const double left = tiles.last() - rings.back();
    for (std::size_t i = 1; i < rings.size(); ++i)
        rings[i] += left * static_cast<double>(i) / static_cast<double>(rings.size() - 1);
    return rings;
}

/// The polar angles of so many rings, evenly spaced.
std::vector<double> spacedRings(const Tiles& tiles, const BowlRings& array) {
    const std::size_t count = array.counts.size();
    const bool isOpen = array.bowl.hole > 0;
    const double start = isOpen || array.counts.front() == 1 ? 0 : 0.5;
    const double steps = static_cast<double>(count - 1) + start;
    std::vector<double> rings;
    for (std::size_t i = 0; i < count; ++i)
        rings.push_back(tiles.first() +
                        (tiles.last() - tiles.first()) *
                            (steps > 0 ? (static_cast<double>(i) + start) / steps : 0));
    return rings;
}

void requireApart(const Tiles& tiles, const std::vector<double>& rings) {
    for (std::size_t i = 1; i < rings.size(); ++i)
        if (tiles.outerAngle(rings[i - 1]) > (rings[i] - tiles.halfHeightAngle()) * touching)
            throw InvalidRequest("counts",
                                 "there is no room for " + std::to_string(rings.size()) + " rings");
}

/// The elements in each ring; 1 at the apex.
std::vector<std::int64_t> countsWithin(const Tiles& tiles, const std::vector<double>& rings,
                                       double kerf) {
    std::vector<std::int64_t> counts;
    counts.reserve(rings.size());
    for (const double polar : rings) {
        const double room = polar == 0 ? 1 : tiles.roomInRing(polar, kerf);
        counts.push_back(static_cast<std::int64_t>(std::min(room, 1e9)));
    }
    return counts;
}

void requireRoom(const Tiles& tiles, const std::vector<double>& rings,
                 const std::vector<std::int64_t>& counts) {
    for (std::size_t i = 0; i < rings.size(); ++i) {
        const auto room = static_cast<std::int64_t>(tiles.roomInRing(rings[i], 0));
        if (counts[i] > room)
            throw InvalidRequest("counts", "ring " + std::to_string(i + 1) + " has room for " +
                                               std::to_string(room) + ", not for " +
                                               std::to_string(counts[i]));
    }
}

std::vector<Element> elementsIn(const Tiles& tiles, const std::vector<double>& rings,
                                const std::vector<std::int64_t>& counts, const std::string& name) {
    std::vector<Element> elements;
    for (std::size_t ring = 0; ring < rings.size(); ++ring) {
        const double step = 2 * pi / static_cast<double>(counts[ring]);
        for (std::int64_t i = 0; i < counts[ring]; ++i) {
            elements.push_back(tiles.at(rings[ring], static_cast<double>(i) * step));
            requireFewEnough(elements.size(), name);
        }
    }
    return elements;
}

}  // namespace

std::vector<Element> elementsOf(const BowlRings& array) {
    const Tiles tiles(array.bowl, array.width, array.height);
    requireOne({{"kerf", array.kerf.has_value()},
                {"pitch", array.pitch.has_value()},
                {"counts", !array.counts.empty()}},
               true);
    if (array.counts.empty()) {
        const std::string name = array.kerf ? "kerf" : "pitch";
        const Kerfs kerfs = kerfsOf(array);
        const auto rings = packedRings(tiles, kerfs.across, name);
        return elementsIn(tiles, rings, countsWithin(tiles, rings, kerfs.along), name);
    }
    for (const std::int64_t count : array.counts) requireCount("counts", count);
    const auto rings = spacedRings(tiles, array);
    requireApart(tiles, rings);
    requireRoom(tiles, rings, array.counts);
    return elementsIn(tiles, rings, array.counts, "counts");
}

std::vector<Element> elementsOf(const BowlSpiral& array) {
    const Tiles tiles(array.bowl, array.width, array.height);
    requireCount("elements", array.elements);
    // The area of a cap goes with 1 - cos of its polar angle, twice the square of half its sine.
    const auto squareOf = [](double polar) { return std::pow(std::sin(polar / 2), 2); };
    const double first = squareOf(tiles.first());
    const double last = squareOf(tiles.last());
    const double golden = pi * (3 - std::sqrt(5.0));
    std::vector<Element> elements;
    for (std::int64_t i = 0; i < array.elements; ++i) {
        const double part = (static_cast<double>(i) + 0.5) / static_cast<double>(array.elements);
        const double polar = 2 * std::asin(std::sqrt(first + (last - first) * part));
        elements.push_back(tiles.at(polar, static_cast<double>(i) * golden));
    }
    const ArrayReport report = survey(elements);
    if (!report.overlaps.empty())
        throw InvalidRequest("elements", std::to_string(report.overlaps.front().first + 1) +
                                             " and " +
                                             std::to_string(report.overlaps.front().second + 1) +
                                             " overlap: they are too many or too large");
    return elements;
}

}  // namespace pistonfield
