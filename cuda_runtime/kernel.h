// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

// What a source of kernels includes. Kernels are written once, in terms of the lanes that a thread
// stands for: one to the CUDA compiler, which brings the language itself; a whole SIMD register to
// the emulation device. Both headers offer the same vocabulary:
//
//   Lanes<T>::Reals, Lanes<T>::Ints  a value of T, or an index, in every lane
//   threadIndex<T>()                 the linear index of the lanes' threads in a grid of 1-D blocks
//   runNumber<T, n>()                the number of the run of n threads that they are in
//   placesInRun<T, n>()              their places in it
//   load, loadRun, store             device memory
//   select, any                      decisions lane by lane
//   product, sum                     each rounded by itself, never fused into one operation
//   absolute, squareRoot, reciprocal   device mathematics
//   withAngles               sine and cosine of angles up to a magnitude
//   inTurn, pipelined        loops
//   entryOf<T, &kernel>()            a kernel's registered entry, for `cudaLaunch`

#ifdef __CUDACC__
#include "cuda_runtime/toolkit/kernel.h"
#else
#include "cuda_runtime/emulated/kernel.h"
#endif
