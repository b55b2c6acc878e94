// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Plans of the modes of a GPU, on the emulation device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <complex>
#include <memory>
#include <stop_token>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

#include "FastNearfield/GaussLegendre.h"
#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/ErrorHandler.h"
#include "core/cudahelper.h"
#include "field/Plan.h"
#include "tests/field/smallRequest.h"
#include "tests/support/Captured.h"
#include "tests/support/EmulatedDevices.h"
#include "tests/support/InChild.h"
#include "tests/support/Refused.h"
#include "tests/support/SilentOutput.h"

namespace {

using pistonfield::Plan;
using pistonfield::Request;

/// A turned lattice.
Request deviceRequest(const char* mode) {
    Request request = smallRequest(mode);
    request.lattice.transform = {0.06,  -0.03, 0.02, -0.2,  0.04, 0.05, -0.03, -0.1,
                                 -0.01, 0.02,  0.09, 0.125, 0,    0,    0,     1};
    return request;
}

/// The mode of the kernels in the precision T, and their launcher.
template <class T>
struct Family;

template <>
struct Family<float> {
    static constexpr const char* mode = "cuda";
    static void launch(std::complex<float>* values, const float* transform, float l, float s,
                       float k) {
        RectangularPiston_func(reinterpret_cast<Complex*>(values), 7, 5, 4, transform, l, s, k);
    }
};

template <>
struct Family<double> {
    static constexpr const char* mode = "cudadp";
    static void launch(std::complex<double>* values, const double* transform, double l, double s,
                       double k) {
        RectangularPiston_func_d(reinterpret_cast<Complexd*>(values), 7, 5, 4, transform, l, s, k);
    }
};

template <class T>
class DevicePlan : public testing::Test {
  protected:
    using Values = std::vector<std::complex<T>>;

    static Request request() { return deviceRequest(Family<T>::mode); }

    static Values computed(const Plan& plan, const LatticeBox& box) {
        Values values(static_cast<std::size_t>(box.points()));
        plan.compute(box, values.data());
        return values;
    }

    static Values computed(const Request& request) {
        return computed(Plan(request), request.lattice.box());
    }

