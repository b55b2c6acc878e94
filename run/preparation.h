// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "run/Command.h"

namespace run {

/// Removes what a run that was killed may have left beside an output. Nobody else may be at work
/// there.
void removeLeftovers(const std::filesystem::path& output);

/// Says what the field takes and sees to it that there is an output, unless only the estimate is
/// asked for.
/// @throws std::runtime_error where there is no field, no room, or an output that is not to be
/// touched
void prepare(const ComputeCommand& command, int processes);

}  // namespace run
