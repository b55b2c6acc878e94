// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <utility>
#include <vector>

#include "run/file/Hdf5.h"

/// Attributes of an HDF5 object: numbers and arrays of numbers, little end first, and texts of any
/// length, UTF-8. All throw std::runtime_error naming the attribute.
namespace run::attributes {

using Dimensions = std::vector<hsize_t>;

bool exists(hid_t object, const char* name);

/// Creates an attribute of these dimensions, or a scalar where there are none. One that is there is
/// written again in its place.
void write(hid_t object, const char* name, std::span<const double> values,
           const Dimensions& dimensions = {});
void write(hid_t object, const char* name, std::span<const std::int64_t> values,
           const Dimensions& dimensions = {});
void write(hid_t object, const char* name, std::span<const std::uint64_t> values,
           const Dimensions& dimensions = {});
void write(hid_t object, const char* name, double value);
void write(hid_t object, const char* name, std::int64_t value);

/// Creates a text.
void write(hid_t object, const char* name, const std::string& text);

/// Gives texts that are there other values. Texts lie apart from the attributes that name them: the
/// new ones are on the disk before an attribute names them.
void replace(hid_t object, const std::vector<std::pair<const char*, std::string>>& texts);

/// Numbers are read where the attribute has their type and these dimensions alone: whatever else a
/// damaged file may have is not handed to HDF5 to convert.
std::vector<double> readReals(hid_t object, const char* name, const Dimensions& dimensions = {});
std::vector<std::int64_t> readIntegers(hid_t object, const char* name,
                                       const Dimensions& dimensions = {});
std::vector<std::uint64_t> readUnsigned(hid_t object, const char* name,
                                        const Dimensions& dimensions = {});
double readReal(hid_t object, const char* name);
std::int64_t readInteger(hid_t object, const char* name);
std::string readText(hid_t object, const char* name);

}  // namespace run::attributes
