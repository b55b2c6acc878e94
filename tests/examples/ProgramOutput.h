// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstdio>
#include <memory>
#include <string>

/// What a program prints on standard output. A status other than 0 fails the test.
inline std::string outputOf(const char* program) {
    const auto close = [](std::FILE* pipe) { EXPECT_EQ(pclose(pipe), 0); };
    // NOLINTNEXTLINE(cert-env33-c): the command is a fixed path
    const std::unique_ptr<std::FILE, decltype(close)> pipe(popen(program, "r"), close);
    std::string output;
    std::array<char, 4096> buffer{};
    while (std::fgets(buffer.data(), buffer.size(), pipe.get()) != nullptr) output += buffer.data();
    return output;
}
