// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "matlab_src/FieldRequest.h"

/// Answers one call of the module: checks the arguments, computes the field and makes it the
/// output, or, for the lone argument "info" with no output requested, prints the build information.
///
/// Whatever happens, an exception included, the device is released and the error handler is reset
/// when this returns. An exception is the host's own, `std::bad_alloc`, or what an operation of the
/// host throws.
/// @param outputCount the number of outputs requested
/// @param output      receives the result array, complex double, sx by sy by sz
void answerCall(int outputCount, host::Array*& output, Arguments arguments);
