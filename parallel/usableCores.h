// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

namespace pistonfield {

/// The processor cores that this process may use, at least 1: those that it may run on, and no more
/// than the quotas of its control groups are worth when the process asks first.
unsigned usableCores();

/// The cores that the quotas of this process's control groups are worth, of version 1 or 2, rounded
/// up; infinite without a quota.
/// @param root the folder that has the system's proc and sys
double coresOfQuotas(const std::filesystem::path& root);

}  // namespace pistonfield
