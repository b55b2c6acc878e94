// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/joinedParts.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <stdexcept>

namespace run::joinedParts {

using hdf5::checked;
using hdf5::Dataset;
using hdf5::Properties;
using hdf5::Space;
using hdf5::Type;

namespace {

constexpr const char* datasetName = "parts";

/// As HDF5 has it in memory and, apart from the text, in the file.
struct Row {
    char* file;
    std::array<std::int64_t, 3> first;
    std::array<std::int64_t, 3> size;
    Digest::Value identity;
    Digest::Value values;
};

Type arrayOf(hid_t each, hsize_t count) {
    return {H5Tarray_create2(each, 1, &count), "the type of an array"};
}

Type rowType() {
    Type type(H5Tcreate(H5T_COMPOUND, sizeof(Row)), "the type of parts");
    const auto insert = [&](const char* name, std::size_t offset, const Type& member) {
        checked(H5Tinsert(type, name, offset, member), name);
    };
    insert("file", offsetof(Row, file), hdf5::textType());
    insert("first_point", offsetof(Row, first), arrayOf(H5T_STD_I64LE, 3));
    insert("points", offsetof(Row, size), arrayOf(H5T_STD_I64LE, 3));
    insert("identity", offsetof(Row, identity), arrayOf(H5T_STD_U64LE, 2));
    insert("values", offsetof(Row, values), arrayOf(H5T_STD_U64LE, 2));
    return type;
}

/// Frees the texts that HDF5 has put into rows.
class OwnedTexts {
  public:
    OwnedTexts(const Type& type, const Space& space, std::vector<Row>& rows)
        : type(type), space(space), rows(rows) {}
    OwnedTexts(const OwnedTexts&) = delete;
    OwnedTexts& operator=(const OwnedTexts&) = delete;
    ~OwnedTexts() { static_cast<void>(H5Dvlen_reclaim(type, space, H5P_DEFAULT, rows.data())); }

  private:
    const Type& type;
    const Space& space;
    std::vector<Row>& rows;
};

}  // namespace

void write(hid_t file, const std::vector<JoinedPart>& parts) {
    std::vector<Row> rows;
    std::vector<std::string> names;
    names.reserve(parts.size());
    for (const JoinedPart& part : parts) {
        names.push_back(part.file);
        rows.push_back(
            {names.back().data(), part.box.first, part.box.size, part.identity, part.values});
    }
    const hsize_t count = rows.size();
    const Space space(H5Screate_simple(1, &count, nullptr), datasetName);
    const Properties properties(H5Pcreate(H5P_DATASET_CREATE), datasetName);
    checked(H5Pset_obj_track_times(properties, false), "times");
    const Type type = rowType();
    const Dataset dataset(
        H5Dcreate2(file, datasetName, type, space, H5P_DEFAULT, properties, H5P_DEFAULT),
        datasetName);
    checked(H5Dwrite(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data()), datasetName);
}

std::vector<JoinedPart> read(hid_t file) {
    if (checked(H5Lexists(file, datasetName, H5P_DEFAULT), datasetName) == 0) return {};
    const Dataset dataset(H5Dopen2(file, datasetName, H5P_DEFAULT), datasetName);
    const Type type = rowType();
    const std::vector<hsize_t> sizes = hdf5::dimensionsOf(dataset, type, datasetName);
    if (sizes.size() != 1)
        throw std::runtime_error("the dataset 'parts' has another number of dimensions");
    std::vector<Row> rows(sizes.front());
    const Space space(H5Dget_space(dataset), datasetName);
    const OwnedTexts owned(type, space, rows);
    checked(H5Dread(dataset, type, H5S_ALL, H5S_ALL, H5P_DEFAULT, rows.data()), datasetName);
    std::vector<JoinedPart> parts;
    parts.reserve(rows.size());
    for (const Row& row : rows)
        parts.push_back(
            {row.file == nullptr ? "" : row.file, {row.first, row.size}, row.identity, row.values});
    return parts;
}

}  // namespace run::joinedParts
