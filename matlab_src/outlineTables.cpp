// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/outlineTables.h"

#include <algorithm>
#include <array>
#include <string>
#include <utility>
#include <variant>

#include "arrays/pistonShapes.h"
#include "field/Request.h"
#include "matlab_src/NamedValues.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using namespace pistonfield;

namespace {

using Column = std::array<double, outlineRows>;

[[noreturn]] void refuse(const std::string& reason) { throw InvalidRequest("elements", reason); }

Column columnOf(const StraightEdge& edge) {
    return {0, 0, 0, edge.from[0], edge.from[1], edge.to[0], edge.to[1], 0};
}

Column columnOf(const Arc& arc) {
    return {0, 0, 1, arc.centre[0], arc.centre[1], arc.radius, arc.from, arc.sweep};
}

OutlineEdge edgeOf(const Column& column) {
    if (column[2] == 0) return StraightEdge{{column[3], column[4]}, {column[5], column[6]}};
    if (column[2] == 1) return Arc{{column[3], column[4]}, column[5], column[6], column[7]};
    refuse("an edge is neither straight nor an arc");
}

std::vector<PlaneVector> cornersOf(const std::vector<double>& numbers, const char* name) {
    if (numbers.size() % 2 != 0) throw InvalidRequest(name, "must be x and y of each corner");
    std::vector<PlaneVector> corners;
    for (std::size_t i = 0; i < numbers.size(); i += 2)
        corners.push_back({numbers[i], numbers[i + 1]});
    return corners;
}

Outline polygonOf(NamedValues& given) {
    const std::vector<PlaneVector> corners = cornersOf(given.numbers("corners"), "corners");
    const std::vector<PlaneVector> ofHoles = cornersOf(given.numbers("holes"), "holes");
    std::vector<std::vector<PlaneVector>> holes;
    auto next = ofHoles.begin();
    for (const double size : given.numbers("hole_sizes")) {
        const std::int64_t count = whole(size, "hole_sizes");
        if (count < 0 || count > ofHoles.end() - next)
            throw InvalidRequest("hole_sizes", "are not those of the holes");
        holes.emplace_back(next, next + count);
        next += count;
    }
    if (next != ofHoles.end()) throw InvalidRequest("hole_sizes", "are not those of the holes");
    return polygonShape(corners, holes);
}

Outline sectorOf(NamedValues& given) {
    const double inner = given.optionalNumber("inner").value_or(0);
    const double outer = given.number("outer");
    const std::vector<double> angles = given.numbers("angles");
    if (angles.size() != 2) throw InvalidRequest("angles", "must be two: where it begins and ends");
    return sectorShape(inner, outer, angles[0], angles[1]);
}

Outline outlineOf(const std::string& shape, NamedValues& given) {
    if (shape == "disc") return discShape(given.number("radius"));
    if (shape == "ring") return ringShape(given.number("inner"), given.number("outer"));
    if (shape == "sector") return sectorOf(given);
    if (shape == "polygon") return polygonOf(given);
    throw InvalidRequest("shape", "'" + shape + "' is none of disc, ring, sector, polygon");
}

}  // namespace

bool isOutlineTable(const host::Array* array) {
    return host::rows(array) == outlineRows && host::columns(array) > 1;
}

Outlines outlinesOf(const host::Array* table) {
    const std::vector<double> numbers = numbersOf(table, "elements");
    if (numbers.size() % outlineRows != 0) refuse("a table of outlines has 8 rows");
    std::vector<Outline> outlines;
    for (std::size_t first = 0; first < numbers.size(); first += outlineRows) {
        Column column;
        std::copy_n(numbers.begin() + static_cast<std::ptrdiff_t>(first), outlineRows,
                    column.begin());
        // Each edge belongs to the loop of the one before it, or begins the next loop or outline.
        const auto isNext = [](double number, std::size_t count) {
            return number == static_cast<double>(count + 1);
        };
        if (isNext(column[0], outlines.size())) outlines.emplace_back();
        if (outlines.empty() || column[0] != static_cast<double>(outlines.size()))
            refuse("the outlines are numbered from 1, one after the other");
        std::vector<Loop>& loops = outlines.back().loops;
        if (isNext(column[1], loops.size())) loops.emplace_back();
        if (loops.empty() || column[1] != static_cast<double>(loops.size()))
            refuse("the loops of an outline are numbered from 1, one after the other");
        loops.back().push_back(edgeOf(column));
    }
    Outlines shared;
    for (Outline& outline : outlines)
        shared.push_back(std::make_shared<const Outline>(std::move(outline)));
    return shared;
}

host::Array* tableOf(const Outlines& outlines) {
    std::vector<double> numbers;
    for (std::size_t i = 0; i < outlines.size(); ++i)
        for (std::size_t l = 0; l < outlines[i]->loops.size(); ++l)
            for (const OutlineEdge& edge : outlines[i]->loops[l]) {
                Column column = std::visit([](const auto& one) { return columnOf(one); }, edge);
                column[0] = static_cast<double>(i + 1);
                column[1] = static_cast<double>(l + 1);
                numbers.insert(numbers.end(), column.begin(), column.end());
            }
    host::Array* const matrix = host::createReal(outlineRows, numbers.size() / outlineRows);
    std::copy(numbers.begin(), numbers.end(), host::resultReal(matrix));
    return matrix;
}

Outlines outlinesOf(const std::vector<Element>& elements) {
    Outlines outlines;
    for (const Element& element : elements)
        if (element.outline &&
            std::find(outlines.begin(), outlines.end(), element.outline) == outlines.end())
            outlines.push_back(element.outline);
    return outlines;
}

host::Array* outlineOfShape(Arguments arguments) {
    if (arguments.size() < 2) throw InvalidRequest("shape", "is missing");
    const std::string shape = textOf(arguments[1], "shape");
    NamedValues given(arguments.subspan(2));
    auto outline = std::make_shared<const Outline>(outlineOf(shape, given));
    return tableOf({std::move(outline)});
}

}  // namespace questions
