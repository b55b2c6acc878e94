// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <optional>
#include <string>

#include "run/file/FieldFile.h"

namespace run {

/// The most memory that this process has had, in bytes.
std::int64_t peakMemory();

/// What is known of a field before it is computed.
struct Outlook {
    std::optional<pistonfield::Accuracy> accuracy;  ///< of a field with a tolerance
    std::string engine;                             ///< the name of what computes
};

/// Says on standard output what a field takes: disk, memory and time, which is found out by
/// computing some of its points; and of a field with a tolerance how exact it is.
/// @param plan    of the layout's request
/// @param missing points that are still to be computed
Outlook printEstimate(const std::filesystem::path& output, const Layout& layout,
                      const pistonfield::Plan& plan, std::int64_t missing, int processes);

}  // namespace run
