// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstddef>

namespace run {

/// Lets this process open as many files as it may, as a field of many parts takes, and be told of a
/// file that has grown beyond a limit by the write that fails.
void prepareForFiles() noexcept;

/// Whether this process may open so many more files at a time.
bool mayOpen(std::size_t files);

}  // namespace run
