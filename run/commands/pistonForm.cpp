// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/pistonForm.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <variant>
#include <vector>

#include "arrays/pistonShapes.h"
#include "run/file/outlineDataset.h"
#include "run/numbers.h"
#include "run/shapedPiston.h"

namespace run::pistonForm {

namespace {

using pistonfield::Arc;
using pistonfield::InvalidRequest;
using pistonfield::Loop;
using pistonfield::Outline;
using pistonfield::OutlineEdge;
using pistonfield::PlaneVector;
using pistonfield::StraightEdge;

Outline discOf(const TableKeys& keys) { return pistonfield::discShape(keys.neededReal("radius")); }

Outline ringOf(const TableKeys& keys) {
    return pistonfield::ringShape(keys.neededReal("inner"), keys.neededReal("outer"));
}

Outline sectorOf(const TableKeys& keys) {
    const Setting* const angles = keys.findAngle("angles");
    const std::vector<double> ends = keys.angles("angles");
    if (ends.size() != 2)
        refuse(angles == nullptr ? keys.need("angles") : *angles,
               "takes where it begins and where it ends");
    return pistonfield::sectorShape(keys.real("inner").value_or(0), keys.neededReal("outer"),
                                    ends[0], ends[1]);
}

Outline polygonOf(const TableKeys& keys) {
    const Setting& corners = keys.need("corners");
    const std::vector<double> numbers = keys.reals("corners");
    if (numbers.size() % 2 != 0) refuse(corners, "takes pairs of numbers, x and y");
    if (!std::ranges::all_of(numbers, [](double number) { return std::isfinite(number); }))
        refuse(corners, "every number must be finite");
    std::vector<PlaneVector> places;
    for (std::size_t i = 0; i < numbers.size(); i += 2)
        places.push_back({numbers[i], numbers[i + 1]});
    return pistonfield::polygonShape(places, {});
}

/// Any shape, by its edges.
Outline outlineOf(const TableKeys& keys) {
    const Setting& edges = keys.need("edges");
    const std::vector<double> rows = keys.reals("edges");
    try {
        return outlineDataset::outlineOf(rows);
    } catch (const std::runtime_error& error) {
        refuse(edges, error.what());
    }
}

/// A shape, and the keys that it takes.
struct Shape {
    std::string name;
    std::vector<std::string> keys;
    Outline (*outline)(const TableKeys&);
};

const std::vector<Shape>& shapes() {
    static const std::vector<Shape> all{
        {"disc", {"shape", "center", "orientation", "radius"}, &discOf},
        {"ring", {"shape", "center", "orientation", "inner", "outer"}, &ringOf},
        {"sector",
         {"shape", "center", "orientation", "inner", "outer", "angles", "angles_degrees"},
         &sectorOf},
        {"polygon", {"shape", "center", "orientation", "corners"}, &polygonOf},
        {"outline", {"shape", "center", "orientation", "edges"}, &outlineOf},
    };
    return all;
}

const Shape& shapeCalled(const Setting& setting) {
    const std::string& name = setting.words.front();
    const auto found = std::ranges::find(shapes(), name, &Shape::name);
    if (found != shapes().end()) return *found;
    std::string names;
    for (const Shape& shape : shapes()) names += (names.empty() ? "" : ", ") + shape.name;
    refuse(setting,
           "'" + name + "' is none of " + names + "; a rectangle has width and height alone");
}

std::string listed(const std::vector<double>& numbers) {
    std::string text = "[";
    for (const double number : numbers)
        text.append(text.size() == 1 ? "" : ", ").append(numbers::textOf(number));
    return text + "]";
}

std::string textOfShape(const std::string& name) { return "shape = \"" + name + "\"\n"; }

std::string line(const std::string& key, double value) {
    return key + " = " + numbers::textOf(value) + "\n";
}

/// The angle that is so far from another one.
double angleAt(double from, double sweep) {
    constexpr double infinity = std::numeric_limits<double>::infinity();
    const double to = from + sweep;
    // Where the sum was rounded it may be a neighbour.
    for (const double angle : {to, std::nextafter(to, -infinity), std::nextafter(to, infinity)})
        if (angle - from == sweep) return angle;
    return to;
}

/// A shape as it is in a table, and its outline.
struct Description {
    std::string text;
    Outline outline;
};

/// Of what begins with an arc and has holes: a ring, or nothing.
Description ringLike(const Outline& outline, const Arc& outer) {
    const Arc* inner = std::get_if<Arc>(&outline.loops[1].front());
    if (inner == nullptr) return {};
    return {textOfShape("ring") + line("inner", inner->radius) + line("outer", outer.radius),
            pistonfield::ringOutline(inner->radius, outer.radius)};
}

/// Of what begins with an arc: a disc, where it ends with one, or a sector.
Description discLike(const Loop& loop, const Arc& outer) {
    if (std::holds_alternative<Arc>(loop.back()))
        return {textOfShape("disc") + line("radius", outer.radius),
                pistonfield::discOutline(outer.radius)};
    const Arc* inner = loop.size() == 4 ? std::get_if<Arc>(&loop[2]) : nullptr;
    const double hole = inner == nullptr ? 0 : inner->radius;
    const double to = angleAt(outer.from, outer.sweep);
    return {textOfShape("sector") + line("inner", hole) + line("outer", outer.radius) +
                "angles = " + listed({outer.from, to}) + "\n",
            pistonfield::sectorOutline(hole, outer.radius, outer.from, to - outer.from)};
}

/// Of what has straight edges.
Description polygonLike(const Loop& loop) {
    std::vector<PlaneVector> corners;
    std::string text = textOfShape("polygon") + "corners = [";
    for (const OutlineEdge& edge : loop) {
        const auto* side = std::get_if<StraightEdge>(&edge);
        if (side == nullptr) return {};
        text.append(corners.empty() ? "" : ",\n    ")
            .append(listed({side->from[0], side->from[1]}));
        corners.push_back(side->from);
    }
    return {text + "]\n", pistonfield::polygonOutline(corners)};
}

/// Of any other outline, edge by edge.
std::string edgesOf(const Outline& outline) {
    const std::vector<double> rows = outlineDataset::rowsOf(outline);
    std::string text = textOfShape("outline") + "edges = [";
    for (std::size_t i = 0; i < rows.size(); i += outlineDataset::columns) {
        const auto row = rows.begin() + static_cast<std::ptrdiff_t>(i);
        const auto columns = static_cast<std::ptrdiff_t>(outlineDataset::columns);
        text.append(i == 0 ? "" : ",\n    ").append(listed({row, row + columns}));
    }
    return text + "]\n";
}

Description described(const Outline& outline) {
    const Loop& loop = outline.loops.front();
    const Arc* arc = std::get_if<Arc>(&loop.front());
    if (arc == nullptr) return polygonLike(loop);
    return outline.loops.size() > 1 ? ringLike(outline, *arc) : discLike(loop, *arc);
}

}  // namespace

bool isOfShape(const std::string& key) {
    constexpr std::array names{"shape",  "radius",         "inner",   "outer",
                               "angles", "angles_degrees", "corners", "edges"};
    return std::ranges::find(names, key) != names.end();
}

pistonfield::Array pistonOf(const TableSettings& settings) {
    const TableKeys keys(settings, "piston", settings.at("shape"));
    const Shape& shape = shapeCalled(keys.need("shape"));
    keys.requireNoOthers("the shape " + shape.name, shape.keys);
    try {
        return shapedPiston(shape.outline(keys));
    } catch (const InvalidRequest& error) {
        const Setting* const found = keys.findAngle(error.field());
        refuse(found == nullptr ? keys.need(error.field()) : *found, error.reason());
    }
}

std::string textOf(const Outline& outline) {
    const Description description = described(outline);
    return description.outline == outline ? description.text : edgesOf(outline);
}

}  // namespace run::pistonForm