    /// The field of the whole lattice, by the launcher for lattices.
    static Values launched(const Request& request) {
        const SilentOutput silent;
        const CudaDeviceThread device;
        setCudaIntegratorParameters("RectangularPiston", request.rule.order);
        std::array<T, 16> transform{};
        for (std::size_t i = 0; i < transform.size(); ++i)
            transform[i] = static_cast<T>(request.lattice.transform[i]);
        Values values(140);
        Family<T>::launch(values.data(), transform.data(), static_cast<T>(request.piston.height),
                          static_cast<T>(request.piston.width),
                          static_cast<T>(request.wave.wavenumber));
        return values;
    }
};

using Precisions = testing::Types<float, double>;
TYPED_TEST_SUITE(DevicePlan, Precisions, );

TYPED_TEST(DevicePlan, HasTheFieldOfTheLauncherForLattices) {
    for (const int order : {1, 6, 7, 512}) {
        Request request = this->request();
        request.rule.order = order;
        EXPECT_EQ(this->computed(request), this->launched(request));
    }
}

TYPED_TEST(DevicePlan, HasTheSameBitsInEveryBox) {
    const Plan plan(this->request());
    const auto whole = this->computed(plan, plan.request().lattice.box());
    for (std::int64_t i = 0; i < 140; ++i)
        EXPECT_EQ(this->computed(plan, {{i % 7, i / 7 % 5, i / 35}, {1, 1, 1}})[0],
                  whole[static_cast<std::size_t>(i)]);
    const auto layers = this->computed(plan, {{0, 0, 1}, {7, 5, 2}});
    EXPECT_TRUE(std::equal(layers.begin(), layers.end(), whole.begin() + 35));
}

/// Halves are exact: the positions are those of the transform divided before.
TYPED_TEST(DevicePlan, DividesByTheTransformsLastElement) {
    Request request = this->request();
    request.lattice.transform[15] = 2;
    Request halved = this->request();
    for (std::size_t i = 0; i < 12; ++i) halved.lattice.transform.at(i) /= 2;
    EXPECT_EQ(this->computed(request), this->launched(halved));
}

TYPED_TEST(DevicePlan, TakesTheRuleOfATable) {
    for (const int order : {6, 7}) {
        Request request = this->request();
        request.rule.order = order;
        const auto expected = this->launched(request);
        GaussLegendre<double> rule;
        rule.compute(order);
        for (int i = 0; i < order; ++i) {
            request.rule.table.push_back(rule.abscissas[i]);
            request.rule.table.push_back(rule.weights[i]);
        }
        EXPECT_EQ(this->computed(request), expected);
        for (double& number : request.rule.table) number *= 0.5;
        EXPECT_NE(this->computed(request), expected);
    }
}

TYPED_TEST(DevicePlan, LeavesTheRuleOfTheLaunchersAlone) {
    const SilentOutput silent;
    const CudaDeviceThread device;
    setCudaIntegratorParameters("RectangularPiston", 9);
    const Request request = this->request();
    const auto launch = [&] {
        std::array<TypeParam, 16> transform{};
        transform[0] = transform[5] = transform[10] = transform[15] = TypeParam(0.1);
        typename TestFixture::Values values(140);
        Family<TypeParam>::launch(values.data(), transform.data(), 1, 1, 5);
        return values;
    };
    const auto before = launch();
    static_cast<void>(this->computed(request));
    EXPECT_EQ(launch(), before);
}

TYPED_TEST(DevicePlan, HasNoWrongFieldWhateverFailsOnTheDevice) {
    const Request request = this->request();
    const auto whole = this->computed(request);
    int count = 0;
    {
        const RuntimeLog undisturbed;
        static_cast<void>(this->computed(request));
        count = static_cast<int>(undisturbed.calls.size());
    }
    int thrown = 0;
    const Printed printed = captured([&] {
        for (int nth = 1; nth <= count; ++nth) {
            const RuntimeLog log({{nth, cuda_runtime::cudaErrorMemoryAllocation}});
            const std::string text = refused([&] { EXPECT_EQ(this->computed(request), whole); });
            thrown += text == "no failure" ? 0 : 1;
        }
    });
    EXPECT_EQ(printed.out + printed.err, "");
    // The device is chosen without those that do not answer; what is released may fail.
    EXPECT_GT(thrown, count / 2);
    EXPECT_EQ(cuda_runtime::emulated::emulator().liveBytes(), 0U);
    EXPECT_EQ(cuda_runtime::emulated::emulator().liveHostBytes(), 0U);
    EXPECT_EQ(cuda_runtime::emulated::emulator().liveStreams(), 0U);
    EXPECT_EQ(this->computed(request), whole);
}

/// Of some slabs, which are on the device two at a time.
template <class T>
class SlabsOfADevicePlan : public DevicePlan<T> {
  protected:
    static constexpr std::int64_t layers = 5;
    static constexpr std::int64_t pointsOfALayer = std::int64_t{1} << 18;  // those of a slab

    static Request request() {
        Request request = deviceRequest(Family<T>::mode);
        request.lattice.sizes = {512, 512, layers};
        // No point is a node of an edge, where no value is finite.
        request.lattice.transform[3] = -0.2037;
        request.rule.order = 1;
        return request;
    }

    static LatticeBox layer(std::int64_t number) { return {{0, 0, number}, {512, 512, 1}}; }

    static auto whole(const Plan& plan) {
        return DevicePlan<T>::computed(plan, plan.request().lattice.box());
    }

    /// What the device has.
    struct Held {
        static const cuda_runtime::emulated::Emulator& device() {
            return cuda_runtime::emulated::emulator();
        }

        std::size_t bytes = device().liveBytes();
        std::size_t hostBytes = device().liveHostBytes();
        std::size_t streams = device().liveStreams();
        std::size_t pending = device().pendingOperations();
    };

    static void expectNothingHeld() {
        const Held held;
        EXPECT_EQ(held.bytes, 0U);
        EXPECT_EQ(held.hostBytes, 0U);
        EXPECT_EQ(held.streams, 0U);
        EXPECT_EQ(held.pending, 0U);
    }

