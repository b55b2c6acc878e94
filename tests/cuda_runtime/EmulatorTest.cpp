// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "cuda_runtime/emulated/Emulator.h"
#include "parallel/threads.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <functional>
#include <thread>

#include "cuda_runtime/DeviceModule.h"
#include "cuda_runtime/KernelEntry.h"
#include "cuda_runtime/kernel.h"
#include "tests/support/EmulatedDevices.h"

namespace {

using namespace cuda_runtime;
using emulated::emulator;

/// Leaves no context and no error behind.
class EmulatorTest : public testing::Test {
  protected:
    void TearDown() override {
        static_cast<void>(cudaThreadExit());
        static_cast<void>(cudaGetLastError());
        emulator().setMemoryLimit(emulated::Emulator::defaultMemoryLimit());
    }
};

/// Writes a + b to element 0, by the thread of index 0.
__global__ void addKernel(double* sum, int a, double b) {
    const auto index = threadIndex<double>();
    store(sum, index, index < 1, lanes::broadcast<Lanes<double>::Reals>(a + b));
}

/// Counts how often every thread of a grid runs.
__global__ void countKernel(float* counts, int size) {
    const auto index = threadIndex<float>();
    const auto inside = index < size;
    store(counts, index, inside, load<Lanes<float>::Reals>(counts, index, inside) + 1);
}

const void* const addImage = entryOf<double, &addKernel>();
const KernelEntry<double*, int, double> addEntry(addImage);
const KernelEntry<float*, int> countEntry(entryOf<float, &countKernel>());
const std::array<const void*, 2> kernels{addImage, entryOf<float, &countKernel>()};

std::array<float, 4> constantArray{};
const std::array<ConstantSymbol, 1> constants{
    {{"global_array", &constantArray, sizeof constantArray}}};
const DeviceModule module(kernels, constants);

/// A number on the device and one of the host that the device reaches.
struct DeviceSum {
    DeviceSum() {
        EXPECT_EQ(cudaMalloc(reinterpret_cast<void**>(&onDevice), sizeof(double)), cudaSuccess);
        EXPECT_EQ(cudaMallocHost(reinterpret_cast<void**>(&onHost), sizeof(double)), cudaSuccess);
        *onHost = 0;
    }
    DeviceSum(const DeviceSum&) = delete;
    DeviceSum& operator=(const DeviceSum&) = delete;
    ~DeviceSum() {
        static_cast<void>(cudaFree(onDevice));
        static_cast<void>(cudaFreeHost(onHost));
    }

