// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

namespace run {

/// Lets this process open as many files as it may, as a field of many parts takes, and be told of a
/// file that has grown beyond a limit by the write that fails.
void prepareForFiles() noexcept;

}  // namespace run
