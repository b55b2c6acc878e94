// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <chrono>
#include <cstdint>
#include <string>

namespace run {

/// Says on standard error how far a work has come, at what rate, and how long it will still take:
/// on a terminal in one line that changes, elsewhere in a line now and then.
class Progress {
  public:
    /// @param work  what is being done, as "computing"
    /// @param total points altogether
    /// @param done  points that were there before
    Progress(std::string work, std::int64_t total, std::int64_t done);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;

    /// Shows the end of what was done.
    ~Progress();

    void add(std::int64_t points);

  private:
    using Clock = std::chrono::steady_clock;

    void show(Clock::time_point now);

    std::string work;
    std::int64_t total;
    std::int64_t before;
    std::int64_t done;
    bool terminal;
    Clock::time_point begin = Clock::now();
    Clock::time_point lastShown = begin;
};

}  // namespace run
