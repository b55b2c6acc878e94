// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "arrays/planarArrays.h"

#include <string>

#include "arrays/builderChecks.h"
#include "field/Request.h"

namespace pistonfield {

namespace {

/// Elements along an axis.
struct Row {
    std::int64_t count;
    double side;
    std::optional<double> pitch, kerf;
    std::string axis;      ///< what the names of pitch and kerf end with
    std::string sideName;  ///< width or height
};

double pitchOf(const Row& row) {
    const std::string pitch = "pitch" + row.axis;
    const std::string kerf = "kerf" + row.axis;
    requireOne({{pitch, row.pitch.has_value()}, {kerf, row.kerf.has_value()}}, row.count > 1);
    if (row.kerf) {
        requireNoLess(kerf, *row.kerf);
        return row.side + *row.kerf;
    }
    if (!row.pitch) return row.side;
    requireLength(pitch, *row.pitch);
    if (*row.pitch < row.side)
        throw InvalidRequest(pitch,
                             "elements overlap unless it is the " + row.sideName + " or more");
    return *row.pitch;
}

double placeOf(std::int64_t i, std::int64_t count, double pitch) {
    return static_cast<double>(2 * i - (count - 1)) / 2 * pitch;
}

std::vector<Element> elementsOf(const Row& columns, const Row& rows) {
    const double pitchX = pitchOf(columns);
    const double pitchY = pitchOf(rows);
    std::vector<Element> elements;
    for (std::int64_t row = 0; row < rows.count; ++row)
        for (std::int64_t column = 0; column < columns.count; ++column) {
            Element element{{columns.side, rows.side}, {}};
            element.pose.centre = {placeOf(column, columns.count, pitchX),
                                   placeOf(row, rows.count, pitchY), 0};
            elements.push_back(element);
        }
    return elements;
}

}  // namespace

std::vector<Element> elementsOf(const LineArray& array) {
    requireCount("elements", array.elements);
    requireLength("width", array.width);
    requireLength("height", array.height);
    return elementsOf({array.elements, array.width, array.pitch, array.kerf, "", "width"},
                      {1, array.height, {}, {}, "", "height"});
}

std::vector<Element> elementsOf(const MatrixArray& array) {
    requireCount("columns", array.columns);
    requireCount("rows", array.rows);
    requireCount("rows", array.columns * array.rows);
    requireLength("width", array.width);
    requireLength("height", array.height);
    return elementsOf({array.columns, array.width, array.pitchX, array.kerfX, "X", "width"},
                      {array.rows, array.height, array.pitchY, array.kerfY, "Y", "height"});
}

}  // namespace pistonfield