    /// The calls whose names begin like one of these.
    static std::vector<std::string> callsOf(const std::vector<std::string>& calls,
                                            const std::vector<std::string>& names) {
        std::vector<std::string> found;
        for (const std::string& call : calls)
            for (const std::string& name : names)
                if (call.starts_with(name + "(")) found.push_back(name);
        return found;
    }
};

TYPED_TEST_SUITE(SlabsOfADevicePlan, Precisions, );

TYPED_TEST(SlabsOfADevicePlan, HaveTheBitsOfEachByItself) {
    const Plan plan(this->request());
    const auto all = this->whole(plan);
    auto at = all.begin();
    for (std::int64_t number = 0; number < this->layers; ++number, at += this->pointsOfALayer) {
        const auto one = this->computed(plan, this->layer(number));
        EXPECT_TRUE(std::equal(one.begin(), one.end(), at)) << number;
    }
}

TYPED_TEST(SlabsOfADevicePlan, AreConvertedOnTheirWay) {
    using Other = std::conditional_t<std::is_same_v<TypeParam, float>, double, float>;
    const Plan plan(this->request());
    const LatticeBox box = plan.request().lattice.box();
    const auto expected = this->whole(plan);
    std::vector<std::complex<Other>> values(expected.size());
    plan.compute(box, values.data());
    for (std::size_t i = 0; i < values.size(); ++i)
        ASSERT_EQ(values[i], std::complex<Other>(static_cast<Other>(expected[i].real()),
                                                 static_cast<Other>(expected[i].imag())));
}

TYPED_TEST(SlabsOfADevicePlan, AreComputedBesideTheOneThatIsRead) {
    const Plan plan(this->request());
    const RuntimeLog log;
    static_cast<void>(this->whole(plan));
    EXPECT_EQ(this->callsOf(log.calls, {"cudaLaunch", "cudaStreamSynchronize"}),
              (std::vector<std::string>{"cudaLaunch", "cudaLaunch", "cudaStreamSynchronize",  //
                                        "cudaLaunch", "cudaStreamSynchronize",                //
                                        "cudaLaunch", "cudaStreamSynchronize",                //
                                        "cudaLaunch", "cudaStreamSynchronize",                //
                                        "cudaStreamSynchronize"}));
}

TYPED_TEST(SlabsOfADevicePlan, TakeMemoryAndTablesOnce) {
    const std::vector<std::string> making{"cudaMalloc", "cudaMallocHost", "cudaStreamCreate",
                                          "cudaMemcpy"};
    const std::vector<std::string> ending{"cudaFree", "cudaFreeHost", "cudaStreamDestroy"};
    const Plan plan(this->request());
    {
        const RuntimeLog first;
        static_cast<void>(this->whole(plan));
        // The transform, the rule and two slabs.
        EXPECT_EQ(this->callsOf(first.calls, making).size(), 2U + 2U + 2U * 3U);
        EXPECT_TRUE(this->callsOf(first.calls, ending).empty());
    }
    const RuntimeLog second;
    static_cast<void>(this->whole(plan));
    static_cast<void>(this->computed(plan, this->layer(1)));
    EXPECT_TRUE(this->callsOf(second.calls, making).empty());
    EXPECT_TRUE(this->callsOf(second.calls, ending).empty());
}

TYPED_TEST(SlabsOfADevicePlan, TakeTheMemoryThatTheySay) {
    for (const LatticeBox& box : {this->request().lattice.box(), LatticeBox{{}, {512, 512, 1}},
                                  LatticeBox{{}, {3, 1, 1}}}) {
        const Plan plan(this->request());
        static_cast<void>(this->computed(plan, box));
        const typename TestFixture::Held held;
        EXPECT_EQ(static_cast<std::int64_t>(held.bytes), plan.cost(box).deviceMemory);
        EXPECT_EQ(static_cast<std::int64_t>(held.hostBytes), plan.cost(box).memory);
    }
    this->expectNothingHeld();
}

TYPED_TEST(SlabsOfADevicePlan, LeaveNothingWhereTheyAreStopped) {
    const Plan plan(this->request());
    const auto expected = this->whole(plan);
    std::stop_source source;
    std::vector<std::int64_t> told;
    typename TestFixture::Values values(expected.size());
    const auto stopped = [&] {
        plan.compute(plan.request().lattice.box(), values.data(),
                     {source.get_token(), [&](std::int64_t points) {
                          told.push_back(points);
                          source.request_stop();
                      }});
    };
    EXPECT_THROW(stopped(), pistonfield::Stopped);
    EXPECT_EQ(told, std::vector<std::int64_t>{this->pointsOfALayer});
    EXPECT_TRUE(
        std::equal(values.begin(), values.begin() + this->pointsOfALayer, expected.begin()));
    this->expectNothingHeld();
    EXPECT_TRUE(this->whole(plan) == expected);
}

TYPED_TEST(SlabsOfADevicePlan, AreTheParentsWhereAChildIsForkedBetweenThem) {
    const Plan plan(this->request());
    const auto expected = this->whole(plan);
    typename TestFixture::Values values(expected.size());
    pid_t child = -1;
    const auto forkOnce = [&](std::int64_t) {
        if (child != -1) return;
        child = fork();
        if (child == 0) alarm(20);
    };
    try {
        plan.compute(plan.request().lattice.box(), values.data(), {{}, forkOnce});
    } catch (const pistonfield::DeviceFailure&) {
        if (child == 0) _exit(1);
        throw;
    }
    if (child == 0) _exit(2);
    int status = 0;
    waitpid(child, &status, 0);
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 1);
    EXPECT_TRUE(values == expected);
}

