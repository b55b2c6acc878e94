// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <filesystem>

#include "run/file/Descriptor.h"

namespace run {

/// Keeps a second run from working on a file, for as long as it lives. The lock is on the file
/// itself, beyond its end, where nobody reads or writes, and ends with the process, however that
/// ends. On file systems without locks it does nothing.
class FileLock {
  public:
    /// Locks a file that is there.
    /// @throws std::runtime_error where another run has the lock, or the file cannot be written
    explicit FileLock(const std::filesystem::path& file);

    /// Locks a file that was just made.
    explicit FileLock(Descriptor file) noexcept;

    /// Whether a run works on an open file.
    static bool isLocked(const Descriptor& file) noexcept;

    const Descriptor& file() const noexcept { return descriptor; }

  private:
    Descriptor descriptor;
};

}  // namespace run
