// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "matlab_src/Gateway.h"

#include <algorithm>
#include <iostream>
#include <memory>
#include <new>

#include "FastNearfield/HalfTable.h"
#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPiston2.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/ErrorHandler.h"
#include "core/Grid3DR.h"
#include "core/cudahelper.h"
#include "matlab_src/BuildInformation.h"
#include "matlab_src/FieldRequest.h"
#include "matlab_src/MatlabErrorHandler.h"
#include "matlab_src/sizes.h"

namespace {

/// Turns failures into errors of the host for the length of a call.
class HandlerScope {
  public:
    HandlerScope() { ErrorHandler::setErrorHandler(new MatlabErrorHandler); }
    HandlerScope(const HandlerScope&) = delete;
    HandlerScope& operator=(const HandlerScope&) = delete;
    ~HandlerScope() { ErrorHandler::setErrorHandler(nullptr); }
};

/// The two halves of the result.
struct FieldHalves {
    double* re;
    double* im;
};

bool asksForBuildInformation(int outputCount, Arguments arguments) {
    return outputCount == 0 && arguments.size() == 1 && host::isChar(arguments[0]) &&
           host::text(arguments[0]) == "info";
}

/// The result array; a size below 1 makes it empty.
host::Array* createResult(const FieldRequest& request) {
    const auto& [sx, sy, sz] = request.sizes;
    return host::createResult(truncateToDimension(sx), truncateToDimension(sy),
                              truncateToDimension(sz));
}

/// Whether the grid has points, none of its sizes being below 1 and the 32-bit count not wrapping
/// to 0.
bool hasPoints(const FieldRequest& request) {
    return request.pointCount() != 0 &&
           std::all_of(request.sizes.begin(), request.sizes.end(), [](double n) { return n >= 1; });
}

/// The number of grid points, as the host's own arrays count them. A size that does not fit the
/// grid's 32-bit indices is a field too large.
std::size_t trueCount(const FieldRequest& request) {
    std::size_t count = 1;
    for (const double size : request.sizes) {
        const std::size_t dimension = truncateToDimension(size);
        if (dimension > INT32_MAX || __builtin_mul_overflow(count, dimension, &count))
            throw std::bad_array_new_length();
    }
    return count;
}

template <class T>
Grid3DR<T> gridOf(const FieldRequest& request) {
    const auto size = [&](std::size_t i) {
        return static_cast<unsigned>(truncateToInt32(request.sizes[i]));
    };
    return Grid3DR<T>(request.transform, size(0), size(1), size(2));
}

template <class T>
void setRule(GaussLegendre<T>& rule, const FieldRequest& request) {
    if (request.abscissaTable == nullptr) return rule.compute(request.nAbscissas);
    // Deliberate: pairs are consecutive values of the storage, not rows of the caller's matrix.
    rule.take(request.nAbscissas, request.abscissaTable);
}

void computeInSinglePrecision(const FieldRequest& request, const RectangularPistonCuda2& piston,
                              FieldHalves field) {
    const std::size_t points = trueCount(request);
    if (points > INT32_MAX) throw std::bad_array_new_length();
    const auto re = std::make_unique_for_overwrite<float[]>(points);
    const auto im = std::make_unique_for_overwrite<float[]>(points);
    piston.computeCPU<float, float>(re.get(), im.get(), gridOf<float>(request));
    std::copy_n(re.get(), points, field.re);
    std::copy_n(im.get(), points, field.im);
}

void computeOnCpu(const FieldRequest& request, RectangularPistonCuda2& piston,
                  const Grid3DR<double>& grid, FieldHalves field) {
    std::cout << "5" << std::endl;
    setRule(piston.floatRule, request);
    setRule(piston.doubleRule, request);
    if (isInSingle(request.mode)) {
        host::print("double precision forced to single precision\n");
        computeInSinglePrecision(request, piston, field);
    } else {
        host::print("double precision\n");
        piston.computeCPU<double, double>(field.re, field.im, grid);
    }
}

constexpr const char* stem = "RectangularPiston";

void computeInDoubleOnGpu(const FieldRequest& request, const Grid3DR<double>& grid,
                          FieldHalves field) {
    if (request.abscissaTable != nullptr) {
        std::cout << "1" << std::endl;
        const HalfTable<double> table(request.nAbscissas, request.abscissaTable);
        setIntegratorWeightsSym_d(stem, table.x.data(), table.w.data(), request.nAbscissas);
    } else {
        std::cout << "2" << std::endl;
        setCudaIntegratorParameters(stem, request.nAbscissas);
    }
    std::cout << "computeCudaDouble 2" << std::endl;
    const MMatrix<double, 4, true> transform = grid.getTransform();
    RectangularPiston_func2_d(field.re, field.im, static_cast<int>(grid.sizeX()),
                              static_cast<int>(grid.sizeY()), static_cast<int>(grid.sizeZ()),
                              transform.data(), request.l, request.s, request.k);
}

void computeInSingleOnGpu(const FieldRequest& request, const RectangularPistonCuda2& piston,
                          const Grid3DR<double>& grid, FieldHalves field) {
    if (request.abscissaTable != nullptr) {
        std::cout << "3" << std::endl;
        const HalfTable<float> table(request.nAbscissas, request.abscissaTable);
        setIntegratorWeightsSym(stem, table.x.data(), table.w.data(), request.nAbscissas);
    } else {
        std::cout << "4" << std::endl;
        setCudaIntegratorParameters(stem, request.nAbscissas);
    }
    piston.computeCuda<double>(field.re, field.im, grid);
}

void computeField(const FieldRequest& request, FieldHalves field) {
    RectangularPistonCuda2 piston(request.l, request.s, request.k);
    const Grid3DR<double> grid = gridOf<double>(request);
    if (!isOnGpu(request.mode))
        computeOnCpu(request, piston, grid, field);
    else if (isInSingle(request.mode))
        computeInSingleOnGpu(request, piston, grid, field);
    else
        computeInDoubleOnGpu(request, grid, field);
}

void answerFieldRequest(int outputCount, host::Array*& output, Arguments arguments) {
    std::optional<FieldRequest> request = readRequest(outputCount, arguments);
    if (!request) return;
    const bool points = hasPoints(*request);
    // Before the result exists: a host that fills a new array with zeros may be ended by the
    // system for its use of memory, where a failing allocation would have ended only the call.
    if (points) static_cast<void>(trueCount(*request));
    output = createResult(*request);
    if (!points) return host::raise("The given grid must have at least one data point");
    request->mode = readMode(arguments);
    // Deliberate: the result is created again; the host releases the first one after the call.
    output = createResult(*request);
    computeField(*request, {host::resultReal(output), host::resultImaginary(output)});
}

}  // namespace

void answerCall(int outputCount, host::Array*& output, Arguments arguments) {
    const HandlerScope handler;
    const CudaDeviceThread device;
    if (asksForBuildInformation(outputCount, arguments))
        printBuildInformation();
    else
        answerFieldRequest(outputCount, output, arguments);
}
