// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/AnnularArray.h"

#include <cmath>
#include <memory>
#include <string>

#include "arrays/builderChecks.h"
#include "arrays/pistonShapes.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

struct Ring {
    double inner, outer;
};

/// Each ring is another shape.
void requireShapes(const char* name, std::int64_t count) {
    if (count < 1 || count > static_cast<std::int64_t>(Array::mostShapes))
        throw InvalidRequest(name, std::to_string(count) + " is not within 1 to " +
                                       std::to_string(Array::mostShapes));
}

std::vector<Ring> ringsBetween(const AnnularArray& array) {
    const std::vector<double>& radii = array.radii;
    if (array.elements || array.radius || array.inner)
        throw InvalidRequest("radii", "give them, or elements and the radius, not both");
    if (radii.size() < 2) throw InvalidRequest("radii", "must be two or more");
    requireShapes("radii", static_cast<std::int64_t>(radii.size() - 1));
    requireNoLess("radii", radii.front());
    std::vector<Ring> rings;
    for (std::size_t i = 1; i < radii.size(); ++i) {
        requireLength("radii", radii[i]);
        const double inner = radii[i - 1] + (i > 1 ? array.kerf / 2 : 0);
        const double outer = radii[i] - (i + 1 < radii.size() ? array.kerf / 2 : 0);
        if (!(inner < outer))
            throw InvalidRequest("radii", "must rise, by more than the kerf: ring " +
                                              std::to_string(i) + " has no area");
        rings.push_back({inner, outer});
    }
    return rings;
}

/// Rings of this area divided by pi, from the inner radius on.
std::vector<Ring> ringsOf(double square, double inner, const AnnularArray& array) {
    std::vector<Ring> rings;
    for (std::int64_t i = 0; i < *array.elements; ++i) {
        const double outer = std::sqrt(inner * inner + square);
        rings.push_back({inner, outer});
        inner = outer + array.kerf;
    }
    return rings;
}

std::vector<Ring> ringsOfEqualAreas(const AnnularArray& array) {
    if (!array.elements) throw InvalidRequest("elements", "is missing; or give radii");
    requireShapes("elements", *array.elements);
    if (!array.radius) throw InvalidRequest("radius", "is missing");
    requireLength("radius", *array.radius);
    const double inner = array.inner.value_or(0);
    requireNoLess("inner", inner);
    const double radius = *array.radius;
    if (!(inner < radius)) throw InvalidRequest("inner", "must be less than the radius");
    const double gaps = static_cast<double>(*array.elements - 1) * array.kerf;
    if (!(inner + gaps < radius)) throw InvalidRequest("kerf", "leaves no room for the rings");
    // The area for which the last ring ends at the radius: without a kerf the upper limit.
    double least = 0;
    double most = (radius * radius - inner * inner) / static_cast<double>(*array.elements);
    if (array.kerf > 0) {
        constexpr int halvings = 100;
        for (int i = 0; i < halvings; ++i) {
            const double middle = (least + most) / 2;
            (ringsOf(middle, inner, array).back().outer > radius ? most : least) = middle;
        }
    }
    std::vector<Ring> rings = ringsOf(most, inner, array);
    rings.back().outer = radius;
    return rings;
}

}  // namespace

std::vector<Element> elementsOf(const AnnularArray& array) {
    requireNoLess("kerf", array.kerf);
    std::vector<Element> elements;
    for (const auto& [inner, outer] :
         array.radii.empty() ? ringsOfEqualAreas(array) : ringsBetween(array))
        elements.push_back({{}, {}, std::make_shared<const Outline>(ringShape(inner, outer))});
    return elements;
}

}  // namespace pistonfield
