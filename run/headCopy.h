// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

/// The first page of what is HDF5's in a file of a field: the only one that is written again when a
/// run ends, and the one without which nothing is found. A copy of it, as the page was when the
/// file was created, lies before it, where HDF5 leaves room for programs.
namespace run::headCopy {

/// Bytes before those of HDF5: for the first words of a file, and the copy.
constexpr std::int64_t room = 8192;
/// Bytes of the page.
constexpr std::int64_t pageBytes = 4096;

/// Makes the copy, when the file has been created.
/// @throws std::runtime_error
void make(const std::filesystem::path& file);

/// The bytes that a file has had from its creation on, or none where it has no copy.
std::optional<std::int64_t> bytesOf(const std::filesystem::path& file);

/// Puts the copy in the page's place, and gives the file back the bytes that were cut off, as
/// zeros.
/// @return whether there was a copy
/// @throws std::runtime_error where the file cannot be written
bool restore(const std::filesystem::path& file);

}  // namespace run::headCopy
