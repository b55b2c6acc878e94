// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <functional>

namespace run {

/// Removes those files of a folder of which that holds. A folder that cannot be read, and files
/// that cannot be removed, are left alone.
void removeFrom(const std::filesystem::path& folder,
                const std::function<bool(const std::filesystem::path&)>& holds);

}  // namespace run
