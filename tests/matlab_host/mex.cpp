// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The substitute for libmex.
#include <array>
#include <cstdarg>
#include <cstdio>

#include "tests/matlab_host/MatlabEngine.h"

#pragma GCC visibility push(default)

mxArray* mexCallMATLABWithTrap(int outputCount, mxArray* /*outputs*/[], int inputCount,
                               mxArray* inputs[], const char* name) {
    return matlabEngine().callFunction(outputCount, {inputs, inputs + inputCount}, name);
}

int mexPrintf(const char* format, ...) {  // NOLINT(cert-dcl50-cpp): the interface's own form
    std::array<char, 4096> text{};
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has filled it
    const int length = std::vsnprintf(text.data(), text.size(), format, arguments);
    va_end(arguments);
    matlabEngine().print(text.data());
    return length;
}

void mexErrMsgTxt(const char* message) { matlabEngine().raise("", message); }

void mexErrMsgIdAndTxt(const char* identifier,
                       const char* format,  // NOLINT(cert-dcl50-cpp): the interface's own form
                       ...) {
    std::array<char, 4096> text{};
    std::va_list arguments;
    va_start(arguments, format);
    // NOLINTNEXTLINE(clang-analyzer-valist.Uninitialized): va_start has filled it
    static_cast<void>(std::vsnprintf(text.data(), text.size(), format, arguments));
    va_end(arguments);
    matlabEngine().raise(identifier, text.data());
}

#pragma GCC visibility pop
