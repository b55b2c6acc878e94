// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <new>

#include "matlab_src/MexHost.h"

namespace host {

// GNU Octave has no class of the name "sparse".
bool isSparse(const Array* array) { return mxIsSparse(toMex(array)); }

void releaseString(char* text) { mxFree(text); }

// The one C++ exception that GNU Octave expects of a module.
void raiseMemoryError() { throw std::bad_alloc(); }

}  // namespace host
