// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/arrayDatasets.h"

#include <algorithm>
#include <array>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "run/file/attributes.h"
#include "run/file/outlineDataset.h"

namespace run::arrayDatasets {

using hdf5::checked;
using hdf5::Dataset;
using hdf5::Properties;
using hdf5::Space;
using hdf5::Type;
using pistonfield::Array;
using pistonfield::Element;
using pistonfield::Outline;
using pistonfield::Pose;

namespace {

constexpr const char* elementsName = "elements";
constexpr const char* weightsName = "weights";
constexpr std::size_t columns = 11;

// Of elements with outlines: rows of the outline's number, from 0 on, and what `outlineDataset` has
// of an edge; and for each element the number of its outline, or -1.
constexpr const char* outlinesName = "outlines";
constexpr const char* outlineOfName = "outline_of";
constexpr std::size_t outlineColumns = 1 + outlineDataset::columns;

/// How many of a unit there are in a metre.
constexpr std::array<std::pair<const char*, double>, 4> units{
    {{"m", 1}, {"cm", 1e2}, {"mm", 1e3}, {"um", 1e6}}};

double inAMetre(const std::string& unit) {
    const auto* const found =
        std::ranges::find(units, unit, [](const auto& each) { return each.first; });
    if (found == units.end())
        throw std::runtime_error("elements: the unit '" + unit + "' is none of m, cm, mm, um");
    return found->second;
}

Type weightType() {
    Type type(H5Tcreate(H5T_COMPOUND, 2 * sizeof(double)), weightsName);
    checked(H5Tinsert(type, "r", 0, H5T_IEEE_F64LE), weightsName);
    checked(H5Tinsert(type, "i", sizeof(double), H5T_IEEE_F64LE), weightsName);
    return type;
}

bool exists(hid_t file, const char* name) {
    return checked(H5Lexists(file, name, H5P_DEFAULT), name) > 0;
}

Dataset create(hid_t file, const char* name, hid_t type, const std::vector<hsize_t>& sizes) {
    const Space space(H5Screate_simple(static_cast<int>(sizes.size()), sizes.data(), nullptr),
                      name);
    const Properties properties(H5Pcreate(H5P_DATASET_CREATE), name);
    checked(H5Pset_obj_track_times(properties, false), "times");
    return {H5Dcreate2(file, name, type, space, H5P_DEFAULT, properties, H5P_DEFAULT), name};
}

void write(const Dataset& dataset, hid_t type, const void* values, const char* name) {
    checked(H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, values), name);
}

Element elementOf(const double* row, double unit) {
    const auto vector = [](const double* at, double by) {
        return Pose::Vector{at[0] / by, at[1] / by, at[2] / by};
    };
    return {{.width = row[0] / unit, .height = row[1] / unit},
            {vector(row + 2, unit), vector(row + 5, 1), vector(row + 8, 1)}};
}

/// @throws std::runtime_error where a dataset has more or fewer rows than an array has elements
std::size_t countOf(const std::vector<hsize_t>& sizes) {
    if (sizes.size() != 2 || sizes[1] != columns)
        throw std::runtime_error("elements: takes rows of 11 numbers");
    if (sizes[0] < 1 || sizes[0] > Array::mostElements)
        throw std::runtime_error("elements: " + std::to_string(sizes[0]) + " are not within 1 to " +
                                 std::to_string(Array::mostElements));
    return sizes[0];
}

std::vector<std::shared_ptr<const Outline>> readOutlines(hid_t file, double unit) {
    const Dataset dataset(H5Dopen2(file, outlinesName, H5P_DEFAULT), outlinesName);
    const std::vector<hsize_t> sizes = hdf5::dimensionsOf(dataset, H5T_IEEE_F64LE, outlinesName);
    if (sizes.size() != 2 || sizes[1] != outlineColumns ||
        sizes[0] > Array::mostShapes * Array::mostEdges)
        throw std::runtime_error("outlines: takes rows of 8 numbers, one for each edge");
    std::vector<double> rows(sizes[0] * outlineColumns);
    checked(H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data()),
            outlinesName);
    std::vector<std::vector<double>> edges;
    for (auto row = rows.begin(); row != rows.end(); row += outlineColumns) {
        if (*row == static_cast<double>(edges.size())) edges.emplace_back();
        if (*row + 1 != static_cast<double>(edges.size()))
            throw std::runtime_error("outlines: they do not follow each other");
        edges.back().insert(edges.back().end(), row + 1, row + outlineColumns);
    }
    std::vector<std::shared_ptr<const Outline>> outlines;
    outlines.reserve(edges.size());
    for (const std::vector<double>& each : edges)
        outlines.push_back(std::make_shared<const Outline>(outlineDataset::outlineOf(each, unit)));
    return outlines;
}

