// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <algorithm>
#include <array>
#include <cstddef>
#include <exception>
#include <new>
#include <string>
#include <vector>

#include "matlab_src/Gateway.h"
#include "matlab_src/MexHost.h"

namespace {

enum class Ending { answered, refused, outOfMemory };

/// Holds the error's text where no destructor is needed: the host's error operation may leave
/// without running any.
using Message = std::array<char, 4096>;

void keep(Message& message, const std::string& text) {
    message[text.copy(message.data(), message.size() - 1)] = '\0';
}

Ending answer(int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs, Message& message) {
    try {
        std::vector<const host::Array*> arguments(static_cast<std::size_t>(nrhs));
        std::transform(prhs, prhs + nrhs, arguments.begin(), [](const mxArray* array) {
            return reinterpret_cast<const host::Array*>(array);
        });
        host::Array* output = nullptr;
        answerCall(nlhs, output, arguments);
        if (output != nullptr) plhs[0] = host::toMex(output);
        return Ending::answered;
    } catch (const host::HostException& exception) {
        std::rethrow_exception(exception.original);
    } catch (const host::RaisedError& error) {
        keep(message, error.message);
    } catch (const std::bad_alloc&) {
        return Ending::outOfMemory;
    } catch (const std::exception& exception) {
        keep(message, exception.what());
    }
    return Ending::refused;
}

}  // namespace

/// The module's entry, called by the host once per call.
extern "C" [[gnu::visibility("default")]] void mexFunction(int nlhs, mxArray* plhs[], int nrhs,
                                                           const mxArray* prhs[]) {
    Message message;
    switch (answer(nlhs, plhs, nrhs, prhs, message)) {
        case Ending::answered:
            break;
        case Ending::refused:
            mexErrMsgTxt(message.data());
            break;
        case Ending::outOfMemory:
            host::raiseMemoryError();
            break;
    }
}
