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

/// What a copy says of its file.
struct Whole {
    std::int64_t bytes = 0;  ///< that the file has had since the copy was made
    std::int64_t canBeFilled =
        0;  ///< 1 where values that are cut off can be computed in their place
};

/// Makes the copy, when all has its place.
/// @param canBeFilled as in `Whole`
/// @throws std::runtime_error
void make(const std::filesystem::path& file, bool canBeFilled);

/// None where the file has no copy.
std::optional<Whole> wholeOf(const std::filesystem::path& file);

/// Puts the copy in the page's place, and gives a file that can be filled the bytes that were cut
/// off, as zeros.
/// @return whether that makes the file whole; otherwise it is left alone
/// @throws std::runtime_error where the file cannot be written
bool restore(const std::filesystem::path& file);

}  // namespace run::headCopy
