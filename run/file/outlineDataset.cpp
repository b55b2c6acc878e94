// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/outlineDataset.h"

#include <array>
#include <cstddef>
#include <stdexcept>
#include <variant>

#include "field/Array.h"

namespace run::outlineDataset {

using hdf5::checked;
using hdf5::Dataset;
using pistonfield::Arc;
using pistonfield::Outline;
using pistonfield::OutlineEdge;
using pistonfield::PlaneVector;
using pistonfield::StraightEdge;

namespace {

constexpr const char* datasetName = "outline";
constexpr double straight = 0;
constexpr double arc = 1;

/// An edge's numbers but for its loop's.
using Row = std::array<double, columns - 1>;

Row rowOf(const StraightEdge& edge) {
    return {straight, edge.from[0], edge.from[1], edge.to[0], edge.to[1], 0};
}

Row rowOf(const Arc& edge) {
    return {arc, edge.centre[0], edge.centre[1], edge.radius, edge.from, edge.sweep};
}

OutlineEdge edgeOf(const double* row, double unit) {
    const PlaneVector begin{row[1] / unit, row[2] / unit};
    if (row[0] == straight) return StraightEdge{begin, {row[3] / unit, row[4] / unit}};
    if (row[0] == arc) return Arc{begin, row[3] / unit, row[4], row[5]};
    throw std::runtime_error("outline: an edge is neither straight nor an arc");
}

}  // namespace

bool isIn(hid_t file) {
    return checked(H5Lexists(file, datasetName, H5P_DEFAULT), datasetName) > 0;
}

std::vector<double> rowsOf(const Outline& outline) {
    std::vector<double> rows;
    for (std::size_t loop = 0; loop < outline.loops.size(); ++loop)
        for (const OutlineEdge& edge : outline.loops[loop]) {
            rows.push_back(static_cast<double>(loop));
            const Row row = std::visit([](const auto& one) { return rowOf(one); }, edge);
            rows.insert(rows.end(), row.begin(), row.end());
        }
    return rows;
}

void write(hid_t file, const Outline& outline) {
    hdf5::writeRows(file, datasetName, rowsOf(outline), columns);
}

Outline read(hid_t file) {
    const Dataset dataset(H5Dopen2(file, datasetName, H5P_DEFAULT), datasetName);
    const std::vector<hsize_t> sizes = hdf5::dimensionsOf(dataset, H5T_IEEE_F64LE, datasetName);
    if (sizes.size() != 2 || sizes[1] != columns || sizes[0] > pistonfield::Array::mostEdges)
        throw std::runtime_error("outline: takes rows of 7 numbers, one for each edge");
    std::vector<double> rows(sizes[0] * columns);
    checked(H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data()),
            datasetName);
    return outlineOf(rows);
}

Outline outlineOf(std::span<const double> rows, double unit) {
    if (rows.size() % columns != 0)
        throw std::runtime_error("outline: takes rows of 7 numbers, one for each edge");
    Outline outline;
    for (std::size_t i = 0; i < rows.size(); i += columns) {
        if (rows[i] == static_cast<double>(outline.loops.size())) outline.loops.emplace_back();
        if (rows[i] + 1 != static_cast<double>(outline.loops.size()))
            throw std::runtime_error("outline: its loops do not follow each other");
        outline.loops.back().push_back(edgeOf(&rows[i + 1], unit));
    }
    return outline;
}

}  // namespace run::outlineDataset
