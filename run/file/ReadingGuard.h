// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <sys/time.h>

#include <array>
#include <csignal>
#include <cstdint>
#include <optional>
#include <string>

namespace run {

/// A scope that reads a file through HDF5, which damage can make read without end or crash. Where
/// it crashes, or takes more processor time than any sound file does, the process ends with status
/// 1 and a line that names the file. It is processor time, because a slow disk takes none of it.
/// Scopes may be nested; one thread at a time has them.
class ReadingGuard {
  public:
    /// @param bytes that are read, decompressed ones included; none where the time has no limit,
    ///     because it takes processor time to wait for other processes
    ReadingGuard(const std::string& file, std::optional<std::int64_t> bytes);
    ReadingGuard(const ReadingGuard&) = delete;
    ReadingGuard& operator=(const ReadingGuard&) = delete;
    ~ReadingGuard();

  private:
    /// The end of time, and how crashes end.
    static constexpr std::array<int, 5> signals{SIGPROF, SIGSEGV, SIGBUS, SIGFPE, SIGABRT};

    std::string line;
    const std::string* outerLine;
    itimerval outerTime{};
    std::array<struct sigaction, signals.size()> outerActions{};
    stack_t outerStack{};
};

}  // namespace run
