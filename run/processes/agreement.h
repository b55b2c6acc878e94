// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "run/processes/Ranks.h"

/// What the processes of a run need to have in common, so that none waits for another one for ever.
/// What is required and is not so is a `CollectiveFailure`, which names a process that differs and
/// its machine.
namespace run {

/// Requires that all processes were started with the same words.
void requireSameWords(const std::vector<std::string>& words, const Ranks& ranks);

/// Requires that every process can open the output, and that this is the first one's: in a folder
/// that machines do not share, each has another file of that name, or none. For that the output has
/// another time of its last change meanwhile.
void requireSameOutput(const std::filesystem::path& output, const Ranks& ranks);

/// Before processes open an output together: has Open MPI lock on NFS the bytes that it writes, and
/// not the whole file. For that it would wait for ever, as the run itself has a lock on the file.
/// Sets the environment, and so has to come before any thread that may read it.
void shareLocks(const std::filesystem::path& output);

}  // namespace run
