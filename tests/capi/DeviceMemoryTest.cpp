// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Memory of a device, as callers of the interface for C give it: that of the emulation device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <string>
#include <vector>

#include "field/Plan.h"
#include "pistonfield.h"
#include "tests/capi/sampleField.h"
#include "tests/field/smallRequest.h"
#include "tests/support/EmulatedDevices.h"

namespace {

using cuda_runtime::emulated::Operation;
using testing::Contains;
using testing::HasSubstr;

constexpr pistonfield_box whole{{0, 0, 0}, {7, 5, 4}};
constexpr pistonfield_device first{0, nullptr};

/// An array that a caller has made on the device.
template <class T>
class CallersArray {
  public:
    explicit CallersArray(std::size_t count, int device = 0) : count(count) {
        EXPECT_EQ(cuda_runtime::cudaSetDevice(device), cuda_runtime::cudaSuccess);
        EXPECT_EQ(cuda_runtime::cudaMalloc(reinterpret_cast<void**>(&elements), count * sizeof(T)),
                  cuda_runtime::cudaSuccess);
        EXPECT_EQ(cuda_runtime::cudaSetDevice(0), cuda_runtime::cudaSuccess);
    }
    explicit CallersArray(const std::vector<T>& values) : CallersArray(values.size()) {
        static_cast<void>(cuda_runtime::cudaMemcpy(elements, values.data(), count * sizeof(T),
                                                   cuda_runtime::cudaMemcpyHostToDevice));
    }
    CallersArray(const CallersArray&) = delete;
    CallersArray& operator=(const CallersArray&) = delete;
    ~CallersArray() { static_cast<void>(cuda_runtime::cudaFree(elements)); }

    T* get() const noexcept { return elements; }

    std::vector<T> values() const {
        std::vector<T> copied(count);
        static_cast<void>(cuda_runtime::cudaMemcpy(copied.data(), elements, count * sizeof(T),
                                                   cuda_runtime::cudaMemcpyDeviceToHost));
        return copied;
    }

  private:
    std::size_t count;
    T* elements = nullptr;
};

class DeviceMemoryTest : public testing::Test {
  protected:
    void TearDown() override {
        pistonfield_plan_destroy(plan);
        static_cast<void>(cuda_runtime::cudaThreadExit());
    }

    void make(const pistonfield_request& request) {
        ASSERT_EQ(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_SUCCESS)
            << message.text;
    }

    pistonfield_status compute(double* values, const pistonfield_device& device,
                               const double* factor = nullptr,
                               const pistonfield_conduct* conduct = nullptr) {
        return pistonfield_plan_compute_double_on(plan, &whole, values, &device, factor, conduct,
                                                  &message);
    }

