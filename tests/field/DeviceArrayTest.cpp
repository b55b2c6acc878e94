// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Plans of arrays in the modes of a GPU, on the emulation device; ArrayTest has what they share
// with those of the CPU.

#include <gtest/gtest.h>

#include <algorithm>
#include <complex>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "field/Plan.h"
#include "lanes/InstructionSet.h"
#include "tests/field/ArrayCase.h"
#include "tests/support/Captured.h"
#include "tests/support/EmulatedDevices.h"
#include "tests/support/InChild.h"
#include "tests/support/RandomPoints.h"
#include "tests/support/Refused.h"

namespace {

using cuda_runtime::emulated::emulator;
using cuda_runtime::emulated::Operation;
using pistonfield::Array;
using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::Request;
using pistonfield::Tolerance;
using enum Tolerance::Of;

/// What the device has.
struct Held {
    std::size_t bytes = emulator().liveBytes();
    std::size_t hostBytes = emulator().liveHostBytes();
    std::size_t streams = emulator().liveStreams();
};

constexpr unsigned seed = 20261208;

struct Single {
    using Real = float;
    static constexpr Mode mode = Mode::cuda;
    static constexpr double tolerance = 1e-4;
};
struct Double {
    using Real = double;
    static constexpr Mode mode = Mode::cudadp;
    static constexpr double tolerance = 1e-9;
};

template <class Precision>
struct DeviceArrays : testing::Test {
    using Values = std::vector<std::complex<typename Precision::Real>>;

    /// Points about elements, of which some are near and others far.
    Request request(int weightings = 2) {
        Request request =
            requestOf(arrayOf({6, 5, 0.5, 0.5}, 0.45, weightings, random),
                      latticeAbout({21, 18, 3}, {0.3, 0.3, 0.7}, 0.2), Precision::mode);
        request.tolerance = Tolerance{Precision::tolerance, local};
        return request;
    }

    static Values computed(const Plan& plan, const LatticeBox& box) {
        Values values(static_cast<std::size_t>(box.points() * plan.request().fields()));
        plan.compute(box, values.data());
        return values;
    }

    static Values computed(const Plan& plan) {
        return computed(plan, plan.request().lattice.box());
    }

    double worst(const Request& request, std::size_t points = 100) {
        const auto values = computed(Plan(request));
        return worstOf(request, {values.begin(), values.end()}, points, random);
    }

