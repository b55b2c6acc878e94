// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <iostream>

/// Drops what is written to the standard output stream for the length of a scope, before anything
/// is formatted or allocated for it.
class SilentOutput {
  public:
    SilentOutput() : original(std::cout.rdbuf(nullptr)) {}
    SilentOutput(const SilentOutput&) = delete;
    SilentOutput& operator=(const SilentOutput&) = delete;
    ~SilentOutput() { std::cout.rdbuf(original); }

  private:
    std::streambuf* original;
};
