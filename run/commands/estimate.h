// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

#include "run/file/FieldFile.h"

namespace run {

/// The most memory that this process has had, in bytes.
std::int64_t peakMemory();

/// Says on standard output what a field takes: disk, memory and time, which is found out by
/// computing some of its points.
/// @param missing points that are still to be computed
void printEstimate(const std::filesystem::path& output, const Layout& layout, std::int64_t missing,
                   int processes);

}  // namespace run
