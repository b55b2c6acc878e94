// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "run/Team.h"

/// What the processes of a run need to have in common. All throw `AgreedFailure`, which names a
/// process that differs and its machine, and so no process waits for another one for ever.
namespace run {

/// Requires that all processes were started with the same words.
void requireSameWords(const std::vector<std::string>& words, const Team& team);

/// Requires that every process can open the output, and that this is the first one's: in a folder
/// that machines do not share, each has another file of that name, or none. Sets the time of the
/// output's last change.
void requireSameOutput(const std::filesystem::path& output, const Team& team);

}  // namespace run