    pistonfield_plan* plan = nullptr;
    pistonfield_message message{};
};

TEST_F(DeviceMemoryTest, HasTheValuesOfTheHosts) {
    for (const std::int32_t mode :
         {PISTONFIELD_CPU, PISTONFIELD_CPUSP, PISTONFIELD_CUDA, PISTONFIELD_CUDADP}) {
        make(sampleRequest(mode));
        std::vector<double> expected(std::size_t{2} * samplePoints);
        sampleFieldDouble(mode, expected.data());
        const CallersArray<double> values(expected.size());
        EXPECT_EQ(compute(values.get(), first), PISTONFIELD_SUCCESS) << message.text;
        EXPECT_EQ(values.values(), expected);

        std::vector<float> expectedFloats(expected.size());
        sampleFieldFloat(mode, expectedFloats.data());
        const CallersArray<float> floats(expected.size());
        EXPECT_EQ(pistonfield_plan_compute_float_on(plan, &whole, floats.get(), &first, nullptr,
                                                    nullptr, &message),
                  PISTONFIELD_SUCCESS)
            << message.text;
        EXPECT_EQ(floats.values(), expectedFloats);
        pistonfield_plan_destroy(plan);
        plan = nullptr;
    }
}

TEST_F(DeviceMemoryTest, HasValuesTimesAFactor) {
    make(sampleRequest(PISTONFIELD_CPU));
    std::vector<double> expected(std::size_t{2} * samplePoints);
    sampleFieldDouble(PISTONFIELD_CPU, expected.data());
    const CallersArray<double> values(expected.size());
    constexpr std::array<std::array<double, 2>, 3> factors{{{0, 2}, {3, 0}, {3, 2}}};
    for (const auto& factor : factors) {
        ASSERT_EQ(compute(values.get(), first, factor.data()), PISTONFIELD_SUCCESS);
        const std::vector<double> found = values.values();
        for (std::size_t i = 0; i < found.size(); i += 2) {
            EXPECT_DOUBLE_EQ(found[i], factor[0] * expected[i] - factor[1] * expected[i + 1]);
            EXPECT_DOUBLE_EQ(found[i + 1], factor[0] * expected[i + 1] + factor[1] * expected[i]);
        }
    }
}

TEST_F(DeviceMemoryTest, HasTheFieldsOfWeightingsBehindEachOther) {
    const std::array<pistonfield_element, 2> elements{
        {{0.2, 0.3, {-0.2, 0, 0}, {1, 0, 0}, {0, 1, 0}},
         {0.2, 0.3, {0.2, 0, 0}, {1, 0, 0}, {0, 1, 0}}}};
    const std::array<double, 8> weights{1, 0, 0, 1, 1, 0, -1, 0};
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = 1e-4;
    request.behind = 1;
    request.array = elements.data();
    request.elements = 2;
    request.weights = weights.data();
    request.weightings = 2;
    make(request);
    std::vector<double> expected(std::size_t{4} * samplePoints);
    ASSERT_EQ(pistonfield_plan_compute_double(plan, &whole, expected.data(), &expected[1], 2,
                                              nullptr, &message),
              PISTONFIELD_SUCCESS)
        << message.text;
    const CallersArray<double> values(expected.size());
    EXPECT_EQ(compute(values.get(), first), PISTONFIELD_SUCCESS) << message.text;
    EXPECT_EQ(values.values(), expected);
}

TEST_F(DeviceMemoryTest, TakesThePiecesOfALargeBoxInTheOrderOfTheStream) {
    constexpr std::int64_t side = 1100;  // more points than a piece has
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.order = 1;
    request.sizes[0] = request.sizes[1] = side;
    request.sizes[2] = 1;
    make(request);
    const pistonfield_box box{{0, 0, 0}, {side, side, 1}};
    std::vector<double> expected(std::size_t{2} * side * side);
    ASSERT_EQ(pistonfield_plan_compute_double(plan, &box, expected.data(), &expected[1], 2, nullptr,
                                              nullptr),
              PISTONFIELD_SUCCESS);
    const CallersArray<double> values(expected.size());
    int handle = 0;  // the emulation device takes any
    const pistonfield_device device{0, &handle};
    const RuntimeLog log;
    ASSERT_EQ(pistonfield_plan_compute_double_on(plan, &box, values.get(), &device, nullptr,
                                                 nullptr, nullptr),
              PISTONFIELD_SUCCESS);
    EXPECT_EQ(values.values(), expected);
    EXPECT_GT(
        std::count_if(log.calls.begin(), log.calls.end(),
                      [](const std::string& call) { return call.starts_with("copyInOrder"); }),
        1);
    const std::string stream = std::to_string(reinterpret_cast<std::uintptr_t>(&handle));
    EXPECT_THAT(log.calls, Contains(HasSubstr("cudaMemcpyHostToDevice, 0, " + stream + ")")));
    EXPECT_THAT(log.calls, Not(Contains(HasSubstr("cudaThreadSynchronize"))));
}

TEST_F(DeviceMemoryTest, RefusesOtherMemory) {
    const EmulatedDevices two(
        {EmulatedDevices::device(9, 0, 1, 1), EmulatedDevices::device(9, 0, 1, 1)});
    make(sampleRequest(PISTONFIELD_CPU));
    std::vector<double> host(std::size_t{2} * samplePoints);
    EXPECT_EQ(compute(host.data(), first), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text,
                 "values: is not in the memory of device 0, which is the processor: this build of "
                 "the library takes no memory of a GPU");
    const CallersArray<double> values(host.size(), 1);
    EXPECT_EQ(compute(values.get(), first), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text, "values: lies in the memory of device 1, not of device 0");
    EXPECT_EQ(compute(values.get(), {1, nullptr}), PISTONFIELD_SUCCESS) << message.text;
    EXPECT_EQ(compute(values.get(), {2, nullptr}), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text,
                 "values: is said to be in the memory of device 2, which is none of 0 to 1");
    const CallersArray<double> small(host.size() - 1);
    EXPECT_EQ(compute(small.get(), first), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_THAT(message.text, HasSubstr("values: is not in the memory of device 0"));
    EXPECT_EQ(compute(nullptr, first), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text, "values: is null");
    EXPECT_EQ(pistonfield_plan_compute_double_on(plan, &whole, values.get(), nullptr, nullptr,
                                                 nullptr, &message),
              PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text, "device: is null");
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, nullptr);
    conduct.to_next_field = 1000;
    EXPECT_EQ(compute(values.get(), {1, nullptr}, nullptr, &conduct), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text, "to_next_field: has to be 0 in the memory of a device");
}

TEST_F(DeviceMemoryTest, RefusesThemFromTheClassesToo) {
    const pistonfield::Plan classes(smallRequest("cpu"));
    std::vector<std::complex<double>> host(samplePoints);
    const LatticeBox box = classes.request().lattice.box();
    EXPECT_THROW(classes.computeOnDevice<double>(box, {host.data()}), std::invalid_argument);
    const CallersArray<std::complex<double>> values(samplePoints);
    classes.compute(box, host.data());
    classes.computeOnDevice<double>(box, {values.get()});
    EXPECT_EQ(values.values(), host);
}

TEST_F(DeviceMemoryTest, TellsThatThereIsNoDevice) {
    make(sampleRequest(PISTONFIELD_CPU));
    const EmulatedDevices none({});
    std::vector<double> host(std::size_t{2} * samplePoints);
    EXPECT_EQ(compute(host.data(), first), PISTONFIELD_DEVICE_FAILURE);
    EXPECT_STREQ(message.text, "values: cudaGetDeviceCount: no CUDA-capable device is detected");
}

TEST_F(DeviceMemoryTest, TellsThatACopyHasFailed) {
    make(sampleRequest(PISTONFIELD_CPU));
    const CallersArray<double> values(std::size_t{2} * samplePoints);
    const RuntimeLog log({{.nth = 1,
                           .status = cuda_runtime::cudaErrorLaunchFailure,
                           .operation = Operation::CopyInOrder}});
    EXPECT_EQ(compute(values.get(), first), PISTONFIELD_DEVICE_FAILURE);
    EXPECT_STREQ(message.text,
                 "values: copying in the order of the stream: unspecified launch failure");
}

TEST_F(DeviceMemoryTest, TellsWhichArgumentsCopyHasFailed) {
    const CallersArray<double> onDevice(std::vector<double>{1, 2, 3});
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = 1e-6;
    request.x = request.y = request.z = onDevice.get();
    request.points = 3;
    request.points_device = &first;
    std::array<double, 3> read{};
    for (const int nth : {1, 2, 3}) {
        const RuntimeLog log({{.nth = nth,
                               .status = cuda_runtime::cudaErrorLaunchFailure,
                               .operation = Operation::CopyInOrder}});
        EXPECT_EQ(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_DEVICE_FAILURE);
        EXPECT_EQ(std::string(message.text).substr(0, 11),
                  std::string(1, "xyz"[nth - 1]) + ": copying ");
    }
    const RuntimeLog log({{.nth = 1,
                           .status = cuda_runtime::cudaErrorLaunchFailure,
                           .operation = Operation::CopyInOrder}});
    EXPECT_EQ(pistonfield_device_read(&first, onDevice.get(), 24, read.data(), &message),
              PISTONFIELD_DEVICE_FAILURE);
    EXPECT_STREQ(message.text,
                 "from: copying in the order of the stream: unspecified launch failure");
}

TEST_F(DeviceMemoryTest, TakesAFiniteFactor) {
    make(sampleRequest(PISTONFIELD_CPU));
    const CallersArray<double> values(std::size_t{2} * samplePoints);
    constexpr double infinity = std::numeric_limits<double>::infinity();
    for (const std::array<double, 2>& factor :
         {std::array{std::nan(""), 0.0}, std::array{1.0, infinity}, std::array{-infinity, 0.0}}) {
        EXPECT_EQ(compute(values.get(), first, factor.data()), PISTONFIELD_INVALID_ARGUMENT);
        EXPECT_STREQ(message.text, "factor: both of its parts must be finite");
    }
    const pistonfield::Plan classes(smallRequest("cpu"));
    const CallersArray<std::complex<double>> others(samplePoints);
    EXPECT_THROW(classes.computeOnDevice<double>(classes.request().lattice.box(),
                                                 {others.get(), {}, {0, infinity}}),
                 std::invalid_argument);
}

TEST_F(DeviceMemoryTest, IsWatched) {
    make(sampleRequest(PISTONFIELD_CPU));
    const CallersArray<double> values(std::size_t{2} * samplePoints);
    std::int64_t told = 0;
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, nullptr);
    conduct.user = &told;
    conduct.progress = [](std::int64_t points, void* user) {
        *static_cast<std::int64_t*>(user) = points;
        return 0;
    };
    EXPECT_EQ(compute(values.get(), first, nullptr, &conduct), PISTONFIELD_SUCCESS);
    EXPECT_EQ(told, samplePoints);
}

