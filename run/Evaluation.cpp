// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/Evaluation.h"

#include <algorithm>
#include <complex>
#include <stdexcept>
#include <vector>

#include "FastNearfield/HalfTable.h"
#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPiston2.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/ErrorHandler.h"
#include "core/SilentOutput.h"
#include "core/cudahelper.h"

namespace run {

namespace {

template <class T>
class CpuEvaluation : public Evaluation {
  public:
    explicit CpuEvaluation(const Request& request)
        : transform(request.transform), piston(request.l, request.s, request.k) {
        setRule(piston.doubleRule, request);
        setRule(piston.floatRule, request);
    }

    void fill(const LatticeBox& box, void* values) override {
        piston.computeBox(static_cast<std::complex<T>*>(values), transform.data(), box);
    }

  private:
    template <class Rule>
    static void setRule(Rule& rule, const Request& request) {
        if (request.table.empty())
            rule.compute(request.order);
        else
            rule.take(request.order, request.table.data());
    }

    std::array<double, 16> transform;
    RectangularPistonCuda2 piston;
};

class ThrowingHandler : public ErrorHandler {
  public:
    void fail(const char* condition, int line, const char* file) override {
        throw std::runtime_error(failureReport(condition, line, file));
    }
};

/// Turns failures of the device into exceptions.
class HandlerScope {
  public:
    HandlerScope() { ErrorHandler::setErrorHandler(new ThrowingHandler); }
    HandlerScope(const HandlerScope&) = delete;
    HandlerScope& operator=(const HandlerScope&) = delete;
    ~HandlerScope() { ErrorHandler::setErrorHandler(nullptr); }
};

/// Points one by one, so that their positions do not depend on where the lattice is cut.
class DeviceEvaluation : public Evaluation {
  public:
    explicit DeviceEvaluation(const Request& request)
        : l(static_cast<float>(request.l)),
          s(static_cast<float>(request.s)),
          k(static_cast<float>(request.k)) {
        std::transform(request.transform.begin(), request.transform.end(), transform.begin(),
                       [](double value) { return static_cast<float>(value); });
        const SilentOutput silent;
        constexpr const char* stem = "RectangularPiston";
        if (request.table.empty()) {
            setCudaIntegratorParameters(stem, request.order);
        } else {
            const HalfTable<float> table(request.order, request.table.data());
            setIntegratorWeightsSym(stem, table.x.data(), table.w.data(), request.order);
        }
    }

    void fill(const LatticeBox& box, void* values) override {
        const auto points = static_cast<std::size_t>(box.points());
        positions.clear();
        positions.reserve(3 * points);
        for (std::int64_t z = 0; z < box.size[2]; ++z)
            for (std::int64_t y = 0; y < box.size[1]; ++y)
                for (std::int64_t x = 0; x < box.size[0]; ++x)
                    place(static_cast<float>(box.first[0] + x),
                          static_cast<float>(box.first[1] + y),
                          static_cast<float>(box.first[2] + z));
        const SilentOutput silent;
        RectangularPiston_func_unstructured(static_cast<Complex*>(values), static_cast<int>(points),
                                            positions.data(), l, s, k);
    }

  private:
    /// Adds a position, by the kernels' own formula; the division they leave to whoever calls them.
    void place(float ix, float iy, float iz) {
        for (std::size_t row = 0; row < 12; row += 4) {
            const float* m = &transform[row];
            positions.push_back((((m[1] * iy + m[0] * ix) + m[2] * iz) + m[3]) / transform.back());
        }
    }

    HandlerScope handler;
    // A context that cannot be ended ends the process: the destructor is not one that throws.
    std::unique_ptr<CudaDeviceThread> device = std::make_unique<CudaDeviceThread>();
    std::array<float, 16> transform{};
    float l, s, k;
    std::vector<float> positions;
};

}  // namespace

std::unique_ptr<Evaluation> evaluationOf(const Request& request) {
    if (request.mode == pistonfield::Mode::cuda) return std::make_unique<DeviceEvaluation>(request);
    if (request.mode == pistonfield::Mode::cpusp)
        return std::make_unique<CpuEvaluation<float>>(request);
    return std::make_unique<CpuEvaluation<double>>(request);
}

}  // namespace run
