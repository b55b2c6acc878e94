// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/arrayBuilding.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "arrays/AnnularArray.h"
#include "arrays/ArrayReport.h"
#include "arrays/BowlArray.h"
#include "arrays/ConvexArray.h"
#include "arrays/HoneycombArray.h"
#include "arrays/arrayTable.h"
#include "arrays/planarArrays.h"
#include "field/Request.h"
#include "matlab_src/NamedValues.h"
#include "matlab_src/arrayArguments.h"
#include "matlab_src/outlineTables.h"
#include "matlab_src/questionArguments.h"

namespace questions {

using namespace pistonfield;

namespace {

std::vector<Element> lineOf(const NamedValues& given) {
    given.expectOnly("line", {"elements", "width", "height", "pitch", "kerf"});
    const LineArray array{.elements = whole(given.number("elements"), "elements"),
                          .width = given.number("width"),
                          .height = given.number("height"),
                          .pitch = given.optionalNumber("pitch"),
                          .kerf = given.optionalNumber("kerf")};
    return elementsOf(array);
}

/// One number along x and one along y, or one for both, or none.
std::pair<std::optional<double>, std::optional<double>> alongBoth(const NamedValues& given,
                                                                  const char* name) {
    const std::vector<double> found = given.numbers(name);
    if (found.empty()) return {};
    if (found.size() > 2) throw InvalidRequest(name, "must be one number or two, along x and y");
    return {found.front(), found.back()};
}

std::vector<Element> matrixOf(const NamedValues& given) {
    given.expectOnly("matrix", {"elements", "width", "height", "pitch", "kerf"});
    const std::vector<double> counts = given.numbers("elements");
    if (counts.size() != 2)
        throw InvalidRequest("elements", "must be two numbers, of columns and of rows");
    MatrixArray array;
    array.columns = whole(counts[0], "elements");
    array.rows = whole(counts[1], "elements");
    array.width = given.number("width");
    array.height = given.number("height");
    std::tie(array.pitchX, array.pitchY) = alongBoth(given, "pitch");
    std::tie(array.kerfX, array.kerfY) = alongBoth(given, "kerf");
    return elementsOf(array);
}

std::vector<Element> convexOf(const NamedValues& given) {
    given.expectOnly("convex", {"elements", "radius", "width", "height", "pitch", "angle", "kerf"});
    const ConvexArray array{.elements = whole(given.number("elements"), "elements"),
                            .radius = given.number("radius"),
                            .width = given.number("width"),
                            .height = given.number("height"),
                            .pitch = given.optionalNumber("pitch"),
                            .angle = given.optionalNumber("angle"),
                            .kerf = given.optionalNumber("kerf")};
    return elementsOf(array);
}

std::vector<Element> bowlOf(const NamedValues& given) {
    const std::optional<double> elements = given.optionalNumber("elements");
    if (elements)
        given.expectOnly("bowl with a number of elements", {"radius", "aperture", "opening_angle",
                                                            "hole", "width", "height", "elements"});
    else
        given.expectOnly("bowl", {"radius", "aperture", "opening_angle", "hole", "width", "height",
                                  "elements", "pitch", "kerf", "counts"});
    const Bowl bowl{.radius = given.number("radius"),
                    .aperture = given.optionalNumber("aperture"),
                    .openingAngle = given.optionalNumber("opening_angle"),
                    .hole = given.optionalNumber("hole").value_or(0)};
    const double width = given.number("width");
    const double height = given.number("height");
    if (elements) return elementsOf(BowlSpiral{bowl, whole(*elements, "elements"), width, height});
    BowlRings rings;
    rings.bowl = bowl;
    rings.width = width;
    rings.height = height;
    rings.pitch = given.optionalNumber("pitch");
    rings.kerf = given.optionalNumber("kerf");
    for (const double count : given.numbers("counts"))
        rings.counts.push_back(whole(count, "counts"));
    return elementsOf(rings);
}

std::vector<Element> annularOf(const NamedValues& given) {
    given.expectOnly("annular", {"radii", "elements", "radius", "inner", "kerf"});
    AnnularArray array;
    array.radii = given.numbers("radii");
    if (const std::optional<double> elements = given.optionalNumber("elements"))
        array.elements = whole(*elements, "elements");
    array.radius = given.optionalNumber("radius");
    array.inner = given.optionalNumber("inner");
    array.kerf = given.optionalNumber("kerf").value_or(0);
    return elementsOf(array);
}

std::vector<Element> honeycombOf(const NamedValues& given) {
    given.expectOnly("honeycomb", {"rings", "width", "pitch", "kerf"});
    const HoneycombArray array{.rings = whole(given.number("rings"), "rings"),
                               .width = given.number("width"),
                               .pitch = given.optionalNumber("pitch"),
                               .kerf = given.optionalNumber("kerf")};
    return elementsOf(array);
}

std::vector<Element> builtElements(const std::string& kind, const NamedValues& given) {
    if (kind == "line") return lineOf(given);
    if (kind == "matrix") return matrixOf(given);
    if (kind == "convex") return convexOf(given);
    if (kind == "bowl") return bowlOf(given);
    if (kind == "annular") return annularOf(given);
    if (kind == "honeycomb") return honeycombOf(given);
    throw InvalidRequest(
        "kind", "'" + kind + "' is none of line, matrix, convex, bowl, annular, honeycomb");
}

std::vector<Element> builtElements(Arguments arguments) {
    if (arguments.size() < 2) throw InvalidRequest("kind", "is missing");
    const std::string kind = textOf(arguments[1], "kind");
    const NamedValues given(arguments.subspan(2));
    return builtElements(kind, given);
}

}  // namespace

std::vector<std::vector<double>> columnsOf(const std::vector<Element>& elements) {
    const Outlines outlines = outlinesOf(elements);
    std::vector<std::vector<double>> columns;
    for (const auto& [piston, pose, outline] : elements) {
        std::vector<double> column{piston.width, piston.height};
        if (outline) {
            const auto found = std::find(outlines.begin(), outlines.end(), outline);
            column = {0, static_cast<double>(found - outlines.begin() + 1)};
        }
        for (const auto& vector : {pose.centre, pose.alongWidth, pose.alongHeight, pose.normal()})
            column.insert(column.end(), vector.begin(), vector.end());
        columns.push_back(column);
    }
    return columns;
}

host::Array* answerOf(const std::vector<std::vector<double>>& columns) {
    host::Array* const matrix = host::createReal(columns.front().size(), columns.size());
    double* to = host::resultReal(matrix);
    for (const std::vector<double>& column : columns)
        to = std::copy(column.begin(), column.end(), to);
    return matrix;
}

host::Array* builtArray(Arguments arguments) {
    return answerOf(columnsOf(builtElements(arguments)));
}

host::Array* outlinesOfArray(Arguments arguments) {
    return tableOf(outlinesOf(builtElements(arguments)));
}

host::Array* outlinesOfTable(Arguments arguments) {
    expectArguments(arguments, 2);
    const Array array = readArrayFile(textOf(arguments[1], "file"));
    const Outlines outlines = outlinesOf(array.elements);
    const auto isShaped = [](const Element& element) { return element.outline != nullptr; };
    if (!outlines.empty() && !std::all_of(array.elements.begin(), array.elements.end(), isShaped))
        throw InvalidRequest("elements",
                             "some are rectangles and others have outlines, which these functions "
                             "do not take together: give the rectangles outlines, too");
    return tableOf(outlines);
}

host::Array* arrayOfTable(Arguments arguments) {
    expectArguments(arguments, 2);
    const Array array = readArrayFile(textOf(arguments[1], "file"));
    auto columns = columnsOf(array.elements);
    for (std::size_t i = 0; i < array.weights.size(); ++i) {
        columns[i].push_back(array.weights[i].real());
        columns[i].push_back(array.weights[i].imag());
    }
    return answerOf(columns);
}

host::Array* overlapsOfArray(Arguments arguments) {
    expectArguments(arguments, 1 + elementArguments);
    const ArrayReport report = survey(elementsOf(arguments.subspan(1)));
    std::vector<double> answer{static_cast<double>(report.overlaps.size())};
    if (!report.overlaps.empty()) {
        const auto [first, second] = report.overlaps.front();
        for (const std::size_t element : {first, second})
            answer.push_back(static_cast<double>(element + 1));
    }
    return rowOf(answer);
}

}  // namespace questions
