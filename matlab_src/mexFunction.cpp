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

/// Holds a text where no destructor is needed: the host's error operation may leave without running
/// any.
template <std::size_t size>
using Text = std::array<char, size>;

template <std::size_t size>
void keep(Text<size>& kept, const std::string& text) {
    kept[text.copy(kept.data(), size - 1)] = '\0';
}

/// The error that ends a call.
struct Refusal {
    Text<256> identifier;  ///< empty for an error without
    Text<4096> message;
};

Ending answer(int nlhs, mxArray** plhs, int nrhs, const mxArray** prhs, Refusal& refusal) {
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
        keep(refusal.identifier, error.identifier);
        keep(refusal.message, error.message);
    } catch (const std::bad_alloc&) {
        return Ending::outOfMemory;
    } catch (const std::exception& exception) {
        keep(refusal.identifier, "");
        keep(refusal.message, exception.what());
    }
    return Ending::refused;
}

void raise(const Refusal& refusal) {
    if (refusal.identifier.front() == '\0')
        mexErrMsgTxt(refusal.message.data());
    else
        mexErrMsgIdAndTxt(refusal.identifier.data(), "%s", refusal.message.data());
}

}  // namespace

/// The module's entry, called by the host once per call.
extern "C" [[gnu::visibility("default")]] void mexFunction(int nlhs, mxArray* plhs[], int nrhs,
                                                           const mxArray* prhs[]) {
    Refusal refusal;
    switch (answer(nlhs, plhs, nrhs, prhs, refusal)) {
        case Ending::answered:
            break;
        case Ending::refused:
            raise(refusal);
            break;
        case Ending::outOfMemory:
            host::raiseMemoryError();
            break;
    }
}
