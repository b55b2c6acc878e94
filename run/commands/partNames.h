// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <optional>

#include "run/file/slabs.h"

namespace run {

/// The file of a part: "field.h5" to "field.part-03-of-10.h5".
std::filesystem::path partPath(const std::filesystem::path& output, const Part& part);

/// Which part a file is by its name, or nothing where the name does not say it.
std::optional<Part> partNamed(const std::filesystem::path& path);

}  // namespace run
