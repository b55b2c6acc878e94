// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "field/Request.h"
#include "run/commands/TableKeys.h"

/// The table [array] of a request file: the elements of an array, from a table of their own or as a
/// kind of array has them, and their weights.
namespace run::arrayForm {

/// What is said of a focus that has several points.
inline constexpr const char* onePoint =
    "takes one point, [x, y, z] in m; weights for several foci go into a table";

/// The file that the elements are in, or none.
/// @param folder that its name is relative to
std::optional<std::filesystem::path> tableOf(const TableSettings& settings,
                                             const std::filesystem::path& folder);

/// The keys that go with a kind of array, or with a table where there is one; all keys where there
/// is neither.
std::vector<std::string> keysWith(bool hasTable, const std::string& kind);

/// The array.
/// @param request   has the wave, and whether points may lie behind elements
/// @param readTable gives comma-separated values, as `pistonfield::readArray` takes them
/// @throws std::runtime_error naming the line and the key that is wrong
pistonfield::Array arrayOf(
    const TableSettings& settings, const std::filesystem::path& folder,
    const pistonfield::Request& request,
    const std::function<std::string(const std::filesystem::path&)>& readTable);

}  // namespace run::arrayForm
