// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// The words of the CUDA language that mean nothing to the host compiler.
#ifndef __CUDACC__
#define __global__
#define __device__
#define __constant__
#endif