    Random random{seed};
};
using Precisions = testing::Types<Single, Double>;
TYPED_TEST_SUITE(DeviceArrays, Precisions);

TYPED_TEST(DeviceArrays, KeepTolerancesOfRandomRequests) {
    const char* const asked = std::getenv("PISTONFIELD_RANDOM_ARRAYS");
    const int cases = asked == nullptr ? 40 : std::atoi(asked);
    int kept = 0;
    double worst = 0;
    for (int i = 0; i < cases; ++i) {
        std::string text;
        Request request = drawArrayRequest(this->random, text);
        if (isInSingle(request.mode) != isInSingle(TypeParam::mode)) continue;
        request.mode = TypeParam::mode;
        try {
            const double ratio = this->worst(request, 40);
            EXPECT_LE(ratio, 1) << text;
            worst = std::max(worst, ratio);
            ++kept;
        } catch (const pistonfield::InvalidRequest& refusal) {
            EXPECT_EQ(refusal.field(), "tolerance") << refusal.what() << ": " << text;
        }
    }
    this->RecordProperty("worst", std::to_string(worst));
    EXPECT_GE(kept, cases / 4);
}

// Rounding has its share of tolerances, the smallest of which leave as much for the rest.
TYPED_TEST(DeviceArrays, KeepTheTightestTolerances) {
    for (const auto of : {largest, local})
        for (const double nearest : {0.0, 0.4, 30.0, 2000.0}) {
            Request request = this->request();
            request.lattice = latticeAbout({15, 14, 2}, {0.4, 0.3, 1}, nearest);
            request.tolerance = Tolerance{isInSingle(TypeParam::mode) ? 2e-6 : 2e-15, of};
            while (refused([&] { Plan{request}; }) != "no failure") request.tolerance->value *= 1.4;
            EXPECT_LE(this->worst(request), 1) << nearest << ' ' << request.tolerance->value;
        }
}

TYPED_TEST(DeviceArrays, KeepTolerancesOnEveryInstructionSet) {
    const auto before = lanes::instructionSet();
    for (const auto set : lanes::instructionSets) {
        if (set > lanes::bestInstructionSet()) continue;
        lanes::useInstructionSet(set);
        EXPECT_LE(this->worst(this->request()), 1) << lanes::nameOf(set);
    }
    lanes::useInstructionSet(before);
}

// Of a phase of a million radians single precision keeps no digit.
TYPED_TEST(DeviceArrays, KeepTheirPhaseFarAway) {
    Request request = this->request();
    request.lattice = latticeAbout({9, 8, 3}, {4e4, 3e4, 50}, 2e5);
    if (TypeParam::mode == Mode::cudadp) request.tolerance->value = 1e-7;
    EXPECT_LE(this->worst(request), 1);
    for (auto& element : request.array->elements) element.pose.centre[0] += 1e5;
    EXPECT_LE(this->worst(request), 1);
}

// Rounds end between equal elements and between different ones, and blocks within rounds.
TYPED_TEST(DeviceArrays, AddUpRoundsOfElements) {
    Request request = this->request(3);
    request.array = arrayOf({41, 16, 0.5, 0.5}, 0.45, 3, this->random);
    for (std::size_t i = 0; i < 100; ++i) request.array->elements[i * 5].piston.width = 0.3;
    request.array->elements[77].piston = {3, 0.1};
    request.lattice = latticeAbout({17, 15, 2}, {1.3, 0.6, 2}, 0.1);
    EXPECT_LE(this->worst(request, 40), 1);
}

TYPED_TEST(DeviceArrays, AddUpAnyNumberOfWeightings) {
    for (const int weightings : {1, 2, 7, 8, 9, 25}) {
        Request request = this->request(weightings);
        request.lattice = latticeAbout({7, 6, 2}, {0.6, 0.6, 0.7}, 0.2);
        EXPECT_LE(this->worst(request, 20), 1) << weightings;
    }
}

// More groups than are on the device at a time, and more near elements.
TYPED_TEST(DeviceArrays, HaveTheSameBitsInBatches) {
    Request request = this->request(1);
    request.tolerance->value = 1e-2;
    request.lattice = latticeAbout({501, 301, 1}, {0.008, 0.008, 1}, 0.3);
    const Plan plan(request);
    const auto whole = this->computed(plan);
    for (const std::int64_t width : {1, 17}) {
        const LatticeBox box{{255, 100, 0}, {width, 90, 1}};
        const auto columns = this->computed(plan, box);
        for (std::int64_t i = 0; i < box.points(); ++i)
            ASSERT_EQ(columns[static_cast<std::size_t>(i)],
                      whole[static_cast<std::size_t>((100 + i / width) * 501 + 255 + i % width)]);
    }
    EXPECT_LE(worstOf(request, {whole.begin(), whole.end()}, 100, this->random), 1);
}

TYPED_TEST(DeviceArrays, HaveNoWrongFieldWhateverFailsOnTheDevice) {
    const Request request = this->request();
    const auto whole = this->computed(Plan(request));
    int count = 0;
    {
        const RuntimeLog undisturbed;
        static_cast<void>(this->computed(Plan(request)));
        count = static_cast<int>(undisturbed.calls.size());
    }
    int thrown = 0;
    const Printed printed = captured([&] {
        for (int nth = 1; nth <= count; ++nth) {
            const RuntimeLog log({{nth, cuda_runtime::cudaErrorMemoryAllocation}});
            const std::string text =
                refused([&] { EXPECT_EQ(this->computed(Plan(request)), whole); });
            thrown += text == "no failure" ? 0 : 1;
        }
    });
    EXPECT_EQ(printed.out + printed.err, "");
    EXPECT_GT(thrown, count / 2);
    EXPECT_EQ(emulator().liveBytes(), 0U);
    EXPECT_EQ(this->computed(Plan(request)), whole);
}

TYPED_TEST(DeviceArrays, AreADeviceFailureAtEveryOperation) {
    const Plan plan(this->request());
    const auto whole = this->computed(plan);
    const Held before;
    for (const auto operation :
         {Operation::Malloc, Operation::MallocHost, Operation::Memcpy, Operation::MemcpyAsync,
          Operation::ConfigureCall, Operation::SetupArgument, Operation::Launch})
        for (int nth = 1; true; ++nth) {
            const Plan another(plan.request());
            const RuntimeLog log({{nth, cuda_runtime::cudaErrorUnknown, operation}});
            bool failed = false;
            try {
                EXPECT_EQ(this->computed(another), whole);
            } catch (const pistonfield::DeviceFailure& failure) {
                failed = true;
                EXPECT_NE(std::string(failure.what()).find(": unknown error"), std::string::npos);
            }
            EXPECT_EQ(failed, log.failed);
            EXPECT_EQ(emulator().pendingOperations(), 0U);
            if (log.failed) {
                EXPECT_EQ(emulator().liveBytes(), before.bytes);
                EXPECT_EQ(emulator().liveHostBytes(), before.hostBytes);
                EXPECT_EQ(emulator().liveStreams(), before.streams);
                continue;
            }
            EXPECT_GT(nth, 1);
            break;
        }
    EXPECT_THROW(
        {
            const RuntimeLog log({{1, cuda_runtime::cudaErrorUnknown, Operation::Launch}});
            static_cast<void>(plan.accuracy());
        },
        pistonfield::DeviceFailure);
    EXPECT_EQ(this->computed(plan), whole);
}

TYPED_TEST(DeviceArrays, SayWhatFailed) {
    const Plan plan(this->request());
    const auto textOf = [&](int nth, Operation operation) {
        const RuntimeLog log({{nth, cuda_runtime::cudaErrorMemoryAllocation, operation}});
        return refused([&] { this->computed(plan); });
    };
    EXPECT_EQ(textOf(1, Operation::Malloc), "cudaMalloc: out of memory");
    int nth = 0;
    for (const char* of :
         {"elements", "weights", "points", "sums", "near elements' numbers", "near elements",
          "directivities' numbers", "directivities' counts", "directivities' coefficients",
          "directivities", "rules", "rules' table", "field"})
        EXPECT_EQ(textOf(++nth, Operation::Memcpy),
                  std::string("cudaMemcpy of the ") + of + ": out of memory");
    EXPECT_EQ(textOf(1, Operation::MemcpyAsync), "cudaMemcpyAsync of the points: out of memory");
    EXPECT_EQ(textOf(2, Operation::MemcpyAsync), "cudaMemcpyAsync of the orders: out of memory");
    EXPECT_EQ(textOf(1, Operation::Launch),
              "the launch of the kernel for far elements: out of memory");
    EXPECT_EQ(textOf(3, Operation::Launch),
              "the launch of the kernel for near elements: out of memory");
}

TYPED_TEST(DeviceArrays, AreRefusedBeforeADeviceIsBroughtUp) {
    const auto reasonOf = [](const Request& request) -> std::string {
        const RuntimeLog log;
        const std::string reason = refused([&] { Plan{request}; });
        EXPECT_TRUE(log.calls.empty());
        return reason;
    };
    Request tight = this->request();
    tight.tolerance->value = 1e-17;
    EXPECT_NE(reasonOf(tight).find("tolerance: 1e-17 is below the "), std::string::npos);
    Request behind = this->request();
    behind.array->elements[3].pose.centre[2] = 1;
    EXPECT_NE(reasonOf(behind).find("lies behind element 4"), std::string::npos);
    Request untold = this->request();
    untold.tolerance.reset();
    EXPECT_EQ(reasonOf(untold), "elements: an array takes a tolerance");
}

TYPED_TEST(DeviceArrays, WithoutADeviceAreADeviceFailure) {
    const EmulatedDevices none({});
    EXPECT_EQ(refused([&] { Plan{this->request()}; }),
              "cudaSetDevice: no CUDA-capable device is detected");
}

/// Sees how much memory there is on the device at most.
std::size_t mostDeviceBytes(const auto& work) {
    std::size_t most = 0;
    emulator().setInterceptor([&](const cuda_runtime::emulated::RuntimeCall&) {
        most = std::max<std::size_t>(most, emulator().liveBytes());
        return cuda_runtime::cudaSuccess;
    });
    work();
    emulator().setInterceptor(nullptr);
    return most;
}

TYPED_TEST(DeviceArrays, TakeNoMoreMemoryThanTheySay) {
    for (const int weightings : {1, 9, 200}) {
        Request request = this->request(weightings);
        request.tolerance->value = 1e-2;
        request.lattice = latticeAbout({120, 80, 2}, {0.03, 0.03, 1}, 0.05);
        for (const LatticeBox& box : {request.lattice.box(), LatticeBox{{3, 0, 0}, {1, 80, 2}},
                                      LatticeBox{{}, {1, 1, 1}}}) {
            const Plan plan(request);
            const auto most = static_cast<std::int64_t>(
                mostDeviceBytes([&] { static_cast<void>(this->computed(plan, box)); }));
            const pistonfield::Cost cost = plan.cost(box);
            EXPECT_GT(most, 0);
            EXPECT_LE(most, cost.deviceMemory);
            // What directivities of any size would take.
            EXPECT_GE(most + (100 << 20), cost.deviceMemory);
            EXPECT_GE(cost.memory, most / 2);
        }
    }
}

TYPED_TEST(DeviceArrays, AreRefusedInAForkedChildAndEndThere) {
    auto plan = std::make_unique<Plan>(this->request());
    const auto expected = this->computed(*plan);
    EXPECT_EQ(
        inChild([&] {
            const std::string text = refused([&] { static_cast<void>(this->computed(*plan)); });
            return text == "a plan of a GPU's mode belongs to the process that made it" ? 1 : 2;
        }),
        1);
    EXPECT_EQ(inChild([&] {
                  plan.reset();
                  return 1;
              }),
              1);
    EXPECT_EQ(this->computed(*plan), expected);
}

TYPED_TEST(DeviceArrays, LeaveNothing) {
    const Printed printed = captured([&] {
        const Plan plan(this->request());
        EXPECT_EQ(plan.engine(), "sum");
        static_cast<void>(this->computed(plan));
        EXPECT_EQ(emulator().pendingOperations(), 0U);
    });
    EXPECT_EQ(printed.out + printed.err, "");
    EXPECT_FALSE(emulator().hasContext());
    const Held held;
    EXPECT_EQ(held.bytes + held.hostBytes + held.streams, 0U);
}

TYPED_TEST(DeviceArrays, KeepMemoryRulesAndTables) {
    const Plan plan(this->request());
    const auto whole = this->computed(plan);
    const Held before;
    const auto uses = [](const std::vector<std::string>& calls, const char* name) {
        return std::count_if(calls.begin(), calls.end(), [name](const std::string& call) {
            return call.starts_with(std::string(name) + "(");
        });
    };
    const RuntimeLog log;
    EXPECT_EQ(this->computed(plan), whole);
    for (const char* name : {"cudaMalloc", "cudaMallocHost", "cudaStreamCreate", "cudaFree",
                             "cudaFreeHost", "cudaStreamDestroy"})
        EXPECT_EQ(uses(log.calls, name), 0) << name;
    EXPECT_EQ(uses(log.calls, "cudaMemcpy"), 9);
    EXPECT_EQ(emulator().liveBytes(), before.bytes);
    EXPECT_EQ(emulator().liveHostBytes(), before.hostBytes);
}

}  // namespace
