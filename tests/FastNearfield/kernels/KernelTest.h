// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <iostream>
#include <memory>
#include <string>
#include <type_traits>
#include <vector>

#include "../CapturedStream.h"
#include "DeviceField.h"
#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/PistonModules.h"
#include "core/cudahelper.h"
#include "cuda_runtime/runtime.h"
#include "support/RoundingBounds.h"

/// An array in device memory.
template <class T>
class DeviceArray {
  public:
    explicit DeviceArray(const std::vector<T>& values) : count(values.size()) {
        void* memory = nullptr;
        EXPECT_EQ(cuda_runtime::cudaMalloc(&memory, bytes()), cuda_runtime::cudaSuccess);
        address = static_cast<T*>(memory);
        EXPECT_EQ(cuda_runtime::cudaMemcpy(address, values.data(), bytes(),
                                           cuda_runtime::cudaMemcpyHostToDevice),
                  cuda_runtime::cudaSuccess);
    }
    DeviceArray(const DeviceArray&) = delete;
    DeviceArray& operator=(const DeviceArray&) = delete;
    ~DeviceArray() { EXPECT_EQ(cuda_runtime::cudaFree(address), cuda_runtime::cudaSuccess); }

    [[nodiscard]] T* data() const { return address; }

    [[nodiscard]] std::vector<T> values() const {
        std::vector<T> copy(count);
        EXPECT_EQ(cuda_runtime::cudaMemcpy(copy.data(), address, bytes(),
                                           cuda_runtime::cudaMemcpyDeviceToHost),
                  cuda_runtime::cudaSuccess);
        return copy;
    }

  private:
    [[nodiscard]] std::size_t bytes() const { return count * sizeof(T); }

    std::size_t count;
    T* address = nullptr;
};

/// Bit for bit, so that one NaN equals another.
template <class T>
bool sameBits(const T& a, const T& b) {
    using Bytes = std::array<std::byte, sizeof(T)>;
    return std::bit_cast<Bytes>(a) == std::bit_cast<Bytes>(b);
}

template <class T>
bool sameBits(const std::vector<T>& a, const std::vector<T>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](const T& x, const T& y) { return sameBits(x, y); });
}

inline constexpr const char* stem = "RectangularPiston";

/// The single-precision family of kernels.
struct SinglePrecision {
    using Real = float;
    using Complex = ::Complex;
    /// Of a pressure's rounding error.
    static constexpr double bound = roundingbounds::singleKernels;
    static const auto& module() { return singlePistonModule(); }
    static std::string constantName(char variable) { return singleConstantName(stem, variable); }
    static void upload(const HalfRule<float>& rule) {
        setIntegratorWeightsSym(stem, rule.x.data(), rule.w.data(), rule.order);
    }
};

/// The double-precision family.
struct DoublePrecision {
    using Real = double;
    using Complex = ::Complexd;
    static constexpr double bound = roundingbounds::doubleKernels;
    static const auto& module() { return doublePistonModule(); }
    static std::string constantName(char variable) { return doubleConstantName(stem, variable); }
    static void upload(const HalfRule<double>& rule) {
        setIntegratorWeightsSym_d(stem, rule.x.data(), rule.w.data(), rule.order);
    }
};

struct FamilyName {
    template <class Precision>
    static std::string GetName(int /*index*/) {
        return std::is_same_v<Precision, SinglePrecision> ? "single" : "dp";
    }
};

using Families = testing::Types<SinglePrecision, DoublePrecision>;

/// A device that is up, and the means to launch one family's kernels. Progress lines are kept from
/// the log.
template <class Precision>
class KernelTest : public testing::Test {
  protected:
    using Real = typename Precision::Real;
    using Complex = typename Precision::Complex;

    void SetUp() override {
        int count = 0;
        if (cuda_runtime::cudaGetDeviceCount(&count) != cuda_runtime::cudaSuccess || count == 0) {
            static_cast<void>(cuda_runtime::cudaGetLastError());
            GTEST_SKIP() << "no device";
        }
        device = std::make_unique<CudaDeviceThread>();
    }
    void TearDown() override {
        device.reset();
        EXPECT_EQ(cuda_runtime::cudaGetLastError(), cuda_runtime::cudaSuccess);
    }

    /// What no kernel computes.
    static constexpr Complex poison{static_cast<Real>(-4711), static_cast<Real>(4712)};

    /// Uploads the Gauss-Legendre rule of an order.
    /// @returns the rule that the kernels then have
    static reference::Rule uploadLegendreRule(int order) {
        const auto half = halfLegendreRule<Real>(order);
        Precision::upload(half);
        return mirrored(half);
    }

    /// The blocks of 128 threads that cover some points.
    static cuda_runtime::dim3 blocksFor(int points) {
        return {static_cast<unsigned>((points + 127) / 128), 1, 1};
    }
    static constexpr cuda_runtime::dim3 block{128, 1, 1};

    /// The field of `points` points that a launch computes into device memory.
    template <class Launch>
    static std::vector<Complex> fieldOf(int points, Launch launch) {
        const DeviceArray<Complex> array(
            std::vector<Complex>(static_cast<std::size_t>(points), poison));
        launch(array.data());
        return array.values();
    }

    /// The pressure at one point, by a launch of its own.
    static Complex pressureAt(const Scene<Real>& p) {
        return fieldOf(1, [&p](Complex* array) {
            Precision::module().gridByValues.launch({1, 1, 1}, {1, 1, 1}, array, 1, 1, 1,  //
                                                    0, 0, 0, p.x,                          //
                                                    0, 0, 0, p.y,                          //
                                                    0, 0, 0, p.z, p.a, p.b, p.k);
        })[0];
    }

  private:
    CapturedStream silence{std::cout};
    std::unique_ptr<CudaDeviceThread> device;
};
