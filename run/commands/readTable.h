// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>

namespace run {

/// Whether there is an HDF5 file. A pipe is none, and is not to be read twice.
bool isHdf5(const std::filesystem::path& path);

/// All of a table of elements, as comma-separated values: what a text file has, or what is in an
/// HDF5 file as `arrayDatasets` has it, such as a field of an array.
/// @throws std::runtime_error naming a file that cannot be read
std::string readTable(const std::filesystem::path& path);

}  // namespace run
