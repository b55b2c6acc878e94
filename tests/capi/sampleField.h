/* SPDX-FileCopyrightText: the pistonfield developers */
/* SPDX-License-Identifier: BSD-3-Clause */
#ifndef SAMPLE_FIELD_H
#define SAMPLE_FIELD_H

#include "pistonfield.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { samplePoints = 7 * 5 * 4 };

/// A request of 7 by 5 by 4 points.
pistonfield_request sampleRequest(int32_t mode);

/// The values that the C++ classes give for that request, in grid point order, real part first: of
/// the mode's precision, converted where that is another one.
void sampleFieldDouble(int32_t mode, double* values);
void sampleFieldFloat(int32_t mode, float* values);

/// Pairs of abscissa and weight of the Gauss-Legendre rule of the request's order.
void sampleTable(double* table);

#ifdef __cplusplus
}
#endif

#endif
