// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>
#include <vector>

#include "run/commands/Command.h"
#include "run/commands/options.h"

namespace run {

/// The settings in the text of a request file, which is TOML: one key for each option of a field to
/// compute, and "output". What the field is may be there in SI units; see `siForm`.
/// @param name of the file, for messages
/// @throws std::runtime_error naming the file and the line of what is no TOML or no option, or of
/// what is wrong in SI units
std::vector<Setting> readRequestFile(const std::string& name, const std::string& text);

/// What the text of a request file in SI units says of the drive; nothing of another one.
/// @throws as `readRequestFile` of these keys
Drive readDrive(const std::string& name, const std::string& text);

}  // namespace run
