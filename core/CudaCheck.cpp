// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "core/CudaCheck.h"

#include <cstdio>
#include <string>

#include "core/ErrorHandler.h"

using namespace cuda_runtime;

void checkPending(const char* label, const char* unit, int line) {
    const cudaError_t status = cudaGetLastError();
    if (status == cudaSuccess) return;
    static_cast<void>(std::fprintf(stderr, "Cuda error: %s in file '%s' in line %i : %s.\n", label,
                                   unit, line, cudaGetErrorString(status)));
    ErrorHandler::getErrorHandler()->fail(cudaGetErrorString(status), line, unit);
}

void checkCall(cudaError_t status, const char* callText, const char* unit, int line) {
    if (status == cudaSuccess) return;
    const std::string message =
        std::string("Cuda error when calling ") + callText + ": " + cudaGetErrorString(status);
    ErrorHandler::getErrorHandler()->fail(message.c_str(), line, unit);
}
