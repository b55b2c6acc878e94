// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <optional>
#include <string>

#include "run/commands/Command.h"
#include "run/commands/estimate.h"
#include "run/file/FileLock.h"

namespace run {

/// What there is before anything is computed.
struct Preparation {
    std::optional<FileLock> lock;  ///< on the output, where there is one
    Outlook outlook;
};

/// Says what the field takes and sees to it that there is an output, unless only the estimate is
/// asked for. Nothing is touched before all that was asked for has been found to make sense; then
/// what killed runs have left of this output is removed.
/// @throws std::runtime_error where there is no field, no room, or an output that is not to be
/// touched
Preparation prepare(const ComputeCommand& command, int processes);

/// @throws std::runtime_error where the file for viewers cannot be beside an output
void requireViewersFile(const std::filesystem::path& output, bool overwrite);

/// The first bytes of every file of a field.
std::string firstBytes();

}  // namespace run
