// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "cuda_runtime/runtime.h"

/// Asks the runtime for a pending error. One is printed on standard error as
/// "Cuda error: <label> in file '<unit>' in line <line> : <error text>." and then handed to the
/// current error handler as the bare error text.
void checkPending(const char* label, const char* unit, int line);

/// Hands a status other than success to the current error handler, as
/// "Cuda error when calling <callText>: <error text>". Prints nothing.
void checkCall(cuda_runtime::cudaError_t status, const char* callText, const char* unit, int line);

/// Checks a runtime call and names it by its source text. A macro because only a macro has that
/// text. Needs the name of the source unit, `sourceUnit`, in scope.
#define CHECK_CUDA_CALL(call) checkCall((call), #call, sourceUnit, __LINE__)

/// Integer division rounded up: the truncating quotient, plus one when there is a remainder.
constexpr int iDivUp(int a, int b) noexcept { return a / b + (a % b != 0 ? 1 : 0); }
