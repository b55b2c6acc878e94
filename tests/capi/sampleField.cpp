// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "tests/capi/sampleField.h"

#include <algorithm>
#include <complex>

#include "FastNearfield/GaussLegendre.h"
#include "field/Plan.h"
#include "tests/field/smallRequest.h"

namespace {

pistonfield::Request requestIn(std::int32_t mode) {
    return smallRequest(pistonfield_mode_name(mode));
}

template <class T>
void computeSample(std::int32_t mode, T* values) {
    const pistonfield::Plan plan(requestIn(mode));
    plan.compute(plan.request().lattice.box(), reinterpret_cast<std::complex<T>*>(values));
}

}  // namespace

pistonfield_request sampleRequest(std::int32_t mode) {
    const pistonfield::Request same = requestIn(mode);
    pistonfield_request request;
    pistonfield_request_init(&request, sizeof request, nullptr);
    request.width = same.piston.width;
    request.height = same.piston.height;
    request.wavenumber = same.wave.wavenumber;
    std::copy(same.lattice.transform.begin(), same.lattice.transform.end(), request.transform);
    std::copy(same.lattice.sizes.begin(), same.lattice.sizes.end(), request.sizes);
    request.mode = mode;
    request.order = same.rule.order;
    return request;
}

void sampleFieldDouble(std::int32_t mode, double* values) { computeSample(mode, values); }

void sampleFieldFloat(std::int32_t mode, float* values) { computeSample(mode, values); }

void sampleTable(double* table) {
    GaussLegendre<double> rule;
    rule.compute(requestIn(PISTONFIELD_CPU).rule.order);
    for (int i = 0; i < rule.order; ++i) {
        *table++ = rule.abscissas[i];
        *table++ = rule.weights[i];
    }
}
