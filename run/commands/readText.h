// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>

namespace run {

/// All of a text file, which may be a pipe.
/// @throws std::runtime_error naming a file that cannot be read, or has more than 64 MB
std::string readText(const std::filesystem::path& path);

}  // namespace run
