// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <hdf5.h>

#include <cstddef>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// Owners of what HDF5 hands out, and its failures as exceptions.
namespace run::hdf5 {

/// HDF5's own reason for its last failure.
std::string reason();

/// @throws std::runtime_error "<what>: <HDF5's own reason>"
[[noreturn]] void fail(const std::string& what);

/// Hands on what a function of HDF5 returns, unless it is negative.
/// @throws std::runtime_error as `fail`
template <class Returned>
Returned checked(Returned returned, const std::string& what) {
    if (returned < 0) fail(what);
    return returned;
}

template <herr_t (*close)(hid_t)>
class Handle {
  public:
    Handle() = default;
    Handle(hid_t id, const std::string& what) : id(checked(id, what)) {}
    Handle(const Handle&) = delete;
    Handle& operator=(const Handle&) = delete;
    Handle(Handle&& other) noexcept : id(std::exchange(other.id, H5I_INVALID_HID)) {}
    Handle& operator=(Handle&& other) noexcept {
        std::swap(id, other.id);
        return *this;
    }
    ~Handle() {
        if (id >= 0) static_cast<void>(close(id));
    }

    // Like the bare identifier in calls of HDF5.
    operator hid_t() const noexcept { return id; }  // NOLINT(google-explicit-constructor)

    /// Closes it now, so that a failure is seen.
    void reset(const std::string& what) {
        checked(close(std::exchange(id, H5I_INVALID_HID)), what);
    }

    /// Lets it stay open until the process ends.
    void abandon() noexcept { id = H5I_INVALID_HID; }

  private:
    hid_t id = H5I_INVALID_HID;
};

using File = Handle<&H5Fclose>;
using Dataset = Handle<&H5Dclose>;
using Attribute = Handle<&H5Aclose>;
using Space = Handle<&H5Sclose>;
using Type = Handle<&H5Tclose>;
using Properties = Handle<&H5Pclose>;

/// The type of texts of any length, UTF-8.
Type textType();

/// The sizes of a space: none of a scalar's, and one of 0 where there is no value at all.
std::vector<hsize_t> dimensionsOf(const Space& space);

/// The same of a dataset's, after its type has been found to be this one.
/// @throws std::runtime_error where the dataset has another type
std::vector<hsize_t> dimensionsOf(const Dataset& dataset, hid_t type, const std::string& name);

/// Creates a dataset of numbers, so many in a row.
void writeRows(hid_t file, const char* name, std::span<const double> numbers, std::size_t columns);

/// Keeps HDF5 from printing its failures: their reasons are in the exceptions.
void beSilent();

}  // namespace run::hdf5
