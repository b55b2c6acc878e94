// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <sys/time.h>

#include <csignal>
#include <cstdint>
#include <string>

namespace run {

/// A scope that reads a file. Where it takes the process more processor time than any sound file
/// does, the process ends with status 1 and a line that names the file: damage can make HDF5 read
/// without end. It is processor time, because a slow disk takes none of it. Scopes may be nested;
/// one thread at a time has them.
class ReadingLimit {
  public:
    /// @param bytes that are read, decompressed ones included
    ReadingLimit(const std::string& file, std::int64_t bytes);
    ReadingLimit(const ReadingLimit&) = delete;
    ReadingLimit& operator=(const ReadingLimit&) = delete;
    ~ReadingLimit();

  private:
    std::string line;
    const std::string* outerLine;
    itimerval outerTime{};
    struct sigaction outerAction {};
};

}  // namespace run
