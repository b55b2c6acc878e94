// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <string>

/// What a piece of work printed on the process's two standard channels.
struct Printed {
    std::string out;
    std::string err;
};

/// Runs the work with both channels captured. The work must not throw.
template <class Work>
Printed captured(Work work) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    work();
    Printed printed;
    printed.out = testing::internal::GetCapturedStdout();
    printed.err = testing::internal::GetCapturedStderr();
    return printed;
}
