// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/MatlabErrorHandler.h"

#include "matlab_src/Host.h"

void MatlabErrorHandler::fail(const char* condition, int line, const char* file) {
    host::raise(failureReport(condition, line, file).c_str());
}
