// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/MexHost.h"

namespace host {

bool isSparse(const Array* array) { return mxIsClass(toMex(array), "sparse"); }

// MATLAB releases the text at the end of the call.
void releaseString([[maybe_unused]] char* text) {}

void raiseMemoryError() { mexErrMsgTxt("Out of memory."); }

}  // namespace host
