// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

namespace run {

/// Replaces a complete file by a compressed one, after every value has been compared with its
/// checksum. Until then the file stays as it is. A compressed one is left alone.
/// @return whether it is compressed: a signal stops this
/// @throws std::runtime_error
bool compress(const std::filesystem::path& path, int level);

}  // namespace run
