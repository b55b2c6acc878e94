// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <cstdint>
#include <filesystem>
#include <future>

#include "run/file/Descriptor.h"

namespace run {

/// Has what was written to a file go to the disk while the work goes on, and frees the system's
/// memory of it. Otherwise a field would fill all memory before the disk is heard of, and taking
/// new memory all the time costs more than the disk does.
class WriteBehind {
  public:
    /// @throws std::runtime_error where the file cannot be opened
    explicit WriteBehind(const std::filesystem::path& path);
    WriteBehind(const WriteBehind&) = delete;
    WriteBehind& operator=(const WriteBehind&) = delete;
    ~WriteBehind() = default;

    /// Bytes that were written, wherever that was. Waits where the disk is slower than the work.
    /// @throws std::runtime_error where the disk did not take earlier ones
    void wrote(std::int64_t bytes);

    /// Waits until everything is on the disk.
    /// @throws std::runtime_error where that fails
    void finish();

  private:
    void waitForDisk();

    std::filesystem::path path;
    Descriptor descriptor;
    std::int64_t waiting = 0;
    /// Gives the number of the system's error, or 0. Ends before the descriptor is closed.
    std::future<int> underWay;
};

}  // namespace run
