// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include "cuda_runtime/runtime.h"

/// Clears any error left from earlier work and makes the runtime create its context on the current
/// device by launching an empty kernel. A pending or failed launch is reported through the current
/// error handler with the label "pre cuda_init()" or "post cuda_init()".
/// @return the runtime's last error after that
cuda_runtime::cudaError_t cuda_init();

/// Waits for the device.
cuda_runtime::cudaError_t cuda_sync();
