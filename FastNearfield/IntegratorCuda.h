// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

/// Quadrature rules for the GPU kernels. A rule lives in constant memory as the first ceil(N/2)
/// abscissas and weights and the order N, N at most 512; the kernels take x[i] for the pair +-x[i]
/// of common weight w[i], and the middle abscissa of an odd rule for 0. It lasts as long as the
/// device's context: a new `CudaDeviceThread` needs a new upload. Launchers in a context without a
/// rule give 0 everywhere.
///
/// A failure is reported through the current error handler, as for `checkPending` and `checkCall`.
extern "C" {

/// Computes the Gauss-Legendre rule of `order` points and uploads it in both precisions, double
/// first. Prints "setting order <order>elements: <ceil(order/2)>" on standard output.
/// @param stem  "RectangularPiston": names the constants
/// @param order 1 to 512; less is reported as "order>0", more as "N <= 512 && N>0"
void setCudaIntegratorParameters(const char* stem, int order);

/// Uploads a rule to the single-precision kernels. Prints "set weights float", the first abscissa
/// and the name of the abscissas' constant on standard output.
/// @param data_x,data_w at least ceil(N/2) abscissas and weights, and at least one
/// @param N             the order, 1 to 512, else reported as "N <= 512 && N>0"
void setIntegratorWeightsSym(const char* stem, const float* data_x, const float* data_w, int N);

/// Uploads a rule to the double-precision kernels. Prints "set weights double" and the first
/// abscissa. On a device without those kernels it says "Support for double not found" on standard
/// error and returns.
void setIntegratorWeightsSym_d(const char* stem, const double* data_x, const double* data_w, int N);

}  // extern "C"
