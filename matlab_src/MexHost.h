// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <mex.h>

#include <exception>
#include <string>

#include "matlab_src/Host.h"

namespace host {

/// The error operation in a real host: carries the error to `mexFunction`, which raises the host's
/// error only after every scope of the call has closed.
struct RaisedError {
    std::string identifier;  ///< empty for an error without
    std::string message;
};

/// An exception that the host itself threw in one of its operations, on its way back to the host.
struct HostException {
    std::exception_ptr original;
};

/// Runs an operation of the host that may throw the host's own exceptions.
template <class Operation>
auto guarded(Operation operation) {
    try {
        return operation();
    } catch (...) {
        throw HostException{std::current_exception()};
    }
}

inline const mxArray* toMex(const Array* array) { return reinterpret_cast<const mxArray*>(array); }
inline mxArray* toMex(Array* array) { return reinterpret_cast<mxArray*>(array); }

// Where the two hosts differ:

/// Whether the array is stored sparse.
bool isSparse(const Array* array);

/// Hands back what `mxArrayToString` allocated, in a host that does not do so after the call.
void releaseString(char* text);

/// Ends the call with the host's own error for exhausted memory.
void raiseMemoryError();

}  // namespace host
