// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <optional>

#include "run/file/FieldFile.h"

namespace run {

/// The most memory that this process has had, in bytes.
std::int64_t peakMemory();

/// Says on standard output what a field takes: disk, memory and time, which is found out by
/// computing some of its points; and of a field with a tolerance how exact it is.
/// @param missing points that are still to be computed
/// @return how exact a field with a tolerance is
/// @throws pistonfield::InvalidRequest
std::optional<pistonfield::Accuracy> printEstimate(const std::filesystem::path& output,
                                                   const Layout& layout, std::int64_t missing,
                                                   int processes);

}  // namespace run