    double* onDevice = nullptr;
    double* onHost = nullptr;
};

TEST_F(EmulatorTest, IsOneEmulationDeviceWithTheMachinesThreads) {
    int count = 0;
    EXPECT_EQ(cudaGetDeviceCount(&count), cudaSuccess);
    EXPECT_EQ(count, 1);
    cudaDeviceProp properties{};
    EXPECT_EQ(cudaGetDeviceProperties(&properties, 0), cudaSuccess);
    EXPECT_EQ(properties.major, 9999);
    EXPECT_EQ(properties.minor, 9999);
    EXPECT_EQ(properties.multiProcessorCount,
              static_cast<int>(std::thread::hardware_concurrency()));
    EXPECT_GT(properties.clockRate, 0);
}

TEST_F(EmulatorTest, RefusesDevicesThatAreNotThere) {
    cudaDeviceProp properties{};
    EXPECT_EQ(cudaGetDeviceProperties(&properties, 1), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaSetDevice(-1), cudaErrorInvalidDevice);
    const EmulatedDevices none({});
    int count = 7;
    EXPECT_EQ(cudaGetDeviceCount(&count), cudaErrorNoDevice);
    EXPECT_EQ(count, 0);
    EXPECT_EQ(cudaSetDevice(0), cudaErrorNoDevice);
    void* address = nullptr;
    EXPECT_EQ(cudaMalloc(&address, 4), cudaErrorNoDevice);
    EXPECT_EQ(cudaThreadSynchronize(), cudaErrorNoDevice);
    EXPECT_EQ(cudaThreadExit(), cudaErrorNoDevice);
}

TEST_F(EmulatorTest, AccountsForEveryByte) {
    void* first = nullptr;
    void* second = nullptr;
    EXPECT_EQ(cudaMalloc(&first, 1000), cudaSuccess);
    EXPECT_EQ(cudaMalloc(&second, 24), cudaSuccess);
    EXPECT_EQ(emulator().liveBytes(), 1024U);
    EXPECT_EQ(cudaFree(first), cudaSuccess);
    EXPECT_EQ(emulator().liveBytes(), 24U);
    EXPECT_EQ(cudaFree(nullptr), cudaSuccess);
    EXPECT_EQ(cudaFree(first), cudaErrorInvalidValue);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(emulator().liveBytes(), 0U);
    EXPECT_FALSE(emulator().hasContext());
}

TEST_F(EmulatorTest, HasTheMemoryItWasGiven) {
    emulator().setMemoryLimit(1000);
    void* address = nullptr;
    EXPECT_EQ(cudaMalloc(&address, 1001), cudaErrorMemoryAllocation);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(cudaMalloc(&address, 900), cudaSuccess);
    EXPECT_EQ(cudaMalloc(&address, 101), cudaErrorMemoryAllocation);
    EXPECT_EQ(cudaMalloc(&address, 100), cudaSuccess);
    EXPECT_EQ(cudaMalloc(&address, SIZE_MAX), cudaErrorMemoryAllocation);
    EXPECT_EQ(emulator().liveBytes(), 1000U);
}

TEST_F(EmulatorTest, GivesNoAddressForNoBytes) {
    int anything = 0;
    void* address = &anything;
    EXPECT_EQ(cudaMalloc(&address, 0), cudaSuccess);
    EXPECT_EQ(address, nullptr);
    EXPECT_EQ(cudaMalloc(nullptr, 4), cudaErrorInvalidValue);
}

TEST_F(EmulatorTest, CopiesInAllDirectionsWithinAllocations) {
    const std::array<int, 4> sent{1, 2, 3, 4};
    std::array<int, 4> received{};
    void* first = nullptr;
    void* second = nullptr;
    ASSERT_EQ(cudaMalloc(&first, sizeof sent), cudaSuccess);
    ASSERT_EQ(cudaMalloc(&second, sizeof sent), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(first, sent.data(), sizeof sent, cudaMemcpyHostToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(second, first, sizeof sent, cudaMemcpyDeviceToDevice), cudaSuccess);
    EXPECT_EQ(
        cudaMemcpy(received.data(), static_cast<int*>(second) + 1, 12, cudaMemcpyDeviceToHost),
        cudaSuccess);
    EXPECT_THAT(received, testing::ElementsAre(2, 3, 4, 0));
    EXPECT_EQ(cudaMemcpy(received.data(), sent.data(), sizeof sent, cudaMemcpyHostToHost),
              cudaSuccess);
    EXPECT_EQ(received, sent);
}

TEST_F(EmulatorTest, RefusesCopiesOutsideAllocations) {
    std::array<int, 8> host{};
    void* address = nullptr;
    EXPECT_EQ(cudaMemcpy(host.data(), host.data(), 4, cudaMemcpyDeviceToHost),
              cudaErrorInvalidValue);
    ASSERT_EQ(cudaMalloc(&address, 16), cudaSuccess);
    auto* const device = static_cast<std::byte*>(address);
    EXPECT_EQ(cudaMemcpy(address, host.data(), 17, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpy(device + 8, host.data(), 9, cudaMemcpyHostToDevice),
              cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpy(device + 8, host.data(), 8, cudaMemcpyHostToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(address, nullptr, 4, cudaMemcpyHostToDevice), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpy(nullptr, nullptr, 0, cudaMemcpyHostToDevice), cudaSuccess);
    EXPECT_EQ(cudaMemcpy(address, host.data(), 4, static_cast<cudaMemcpyKind>(4)),
              cudaErrorInvalidMemcpyDirection);
}

TEST_F(EmulatorTest, FindsConstantsByNameAndKeepsToTheirCapacity) {
    const std::array<float, 5> values{1, 2, 3, 4, 5};
    EXPECT_EQ(cudaMemcpyToSymbol("global_array", values.data(), 16), cudaSuccess);
    EXPECT_THAT(constantArray, testing::ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(cudaMemcpyToSymbol("global_array", values.data(), 4, 12), cudaSuccess);
    EXPECT_EQ(constantArray[3], 1);
    EXPECT_EQ(cudaMemcpyToSymbol("global_array", values.data(), 20), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyToSymbol("global_array", values.data(), 8, 12), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMemcpyToSymbol("global_array", values.data(), 4, 0, cudaMemcpyDeviceToHost),
              cudaErrorInvalidMemcpyDirection);
    EXPECT_EQ(cudaMemcpyToSymbol("global_arra", values.data(), 4), cudaErrorInvalidSymbol);
}

TEST_F(EmulatorTest, ConstantsEndWithTheContext) {
    const std::array<float, 4> values{1, 2, 3, 4};
    ASSERT_EQ(cudaMemcpyToSymbol("global_array", values.data(), 16), cudaSuccess);
    ASSERT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_THAT(constantArray, testing::Each(0));
}

TEST_F(EmulatorTest, ConstantsAreKnownWhileTheirRegistrationLives) {
    int symbol = 0;
    const int value = 3;
    {
        const std::array<ConstantSymbol, 1> passing{{{"global_passing", &symbol, sizeof symbol}}};
        const DeviceModule passingModule({}, passing);
        EXPECT_EQ(cudaMemcpyToSymbol("global_passing", &value, sizeof value), cudaSuccess);
        EXPECT_EQ(symbol, 3);
    }
    EXPECT_EQ(cudaMemcpyToSymbol("global_passing", &value, sizeof value), cudaErrorInvalidSymbol);
}

__global__ void passingKernel() {}

TEST_F(EmulatorTest, KernelsAreKnownWhileTheirRegistrationLives) {
    const std::array<const void*, 1> passing{entryOf<float, &passingKernel>()};
    const auto launched = [&passing] {
        static_cast<void>(cudaConfigureCall({}, {}, 0, nullptr));
        return cudaLaunch(passing[0]);
    };
    {
        const DeviceModule first(passing, {});
        {
            const DeviceModule second(passing, {});
            EXPECT_EQ(launched(), cudaSuccess);
        }
        EXPECT_EQ(launched(), cudaSuccess);
    }
    EXPECT_EQ(launched(), cudaErrorInvalidDeviceFunction);
}

TEST_F(EmulatorTest, LaunchesAKernelWithItsArguments) {
    void* sum = nullptr;
    ASSERT_EQ(cudaMalloc(&sum, sizeof(double)), cudaSuccess);
    addEntry.launch({}, {}, static_cast<double*>(sum), 2, 0.5);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
    EXPECT_EQ(*static_cast<double*>(sum), 2.5);
}

TEST_F(EmulatorTest, RunsEveryThreadOfAnyGridOnce) {
    struct Shape {
        dim3 grid;
        dim3 block;
    };
    for (const auto& [grid, block] :
         {Shape{{1, 1, 1}, {1, 1, 1}}, Shape{{3, 1, 1}, {7, 1, 1}}, Shape{{2, 3, 4}, {128, 1, 1}},
          Shape{{1, 64, 1}, {128, 1, 1}}, Shape{{500, 1, 1}, {100, 1, 1}}}) {
        const std::size_t threads = std::size_t{grid.x} * grid.y * grid.z * block.x;
        std::vector<float> counts(threads + 100, 0);
        for (const unsigned workers : {1U, 2U, 5U}) {
            pistonfield::useThreads(workers);
            countEntry.launch(grid, block, counts.data(), static_cast<int>(counts.size()));
            EXPECT_EQ(cudaGetLastError(), cudaSuccess);
        }
        pistonfield::useThreads(0);
        for (std::size_t i = 0; i < counts.size(); ++i) ASSERT_EQ(counts[i], i < threads ? 3 : 0);
    }
}

TEST_F(EmulatorTest, AKernelThatUsesNoMemoryFailsTheLaunch) {
    addEntry.launch({}, {}, nullptr, 2, 0.5);
    EXPECT_EQ(cudaGetLastError(), cudaErrorIllegalAddress);
    double sum = 0;
    addEntry.launch({}, {}, &sum, 2, 0.5);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(EmulatorTest, DoesTheWorkOfAStreamWhenItIsWaitedFor) {
    const DeviceSum sum;
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    EXPECT_EQ(addEntry.launchOn(stream, {}, {}, sum.onDevice, 2, 0.5), cudaSuccess);
    EXPECT_EQ(
        cudaMemcpyAsync(sum.onHost, sum.onDevice, sizeof(double), cudaMemcpyDeviceToHost, stream),
        cudaSuccess);
    EXPECT_EQ(*sum.onHost, 0);
    EXPECT_EQ(emulator().pendingOperations(), 2U);
    EXPECT_EQ(cudaStreamSynchronize(stream), cudaSuccess);
    EXPECT_EQ(*sum.onHost, 2.5);
    EXPECT_EQ(emulator().pendingOperations(), 0U);
    EXPECT_EQ(cudaStreamDestroy(stream), cudaSuccess);
    EXPECT_EQ(cudaStreamSynchronize(stream), cudaErrorInvalidResourceHandle);
}

TEST_F(EmulatorTest, WaitsForStreamsWhereTheDeviceIsWaitedFor) {
    using Wait = std::function<cudaError_t(cudaStream_t)>;
    const DeviceSum sum;
    for (const Wait& wait : {Wait([](cudaStream_t) { return cudaThreadSynchronize(); }),
                             Wait([](cudaStream_t stream) { return cudaStreamDestroy(stream); }),
                             Wait([&](cudaStream_t) {
                                 void* another = nullptr;
                                 static_cast<void>(cudaMalloc(&another, 4));
                                 return cudaFree(another);
                             })}) {
        cudaStream_t stream = nullptr;
        ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
        *sum.onHost = 0;
        EXPECT_EQ(addEntry.launchOn(stream, {}, {}, sum.onDevice, 2, 0.5), cudaSuccess);
        EXPECT_EQ(cudaMemcpyAsync(sum.onHost, sum.onDevice, sizeof(double), cudaMemcpyDeviceToHost,
                                  stream),
                  cudaSuccess);
        EXPECT_EQ(wait(stream), cudaSuccess);
        EXPECT_EQ(*sum.onHost, 2.5);
    }
}

TEST_F(EmulatorTest, ReportsWhatFailsInAStreamWhenItIsWaitedFor) {
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    EXPECT_EQ(addEntry.launchOn(stream, {}, {}, nullptr, 2, 0.5), cudaSuccess);
    EXPECT_EQ(cudaStreamSynchronize(stream), cudaErrorIllegalAddress);
    EXPECT_EQ(cudaStreamSynchronize(stream), cudaSuccess);
}

TEST_F(EmulatorTest, RefusesStreamsAndCopiesThatAreNone) {
    double value = 0;
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    auto* const unknown = reinterpret_cast<cudaStream_t>(&value);
    EXPECT_EQ(addEntry.launchOn(unknown, {}, {}, &value, 2, 0.5), cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaStreamDestroy(unknown), cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaMemcpyAsync(&value, &value, 8, cudaMemcpyHostToHost, unknown),
              cudaErrorInvalidResourceHandle);
    EXPECT_EQ(cudaMemcpyAsync(&value, &value, 8, cudaMemcpyDeviceToHost, stream),
              cudaErrorInvalidValue);
    EXPECT_EQ(cudaFreeHost(&value), cudaErrorInvalidValue);
    EXPECT_EQ(cudaStreamCreate(nullptr), cudaErrorInvalidValue);
    EXPECT_EQ(cudaMallocHost(nullptr, 8), cudaErrorInvalidValue);
}

TEST_F(EmulatorTest, EndsStreamsAndTheHostsMemoryWithTheContext) {
    void* memory = nullptr;
    cudaStream_t stream = nullptr;
    ASSERT_EQ(cudaMallocHost(&memory, 24), cudaSuccess);
    ASSERT_EQ(cudaStreamCreate(&stream), cudaSuccess);
    EXPECT_EQ(emulator().liveHostBytes(), 24U);
    EXPECT_EQ(emulator().liveStreams(), 1U);
    EXPECT_EQ(emulator().liveBytes(), 0U);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_EQ(emulator().liveHostBytes(), 0U);
    EXPECT_EQ(emulator().liveStreams(), 0U);
}

TEST_F(EmulatorTest, RefusesGeometriesThatNoDeviceHas) {
    for (const dim3 grid :
         {dim3{0, 1, 1}, dim3{1, 65536, 1}, dim3{1, 1, 65536}, dim3{2147483648U}}) {
        addEntry.launch(grid, {}, nullptr, 2, 0.5);
        EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidConfiguration);
    }
    for (const dim3 block : {dim3{1, 0, 1}, dim3{1025, 1, 1}, dim3{1, 1, 65}, dim3{32, 33, 1}}) {
        addEntry.launch({}, block, nullptr, 2, 0.5);
        EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidConfiguration);
    }
}

TEST_F(EmulatorTest, RefusesALaunchThatLacksArguments) {
    double sum = 0;
    double* const address = &sum;
    ASSERT_EQ(cudaConfigureCall({}, {}, 0, nullptr), cudaSuccess);
    ASSERT_EQ(cudaSetupArgument(&address, sizeof address, 0), cudaSuccess);
    EXPECT_EQ(cudaLaunch(addImage), cudaErrorInvalidValue);
    EXPECT_EQ(sum, 0);
}

TEST_F(EmulatorTest, RefusesLaunchesThatAreNotConfiguredOrUnknown) {
    const int argument = 0;
    EXPECT_EQ(cudaSetupArgument(&argument, sizeof argument, 0), cudaErrorMissingConfiguration);
    EXPECT_EQ(cudaLaunch(addImage), cudaErrorMissingConfiguration);
    ASSERT_EQ(cudaConfigureCall({}, {}, 0, nullptr), cudaSuccess);
    EXPECT_EQ(cudaSetupArgument(&argument, sizeof argument, 4096), cudaErrorInvalidValue);
    EXPECT_EQ(cudaLaunch(&argument), cudaErrorInvalidDeviceFunction);
    EXPECT_EQ(cudaLaunch(addImage), cudaErrorMissingConfiguration);
}

TEST_F(EmulatorTest, AFailingArgumentEndsTheEntryWithoutALaunch) {
    const RuntimeLog log(PlannedFailure{2, cudaErrorUnknown, emulated::Operation::SetupArgument});
    double sum = 0;
    addEntry.launch({}, {}, &sum, 2, 0.5);
    EXPECT_THAT(log.calls,
                testing::ElementsAre("cudaConfigureCall((1, 1, 1), (1, 1, 1), 0, 0)",
                                     "cudaSetupArgument(8, 0)", "cudaSetupArgument(4, 8)"));
    EXPECT_EQ(cudaGetLastError(), cudaErrorUnknown);
}

TEST_F(EmulatorTest, ReadingTheLastErrorClearsIt) {
    EXPECT_EQ(cudaSetDevice(5), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaSetDevice(0), cudaSuccess);
    EXPECT_EQ(cudaGetLastError(), cudaErrorInvalidDevice);
    EXPECT_EQ(cudaGetLastError(), cudaSuccess);
}

TEST_F(EmulatorTest, FailsTheNthUseOfAnOperation) {
    const RuntimeLog log(PlannedFailure{2, cudaErrorMemoryAllocation, emulated::Operation::Malloc});
    void* address = nullptr;
    EXPECT_EQ(cudaMalloc(&address, 4), cudaSuccess);
    EXPECT_EQ(cudaMalloc(&address, 4), cudaErrorMemoryAllocation);
    EXPECT_EQ(cudaMalloc(&address, 4), cudaSuccess);
    EXPECT_EQ(cudaGetLastError(), cudaErrorMemoryAllocation);
    EXPECT_EQ(emulator().liveBytes(), 8U);
}

TEST_F(EmulatorTest, WordsItsErrorsAsTheRuntimeDoes) {
    EXPECT_STREQ(cudaGetErrorString(cudaSuccess), "no error");
    EXPECT_STREQ(cudaGetErrorString(cudaErrorMemoryAllocation), "out of memory");
    EXPECT_STREQ(cudaGetErrorString(cudaErrorInvalidSymbol), "invalid device symbol");
    EXPECT_STREQ(cudaGetErrorString(cudaErrorNoDevice), "no CUDA-capable device is detected");
    EXPECT_STREQ(cudaGetErrorString(static_cast<cudaError_t>(12345)), "unrecognized error code");
}

TEST_F(EmulatorTest, EndsTheContextOfTheCallingThreadAlone) {
    const std::array<float, 1> one{1};
    void* memory = nullptr;
    ASSERT_EQ(cudaMalloc(&memory, 64), cudaSuccess);
    ASSERT_EQ(cudaMemcpyToSymbol("global_array", one.data(), sizeof one), cudaSuccess);
    std::jthread([] {
        void* own = nullptr;
        EXPECT_EQ(cudaMalloc(&own, 32), cudaSuccess);
        EXPECT_EQ(emulator().liveBytes(), 96U);
        EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    }).join();
    EXPECT_TRUE(emulator().hasContext());
    EXPECT_EQ(emulator().liveBytes(), 64U);
    EXPECT_EQ(constantArray[0], 1);
    EXPECT_EQ(cudaThreadExit(), cudaSuccess);
    EXPECT_FALSE(emulator().hasContext());
    EXPECT_EQ(emulator().liveBytes(), 0U);
    EXPECT_EQ(constantArray[0], 0);
}

}  // namespace
