// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The module's contexts beside what the rest of the process holds on the same device.

#include <cuda_runtime_api.h>
#include <gtest/gtest.h>

#include <numeric>
#include <vector>

#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/cudahelper.h"

namespace {

class OwnContextTest : public testing::Test {
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

TEST_F(OwnContextTest, LeavesWhatTheProcessHoldsOnTheDeviceIntact) {
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

TEST_F(OwnContextTest, GivesTheSameFieldEveryTime) {
    const std::vector<Complex> first = field();
    const std::vector<Complex> second = field();
    for (std::size_t i = 0; i < first.size(); ++i) {
        EXPECT_EQ(first[i].re, second[i].re);
        EXPECT_EQ(first[i].im, second[i].im);
    }
}

}  // namespace
