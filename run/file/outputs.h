// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>
#include <vector>

/// What may become of the file that a command is to write. All throw std::runtime_error naming it.
namespace run::outputs {

/// The file that a path leads to, through symbolic links, whether it is there or not: what is to be
/// written, the links staying what they are.
std::filesystem::path target(const std::filesystem::path& path);

/// Whether two paths lead to one file, however they are named.
bool areOne(const std::filesystem::path& a, const std::filesystem::path& b);

/// Refuses an output that is one of the inputs, or a folder, or that is there and is not to be
/// replaced.
void require(const std::filesystem::path& output, bool overwrite,
             const std::vector<std::filesystem::path>& inputs = {});

/// Refuses an output in whose folder nothing can be written.
void requireFolder(const std::filesystem::path& output);

/// Refuses an output whose name is so long that another with this ending cannot be beside it.
void requireRoomInName(const std::filesystem::path& output, const std::string& ending);

}  // namespace run::outputs
