// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The module beside what the rest of the process holds on the same device.

#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <numeric>
#include <vector>

#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/cudahelper.h"
#include "cuda_runtime/runtime.h"

namespace {

class SharedDeviceTest : public testing::Test {
  protected:
    void SetUp() override {
        int count = 0;
        if (cudaGetDeviceCount(&count) != cudaSuccess || count == 0) GTEST_SKIP() << "no GPU";
    }

    /// A unit of work: the device comes up, computes a field of 100 points, and goes down.
    static std::vector<Complex> field() {
        std::vector<Complex> values(100);
        const CudaDeviceThread device;
        setCudaIntegratorParameters("RectangularPiston", 16);
        do_calculate(values.data(), 10, 10, 1, 0.1F, 0.1F, 0.1F, 1.0F, 2.0F, 3.0F);
        return values;
    }
};

TEST_F(SharedDeviceTest, LeavesWhatTheProcessHoldsOnTheDeviceIntact) {
    std::vector<int> sent(1 << 20);
    std::iota(sent.begin(), sent.end(), 0);
    const std::size_t bytes = sent.size() * sizeof(int);
    void* held = nullptr;
    ASSERT_EQ(cudaMalloc(&held, bytes), cudaSuccess);
    ASSERT_EQ(cudaMemcpy(held, sent.data(), bytes, cudaMemcpyHostToDevice), cudaSuccess);
    for (int call = 0; call < 3; ++call) {
        static_cast<void>(field());
        std::vector<int> received(sent.size());
        ASSERT_EQ(cudaMemcpy(received.data(), held, bytes, cudaMemcpyDeviceToHost), cudaSuccess);
        EXPECT_EQ(received, sent);
    }
    EXPECT_EQ(cudaFree(held), cudaSuccess);
}

TEST_F(SharedDeviceTest, LeavesTheErrorThatSomebodyElseHasPending) {
    void* address = nullptr;
    ASSERT_EQ(cudaMalloc(&address, SIZE_MAX / 2), cudaErrorMemoryAllocation);
    static_cast<void>(field());
    EXPECT_EQ(cudaGetLastError(), cudaErrorMemoryAllocation);
}

TEST_F(SharedDeviceTest, LeavesTheCurrentDeviceOfOthers) {
    int count = 0;
    ASSERT_EQ(cudaGetDeviceCount(&count), cudaSuccess);
    for (int device = 0; device < count; ++device) {
        ASSERT_EQ(cudaSetDevice(device), cudaSuccess);
        static_cast<void>(field());
        int current = -1;
        EXPECT_EQ(cudaGetDevice(&current), cudaSuccess);
        EXPECT_EQ(current, device);
    }
    EXPECT_EQ(cudaSetDevice(0), cudaSuccess);
}

TEST_F(SharedDeviceTest, LeavesNoMemoryOnTheDevice) {
    const auto freeMemory = [] {
        std::size_t free = 0;
        std::size_t all = 0;
        EXPECT_EQ(cudaMemGetInfo(&free, &all), cudaSuccess);
        return free;
    };
    static_cast<void>(field());
    const std::size_t before = freeMemory();
    constexpr std::size_t bytes = 64U << 20U;
    void* address = nullptr;
    ASSERT_EQ(cuda_runtime::cudaMalloc(&address, bytes), cuda_runtime::cudaSuccess);
    EXPECT_LE(freeMemory(), before - bytes / 2);
    EXPECT_EQ(cuda_runtime::cudaThreadExit(), cuda_runtime::cudaSuccess);
    EXPECT_GE(freeMemory(), before - bytes / 2);
}

TEST_F(SharedDeviceTest, GoesOnWhenSomebodyElseResetsTheDevice) {
    const std::vector<Complex> before = field();
    ASSERT_EQ(cudaDeviceReset(), cudaSuccess);
    const std::vector<Complex> after = field();
    EXPECT_EQ(after[7].re, before[7].re);
}

TEST_F(SharedDeviceTest, GivesTheSameFieldEveryTime) {
    const std::vector<Complex> first = field();
    const std::vector<Complex> second = field();
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].re, second[i].re);
        EXPECT_EQ(first[i].im, second[i].im);
    }
}

}  // namespace
