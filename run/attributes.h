// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <vector>

#include "run/Hdf5.h"

/// Attributes of an HDF5 object: numbers, arrays of numbers, texts. One that is written again keeps
/// its room, and every other byte its place. All throw std::runtime_error naming the attribute.
namespace run::attributes {

bool exists(hid_t object, const char* name);

/// Creates an attribute of these dimensions, or a scalar where there are none, or writes it again.
void write(hid_t object, const char* name, std::span<const double> values,
           const std::vector<hsize_t>& dimensions = {});
void write(hid_t object, const char* name, std::span<const std::int64_t> values,
           const std::vector<hsize_t>& dimensions = {});
void write(hid_t object, const char* name, double value);
void write(hid_t object, const char* name, std::int64_t value);
/// @param room characters that the attribute is to have room for, when it is created; what does not
///             fit is cut off
void write(hid_t object, const char* name, const std::string& text, std::size_t room = 0);

std::vector<double> readReals(hid_t object, const char* name);
std::vector<std::int64_t> readIntegers(hid_t object, const char* name);
double readReal(hid_t object, const char* name);
std::int64_t readInteger(hid_t object, const char* name);
std::string readText(hid_t object, const char* name);

}  // namespace run::attributes
