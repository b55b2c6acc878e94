// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "FastNearfield/CudaStorage.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

#include "cuda_runtime/emulated/Emulator.h"
#include "tests/FastNearfield/gpu/Transcript.h"

namespace {

using namespace cuda_runtime;
using emulated::emulator;
using emulated::Operation;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;

template <class Real>
std::vector<Real> onHost(CudaStorage& storage) {
    const auto* values = static_cast<const Real*>(storage.getHostPointer());
    return {values, values + storage.getSize()};
}

template <class Real>
std::vector<Real> onDevice(CudaStorage& storage) {
    std::vector<Real> values(storage.getSize());
    EXPECT_EQ(cudaMemcpy(values.data(), storage.getDevicePointer(), values.size() * sizeof(Real),
                         cudaMemcpyDeviceToHost),
              cudaSuccess);
    return values;
}

template <class Real>
void writeOnDevice(CudaStorage& storage, const std::vector<Real>& values) {
    EXPECT_EQ(cudaMemcpy(storage.getDevicePointer(), values.data(), values.size() * sizeof(Real),
                         cudaMemcpyHostToDevice),
              cudaSuccess);
}

class CudaStorages : public testing::Test {
  public:
    CudaStorages() { static_cast<void>(cudaGetLastError()); }
    CudaStorages(const CudaStorages&) = delete;
    CudaStorages& operator=(const CudaStorages&) = delete;
    ~CudaStorages() override {
        static_cast<void>(cudaThreadExit());
        static_cast<void>(cudaGetLastError());
    }
};

TEST_F(CudaStorages, KnowTheirTypeAndSize) {
    EXPECT_EQ(CudaStorage::DT_FLOAT, 0);
    EXPECT_EQ(CudaStorage::DT_DOUBLE, 1);
    const CudaStorage floats(CudaStorage::DT_FLOAT, 6);
    EXPECT_EQ(floats.getType(), CudaStorage::DT_FLOAT);
    EXPECT_EQ(floats.getSize(), 6U);
    const CudaStorage doubles(CudaStorage::DT_DOUBLE, 0);
    EXPECT_EQ(doubles.getType(), CudaStorage::DT_DOUBLE);
    EXPECT_EQ(doubles.getSize(), 0U);
}

TEST_F(CudaStorages, AreZeroOnBothSidesAtFirst) {
    CudaStorage floats(CudaStorage::DT_FLOAT, 7);
    EXPECT_THAT(onHost<float>(floats), Each(0.0F));
    CudaStorage doubles(CudaStorage::DT_DOUBLE, 7);
    EXPECT_THAT(onDevice<double>(doubles), Each(0.0));
    EXPECT_EQ(emulator().liveBytes(), 56U);
}

TEST_F(CudaStorages, BringTheNewerValuesOver) {
    CudaStorage storage(CudaStorage::DT_FLOAT, 4);
    auto* host = static_cast<float*>(storage.getHostPointer());
    std::fill_n(host, 4, 1.5F);
    EXPECT_THAT(onDevice<float>(storage), Each(1.5F));
    writeOnDevice<float>(storage, {1, 2, 3, 4});
    EXPECT_EQ(storage.getHostPointer(), host);
    EXPECT_THAT(onHost<float>(storage), ElementsAre(1, 2, 3, 4));
    host[2] = 9;
    EXPECT_THAT(onDevice<float>(storage), ElementsAre(1, 2, 9, 4));
}

TEST_F(CudaStorages, CopyOnlyWhenTheSideChanges) {
    CudaStorage storage(CudaStorage::DT_DOUBLE, 5);
    EXPECT_THAT(transcriptOf([&] { static_cast<void>(storage.getDevicePointer()); }),
                ElementsAre("cudaMalloc(40)", "cudaMemcpy(40, cudaMemcpyHostToDevice)"));
    EXPECT_THAT(transcriptOf([&] { static_cast<void>(storage.getDevicePointer()); }), IsEmpty());
    EXPECT_THAT(transcriptOf([&] { static_cast<void>(storage.getHostPointer()); }),
                ElementsAre("cudaMemcpy(40, cudaMemcpyDeviceToHost)"));
    EXPECT_THAT(transcriptOf([&] { static_cast<void>(storage.getHostPointer()); }), IsEmpty());
    EXPECT_THAT(transcriptOf([&] { static_cast<void>(storage.getDevicePointer()); }),
                ElementsAre("cudaMemcpy(40, cudaMemcpyHostToDevice)"));
}

TEST_F(CudaStorages, FreeTheirDeviceSide) {
    {
        CudaStorage storage(CudaStorage::DT_DOUBLE, 5);
        static_cast<void>(storage.getDevicePointer());
        EXPECT_EQ(emulator().liveBytes(), 40U);
    }
    EXPECT_EQ(emulator().liveBytes(), 0U);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(CudaStorages, LeaveTheRuntimeAloneWhenUsedOnTheHostOnly) {
    ASSERT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(transcriptOf([] {
                    CudaStorage storage(CudaStorage::DT_FLOAT, 5);
                    static_cast<void>(storage.getHostPointer());
                }),
                IsEmpty());
    EXPECT_FALSE(emulator().hasContext());
}

TEST_F(CudaStorages, ReportAFailingAllocation) {
    CudaStorage storage(CudaStorage::DT_FLOAT, 3);
    EXPECT_THAT(transcriptOf([&] { static_cast<void>(storage.getDevicePointer()); },
                             AfterFailure::throws, PlannedFailure{1, cudaErrorMemoryAllocation}),
                ElementsAre("cudaMalloc(12)",
                            "report: Cuda error when calling cudaMalloc(&device, bytes()): out of "
                            "memory (FastNearfield/CudaStorage)"));
    // What was refused once may succeed later.
    EXPECT_THAT(onDevice<float>(storage), Each(0.0F));
}

TEST_F(CudaStorages, HaveNoDevicePointerAfterAFailedAllocationWhereTheHandlerReturns) {
    CudaStorage storage(CudaStorage::DT_FLOAT, 3);
    const void* device = &storage;
    static_cast<void>(transcriptOf([&] { device = storage.getDevicePointer(); },
                                   AfterFailure::returns,
                                   PlannedFailure{1, cudaErrorMemoryAllocation}));
    EXPECT_EQ(device, nullptr);
}

TEST_F(CudaStorages, ReportAFailingCopy) {
    CudaStorage storage(CudaStorage::DT_FLOAT, 3);
    const PlannedFailure plan{1, cudaErrorUnknown, Operation::Memcpy};
    EXPECT_EQ(transcriptOf([&] { static_cast<void>(storage.getDevicePointer()); },
                           AfterFailure::throws, plan)
                  .back(),
              "report: Cuda error when calling cudaMemcpy(device, from, bytes(), "
              "cudaMemcpyHostToDevice): unknown error (FastNearfield/CudaStorage)");
    static_cast<void>(storage.getDevicePointer());
    EXPECT_EQ(transcriptOf([&] { static_cast<void>(storage.getHostPointer()); },
                           AfterFailure::throws, plan)
                  .back(),
              "report: Cuda error when calling cudaMemcpy(host.get(), device, bytes(), "
              "cudaMemcpyDeviceToHost): unknown error (FastNearfield/CudaStorage)");
}

}  // namespace
