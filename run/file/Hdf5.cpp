// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/file/Hdf5.h"

#include <array>
#include <cerrno>
#include <initializer_list>
#include <stdexcept>
#include <system_error>

namespace run::hdf5 {

namespace {

/// Keeps the text of the innermost failure, which comes first.
herr_t keepFirst(unsigned number, const H5E_error2_t* error, void* text) {
    if (number == 0 && error->desc != nullptr) *static_cast<std::string*>(text) = error->desc;
    return 0;
}

/// What the system said of a disk, which MPI does not hand on, or nothing.
std::string ofDisk(int error) {
    for (const int known : {EIO, ENOSPC, EDQUOT, EFBIG, EROFS, ESTALE})
        if (error == known) return std::generic_category().message(error);
    return "";
}

/// The system's message within HDF5's, which names addresses and buffers too.
/// @param error the system's number of it
std::string essence(const std::string& reason, int error) {
    const std::string before = "error message = '";
    const std::size_t begin = reason.find(before);
    if (begin == std::string::npos) return ofDisk(error).empty() ? reason : ofDisk(error);
    const std::size_t message = begin + before.size();
    return reason.substr(message, reason.find('\'', message) - message);
}

}  // namespace

std::string reason() {
    const int error = errno;
    std::string text = "HDF5 gives no reason";
    static_cast<void>(H5Ewalk2(H5E_DEFAULT, H5E_WALK_UPWARD, &keepFirst, &text));
    return essence(text, error);
}

void fail(const std::string& what) { throw std::runtime_error(what + ": " + reason()); }

Type textType() {
    Type type(H5Tcopy(H5T_C_S1), "the type of texts");
    checked(H5Tset_size(type, H5T_VARIABLE), "the size of texts");
    checked(H5Tset_cset(type, H5T_CSET_UTF8), "the characters of texts");
    return type;
}

std::vector<hsize_t> dimensionsOf(const Space& space) {
    if (H5Sget_simple_extent_type(space) == H5S_NULL) return {0};
    const int count = checked(H5Sget_simple_extent_ndims(space), "the dimensions of a space");
    std::vector<hsize_t> sizes(static_cast<std::size_t>(count));
    if (count > 0)
        checked(H5Sget_simple_extent_dims(space, sizes.data(), nullptr), "the sizes of a space");
    return sizes;
}

std::vector<hsize_t> dimensionsOf(const Dataset& dataset, hid_t type, const std::string& name) {
    const Type stored(H5Dget_type(dataset), name);
    if (checked(H5Tequal(stored, type), name) == 0)
        throw std::runtime_error("the dataset '" + name + "' is of another type");
    return dimensionsOf(Space(H5Dget_space(dataset), name));
}

void writeRows(hid_t file, const char* name, std::span<const double> numbers, std::size_t columns) {
    const std::array<hsize_t, 2> sizes{numbers.size() / columns, columns};
    const Space space(H5Screate_simple(2, sizes.data(), nullptr), name);
    const Properties properties(H5Pcreate(H5P_DATASET_CREATE), name);
    checked(H5Pset_obj_track_times(properties, false), "times");
    const Dataset dataset(
        H5Dcreate2(file, name, H5T_IEEE_F64LE, space, H5P_DEFAULT, properties, H5P_DEFAULT), name);
    checked(H5Dwrite(dataset, H5T_NATIVE_DOUBLE, H5S_ALL, H5S_ALL, H5P_DEFAULT, numbers.data()),
            name);
}

void beSilent() { static_cast<void>(H5Eset_auto2(H5E_DEFAULT, nullptr, nullptr)); }

}  // namespace run::hdf5
