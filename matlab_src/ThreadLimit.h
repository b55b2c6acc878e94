// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/Arguments.h"
#include "matlab_src/questionArguments.h"
#include "parallel/threads.h"

namespace questions {

/// Limits the threads of the CPU for a scope, those of the emulation device included, to the number
/// in an argument; 0 leaves it to `pistonfield::threadCount`.
class ThreadLimit {
  public:
    /// @throws pistonfield::InvalidRequest
    explicit ThreadLimit(const host::Array* array) {
        pistonfield::useThreads(
            static_cast<unsigned>(wholeWithin(0, pistonfield::mostThreads, array, "threads")));
    }
    ThreadLimit(const ThreadLimit&) = delete;
    ThreadLimit& operator=(const ThreadLimit&) = delete;
    ~ThreadLimit() { pistonfield::useThreads(0); }
};

}  // namespace questions