/// Gives elements the outlines that a file has for them.
void takeOutlines(hid_t file, double unit, std::vector<Element>& elements) {
    const auto outlines = readOutlines(file, unit);
    const Dataset dataset(H5Dopen2(file, outlineOfName, H5P_DEFAULT), outlineOfName);
    if (hdf5::dimensionsOf(dataset, H5T_STD_I64LE, outlineOfName) !=
        std::vector<hsize_t>{elements.size()})
        throw std::runtime_error("outline_of: takes one number for each element");
    std::vector<std::int64_t> numbers(elements.size());
    checked(H5Dread(dataset, H5T_NATIVE_INT64, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data()),
            outlineOfName);
    for (std::size_t i = 0; i < numbers.size(); ++i) {
        if (numbers[i] == -1) continue;
        if (numbers[i] < 0 || numbers[i] >= static_cast<std::int64_t>(outlines.size()))
            throw std::runtime_error("outline_of: there is no outline " +
                                     std::to_string(numbers[i]));
        elements[i].outline = outlines[static_cast<std::size_t>(numbers[i])];
    }
}

std::vector<Element> readElements(hid_t file) {
    const Dataset dataset(H5Dopen2(file, elementsName, H5P_DEFAULT), elementsName);
    const std::size_t count = countOf(hdf5::dimensionsOf(dataset, H5T_IEEE_F64LE, elementsName));
    const double unit = inAMetre(attributes::readText(dataset, "units"));
    std::vector<double> rows(count * columns);
    checked(H5Dread(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data()),
            elementsName);
    std::vector<Element> elements;
    elements.reserve(count);
    for (std::size_t i = 0; i < rows.size(); i += columns)
        elements.push_back(elementOf(&rows[i], unit));
    if (exists(file, outlinesName)) takeOutlines(file, unit, elements);
    return elements;
}

std::vector<std::complex<double>> readWeights(hid_t file, std::size_t count) {
    if (!exists(file, weightsName)) return {};
    const Dataset dataset(H5Dopen2(file, weightsName, H5P_DEFAULT), weightsName);
    const Type type = weightType();
    if (hdf5::dimensionsOf(dataset, type, weightsName) != std::vector<hsize_t>{count})
        throw std::runtime_error("weights: takes one for each element");
    std::vector<std::complex<double>> weights(count);
    checked(H5Dread(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, weights.data()), weightsName);
    return weights;
}

}  // namespace

bool areIn(hid_t file) { return exists(file, elementsName); }

bool haveOutlines(const std::vector<Element>& elements) {
    return std::ranges::any_of(elements,
                               [](const Element& element) { return element.outline != nullptr; });
}

std::vector<std::int64_t> outlineOf(const std::vector<Element>& elements) {
    std::map<const Outline*, std::int64_t> numbers;
    std::vector<std::int64_t> all;
    all.reserve(elements.size());
    for (const Element& element : elements) {
        const auto next = static_cast<std::int64_t>(numbers.size());
        all.push_back(
            element.outline ? numbers.try_emplace(element.outline.get(), next).first->second : -1);
    }
    return all;
}

std::vector<double> outlineRowsOf(const std::vector<Element>& elements) {
    const std::vector<std::int64_t> numbers = outlineOf(elements);
    std::vector<double> rows;
    std::int64_t next = 0;
    for (std::size_t i = 0; i < elements.size(); ++i) {
        if (numbers[i] != next) continue;
        const std::vector<double> edges = outlineDataset::rowsOf(*elements[i].outline);
        for (auto edge = edges.begin(); edge != edges.end(); edge += outlineDataset::columns) {
            rows.push_back(static_cast<double>(next));
            rows.insert(rows.end(), edge, edge + outlineDataset::columns);
        }
        ++next;
    }
    return rows;
}

std::vector<double> rowsOf(const std::vector<Element>& elements) {
    std::vector<double> rows;
    rows.reserve(elements.size() * columns);
    for (const auto& [piston, pose, outline] : elements) {
        rows.insert(rows.end(), {outline ? 0 : piston.width, outline ? 0 : piston.height});
        for (const Pose::Vector& vector : {pose.centre, pose.alongWidth, pose.alongHeight})
            rows.insert(rows.end(), vector.begin(), vector.end());
    }
    return rows;
}

void write(hid_t file, const Array& array) {
    const hsize_t count = array.elements.size();
    const Dataset elements = create(file, elementsName, H5T_IEEE_F64LE, {count, columns});
    write(elements, H5T_NATIVE_DOUBLE, rowsOf(array.elements).data(), elementsName);
    attributes::write(elements, "units", std::string("m"));
    if (haveOutlines(array.elements)) {
        hdf5::writeRows(file, outlinesName, outlineRowsOf(array.elements), outlineColumns);
        write(create(file, outlineOfName, H5T_STD_I64LE, {count}), H5T_NATIVE_INT64,
              outlineOf(array.elements).data(), outlineOfName);
    }
    const Type type = weightType();
    write(create(file, weightsName, type, {count}), type, array.weights.data(), weightsName);
}

Array read(hid_t file) {
    Array array;
    array.elements = readElements(file);
    array.weights = readWeights(file, array.elements.size());
    return array;
}

}  // namespace run::arrayDatasets
