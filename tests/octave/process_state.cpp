// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// text = process_state(): what all parts of this process share, a line or more for each thing.

#include <mex.h>

#include "tests/support/ProcessState.h"

extern "C" [[gnu::visibility("default")]] void mexFunction(int /*nlhs*/, mxArray* plhs[],
                                                           int /*nrhs*/,
                                                           const mxArray* /*prhs*/[]) {
    std::string text;
    for (const auto& [name, value] : processState()) {
        text += name;
        text += ": ";
        text += value;
        text += '\n';
    }
    plhs[0] = mxCreateString(text.c_str());
}
