// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// What ends with a thread's context, on whichever device.

#include <thread>
#include <vector>

#include "KernelTest.h"

namespace {

using namespace cuda_runtime;

template <class Precision>
class ContextEndTest : public KernelTest<Precision> {
  protected:
    using Real = typename Precision::Real;

    static constexpr Scene<Real> scene{1, 2, 3, 4, 5, 6};

    static bool isZero(const typename Precision::Complex& p) { return p.re == 0 && p.im == 0; }

    static void* allocated() {
        void* address = nullptr;
        EXPECT_EQ(cudaMalloc(&address, sizeof(int)), cudaSuccess);
        return address;
    }

    static cudaError_t copyFrom(void* address) {
        int value = 0;
        const cudaError_t status =
            cudaMemcpy(&value, address, sizeof value, cudaMemcpyDeviceToHost);
        static_cast<void>(cudaGetLastError());
        return status;
    }
};
TYPED_TEST_SUITE(ContextEndTest, Families, FamilyName);

TYPED_TEST(ContextEndTest, TakesTheRule) {
    this->uploadLegendreRule(7);
    EXPECT_FALSE(this->isZero(this->pressureAt(this->scene)));
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_TRUE(this->isZero(this->pressureAt(this->scene)));
}

TYPED_TEST(ContextEndTest, TakesTheMemory) {
    void* const address = this->allocated();
    EXPECT_EQ(this->copyFrom(address), cudaSuccess);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_NE(this->copyFrom(address), cudaSuccess);
}

TYPED_TEST(ContextEndTest, TakesALaunchThatHasNotBegun) {
    EXPECT_EQ(cudaConfigureCall({}, {}, 0, nullptr), cudaSuccess);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(cudaLaunch(TypeParam::module().calculate.address()), cudaErrorMissingConfiguration);
    EXPECT_EQ(cudaGetLastError(), cudaErrorMissingConfiguration);
    EXPECT_EQ(cudaThreadSynchronize(), cudaSuccess);
}

TYPED_TEST(ContextEndTest, LeavesWhatOtherThreadsHave) {
    this->uploadLegendreRule(7);
    void* const address = this->allocated();
    std::jthread([this] {
        static_cast<void>(this->allocated());
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    }).join();
    EXPECT_EQ(this->copyFrom(address), cudaSuccess);
    EXPECT_FALSE(this->isZero(this->pressureAt(this->scene)));
}

TYPED_TEST(ContextEndTest, MayBeFollowedByLettingGoOfTheDevice) {
    this->uploadLegendreRule(7);
    const auto before = this->pressureAt(this->scene);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(letGoOfDevices(), cudaSuccess);
    EXPECT_TRUE(this->isZero(this->pressureAt(this->scene)));
    this->uploadLegendreRule(7);
    EXPECT_TRUE(sameBits(this->pressureAt(this->scene), before));
}

}  // namespace
