// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/IntegratorCuda.h"

#include <algorithm>
#include <iostream>
#include <string>
#include <vector>

#include "FastNearfield/GaussLegendre.h"
#include "FastNearfield/PistonModules.h"
#include "core/CudaCheck.h"
#include "core/ErrorHandler.h"

using namespace cuda_runtime;

namespace {

constexpr const char* sourceUnit = "FastNearfield/IntegratorCuda";

void checkOrder(int N) {
    if (!(N <= 512 && N > 0))
        ErrorHandler::getErrorHandler()->fail("N <= 512 && N>0", __LINE__, sourceUnit);
}

/// The bytes of half a rule. Of an order below 0, refused but with a handler that returns, more
/// than any constant holds.
std::size_t halfRuleBytes(int N, std::size_t elementBytes) {
    return static_cast<std::size_t>((N + 1LL) >> 1) * elementBytes;
}

}  // namespace

// A checked call's text is part of its message, spaces included.
// clang-format off

void setIntegratorWeightsSym(const char* stem, const float* data_x, const float* data_w, int N) {
    std::cout << "set weights float" << std::endl;
    checkPending("start setIntegratorWeightsSym", sourceUnit, __LINE__);
    const std::size_t datasize = halfRuleBytes(N, sizeof(float));
    std::cout << data_x[0] << std::endl;
    checkOrder(N);
    std::string name = singleConstantName(stem, 'x');
    const char* buf = name.c_str();
    std::cout << "symbol: \"" << buf << "\"" << std::endl;
    CHECK_CUDA_CALL(cudaMemcpyToSymbol( buf, data_x, datasize ));
    name = singleConstantName(stem, 'w');
    buf = name.c_str();
    CHECK_CUDA_CALL(cudaMemcpyToSymbol( buf, data_w, datasize ));
    name = singleConstantName(stem, 'N');
    buf = name.c_str();
    CHECK_CUDA_CALL(cudaMemcpyToSymbol( buf, (void*)&N, sizeof(int) ));
    checkPending("end setIntegratorWeightsSym", sourceUnit, __LINE__);
}

void setIntegratorWeightsSym_d(const char* stem, const double* data_x, const double* data_w,
                               int N) {
    std::cout << "set weights double" << std::endl;
    checkPending("start setIntegratorWeightsSym", sourceUnit, __LINE__);
    const std::size_t datasize = halfRuleBytes(N, sizeof(double));
    checkOrder(N);
    std::cout << data_x[0] << std::endl;
    std::string name = doubleConstantName(stem, 'x');
    const char* buf = name.c_str();
    const cudaError_t err = cudaMemcpyToSymbol(buf, data_x, datasize);
    if (err == cudaErrorInvalidSymbol) {
        std::cerr << "Support for double not found" << std::endl;
        static_cast<void>(cudaGetLastError());
        return;
    }
    CHECK_CUDA_CALL(err);
    name = doubleConstantName(stem, 'w');
    buf = name.c_str();
    CHECK_CUDA_CALL(cudaMemcpyToSymbol( buf, data_w, datasize ));
    name = doubleConstantName(stem, 'N');
    buf = name.c_str();
    CHECK_CUDA_CALL(cudaMemcpyToSymbol( buf, (void*)&N, sizeof(int) ));
    checkPending("end setIntegratorWeightsSym", sourceUnit, __LINE__);
}

// clang-format on

void setCudaIntegratorParameters(const char* stem, int order) {
    checkPending("start setCudaIntegratorParameters", sourceUnit, __LINE__);
    if (order < 1) ErrorHandler::getErrorHandler()->fail("order>0", __LINE__, sourceUnit);
    const auto elements = static_cast<std::ptrdiff_t>((order + 1LL) >> 1);
    // Deliberate: nothing stands between the order and the next word.
    std::cout << "setting order " << order << "elements: " << elements << std::endl;
    std::vector<double> x(static_cast<std::size_t>(order));
    std::vector<double> w(static_cast<std::size_t>(order));
    legendre_compute(order, x.data(), w.data());
    setIntegratorWeightsSym_d(stem, x.data(), w.data(), order);
    const auto rounded = [](double value) { return static_cast<float>(value); };
    std::vector<float> xf(static_cast<std::size_t>(elements));
    std::vector<float> wf(static_cast<std::size_t>(elements));
    std::transform(x.begin(), x.begin() + elements, xf.begin(), rounded);
    std::transform(w.begin(), w.begin() + elements, wf.begin(), rounded);
    setIntegratorWeightsSym(stem, xf.data(), wf.data(), order);
    checkPending("end setCudaIntegratorParameters", sourceUnit, __LINE__);
}
