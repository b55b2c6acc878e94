// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "run/commands/Command.h"
#include "run/processes/Ranks.h"

/// What the program does. All throw std::runtime_error, and return the exit status.
namespace run {

/// Computes a field's missing slabs, all processes together. Returns 128 and the signal's number
/// where a signal stopped it.
int compute(const ComputeCommand& command, Ranks& ranks);

/// Fails where parts are missing, overlap, are unfinished or belong to different fields.
int join(const JoinCommand& command);

/// Returns 1 where a file is not whole.
int verify(const VerifyCommand& command);

int extract(const ExtractCommand& command);

int show(const ShowCommand& command);

int beam(const BeamCommand& command);

}  // namespace run
