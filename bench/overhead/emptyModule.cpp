// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <mex.h>

/// Returns one complex value, as a field of one point is.
extern "C" void mexFunction(int /*outputCount*/, mxArray* outputs[], int /*inputCount*/,
                            const mxArray* /*inputs*/[]) {
    outputs[0] = mxCreateDoubleMatrix(1, 1, mxCOMPLEX);
}