TEST_F(DeviceMemoryTest, IsStopped) {
    constexpr std::int64_t side = 1100;
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.sizes[0] = request.sizes[1] = side;
    make(request);
    const pistonfield_box box{{0, 0, 0}, {side, side, 4}};
    const CallersArray<double> values(std::size_t{8} * side * side);
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, nullptr);
    conduct.progress = [](std::int64_t, void*) { return 1; };
    EXPECT_EQ(pistonfield_plan_compute_double_on(plan, &box, values.get(), &first, nullptr,
                                                 &conduct, &message),
              PISTONFIELD_STOPPED);
}

TEST_F(DeviceMemoryTest, GivesPoints) {
    const std::vector<double> x{0.1, -0.2, 0.3};
    const std::vector<double> y{0.2, 0.1, -0.3};
    const std::vector<double> z{0.3, 0.4, 0.5};
    const CallersArray<double> xOnDevice(x);
    const CallersArray<double> yOnDevice(y);
    const CallersArray<double> zOnDevice(z);
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = 1e-6;
    request.x = x.data();
    request.y = y.data();
    request.z = z.data();
    request.points = 3;
    make(request);
    constexpr pistonfield_box all{{0, 0, 0}, {3, 1, 1}};
    std::array<double, 6> expected{};
    pistonfield_plan_compute_double(plan, &all, expected.data(), &expected[1], 2, nullptr, nullptr);
    pistonfield_plan_destroy(plan);
    plan = nullptr;

    request.points_device = &first;
    pistonfield_request without = sampleRequest(PISTONFIELD_CPU);
    without.points_device = &first;
    EXPECT_EQ(pistonfield_plan_create(&without, &plan, &message), PISTONFIELD_INVALID_REQUEST);
    EXPECT_STREQ(message.text, "points_device: goes with points");
    EXPECT_EQ(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_THAT(message.text, HasSubstr("x: is not in the memory of device 0"));
    request.x = xOnDevice.get();
    request.y = yOnDevice.get();
    request.z = zOnDevice.get();
    make(request);
    std::array<double, 6> values{};
    pistonfield_plan_compute_double(plan, &all, values.data(), &values[1], 2, nullptr, nullptr);
    EXPECT_EQ(values, expected);
}

TEST_F(DeviceMemoryTest, IsFound) {
    const EmulatedDevices two(
        {EmulatedDevices::device(9, 0, 1, 1), EmulatedDevices::device(9, 0, 1, 1)});
    const CallersArray<double> values(2, 1);
    std::int32_t number = -1;
    EXPECT_EQ(pistonfield_device_of(values.get() + 1, &number, &message), PISTONFIELD_SUCCESS);
    EXPECT_EQ(number, 1);
    EXPECT_EQ(pistonfield_device_of(&number, &number, &message), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text, "address: is in no device's memory");
    EXPECT_EQ(pistonfield_device_of(nullptr, &number, &message), PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_EQ(pistonfield_device_of(&number, nullptr, &message), PISTONFIELD_INVALID_ARGUMENT);
    const EmulatedDevices none({});
    EXPECT_EQ(pistonfield_device_of(&number, &number, &message), PISTONFIELD_DEVICE_FAILURE);
}

TEST_F(DeviceMemoryTest, IsRead) {
    const std::vector<double> values{1, 2, 3};
    const CallersArray<double> onDevice(values);
    std::vector<double> read(3);
    EXPECT_EQ(pistonfield_device_read(&first, onDevice.get(), 24, read.data(), &message),
              PISTONFIELD_SUCCESS);
    EXPECT_EQ(read, values);
    EXPECT_EQ(pistonfield_device_read(&first, onDevice.get(), 25, read.data(), &message),
              PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_THAT(message.text, HasSubstr("from: is not in the memory of device 0"));
    EXPECT_EQ(pistonfield_device_read(&first, onDevice.get(), 0, read.data(), &message),
              PISTONFIELD_INVALID_ARGUMENT);
    EXPECT_STREQ(message.text, "bytes: 0 is not 1 or more");
    EXPECT_EQ(pistonfield_has_gpus(), 0);
}

}  // namespace
