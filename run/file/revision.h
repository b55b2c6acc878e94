// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <string>

namespace run {

/// The version and the revision of this build, as "0.1.0 (0123456789ab)".
std::string revision();

}  // namespace run