TYPED_TEST(SlabsOfADevicePlan, LeaveNothingWhateverFailsUnderWay) {
    using cuda_runtime::emulated::Operation;
    const Plan plan(this->request());
    const auto expected = this->whole(plan);
    for (const Operation operation : {Operation::Launch, Operation::MemcpyAsync,
                                      Operation::StreamSynchronize, Operation::SetupArgument})
        for (int nth = 1; nth <= this->layers; ++nth) {
            {
                const RuntimeLog log({{nth, cuda_runtime::cudaErrorLaunchFailure, operation}});
                EXPECT_NE(refused([&] { static_cast<void>(this->whole(plan)); }), "no failure");
                EXPECT_TRUE(log.failed);
            }
            this->expectNothingHeld();
            EXPECT_TRUE(this->whole(plan) == expected);
        }
}

// Each of several computations has its own; of those that are over one is kept.
TYPED_TEST(SlabsOfADevicePlan, BelongToOneComputation) {
    const Plan plan(this->request());
    const auto expected = this->whole(plan);
    const typename TestFixture::Held before;
    {
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&] { EXPECT_TRUE(this->whole(plan) == expected); });
    }
    const typename TestFixture::Held after;
    EXPECT_EQ(after.bytes, before.bytes);
    EXPECT_EQ(after.hostBytes, before.hostBytes);
    EXPECT_EQ(after.streams, before.streams);
    EXPECT_EQ(after.pending, 0U);
}

TYPED_TEST(DevicePlan, WithoutADeviceIsRefused) {
    const EmulatedDevices none({});
    EXPECT_EQ(refused([&] { Plan{this->request()}; }),
              "cudaSetDevice: no CUDA-capable device is detected");
}

TYPED_TEST(DevicePlan, SaysWhatFailed) {
    const Plan plan(this->request());
    const RuntimeLog log(
        {{1, cuda_runtime::cudaErrorMemoryAllocation, cuda_runtime::emulated::Operation::Malloc}});
    EXPECT_EQ(refused([&] { this->computed(plan, plan.request().lattice.box()); }),
              "cudaMalloc: out of memory");
}

TYPED_TEST(DevicePlan, OnAnUnknownDevicePrintsNothing) {
    const EmulatedDevices unknown({EmulatedDevices::device(9, 0, 132, 1980000)});
    const Printed printed = captured([&] { static_cast<void>(this->computed(this->request())); });
    EXPECT_EQ(printed.out + printed.err, "");
}

TYPED_TEST(DevicePlan, IsRefusedInAForkedChildAndEndsThere) {
    auto plan = std::make_unique<Plan>(this->request());
    const LatticeBox box = plan->request().lattice.box();
    const auto expected = this->computed(*plan, box);
    EXPECT_EQ(inChild([&] {
                  const std::string text =
                      refused([&] { static_cast<void>(this->computed(*plan, box)); });
                  return text == "a plan of a GPU's mode belongs to the process that made it" ? 1
                                                                                              : 2;
              }),
              1);
    EXPECT_EQ(inChild([&] {
                  plan.reset();
                  return 1;
              }),
              1);
    EXPECT_EQ(this->computed(*plan, box), expected);
}

TYPED_TEST(DevicePlan, LeavesNoContext) {
    { const Plan plan(this->request()); }
    EXPECT_FALSE(cuda_runtime::emulated::emulator().hasContext());
}

}  // namespace
