// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>

/// The first page of what is HDF5's in a file of a field: the only one that is written again when a
/// run ends, and the one without which nothing is found. A copy of it, as the page was when all had
/// its place in the file, lies before it, where HDF5 leaves room for programs. In a file to be
/// computed that is when the file was created, and so the copy says that the field is not complete;
/// in compressed files it is when they were finished. Joined files have no copy: they are
/// joined again.
namespace run::headCopy {

/// Bytes before those of HDF5: for the first words of a file, and the copy.
constexpr std::int64_t room = 8192;
/// Bytes of the page.
constexpr std::int64_t pageBytes = 4096;

/// Makes the copy, when all has its place.
/// @throws std::runtime_error
void make(const std::filesystem::path& file);

/// The bytes that a file has had since the copy was made, or none where it has no copy.
std::optional<std::int64_t> bytesOf(const std::filesystem::path& file);

/// Puts the copy in the page's place, and gives the file back the bytes that were cut off, as
/// zeros.
/// @return whether there was a copy
/// @throws std::runtime_error where the file cannot be written
bool restore(const std::filesystem::path& file);

}  // namespace run::headCopy
