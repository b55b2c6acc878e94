// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Plans with a tolerance in the modes of a GPU, on the emulation device.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <complex>
#include <memory>
#include <numbers>
#include <string>
#include <vector>

#include "field/Plan.h"
#include "lanes/InstructionSet.h"
#include "tests/field/FieldCase.h"
#include "tests/field/smallRequest.h"
#include "tests/support/Captured.h"
#include "tests/support/EmulatedDevices.h"
#include "tests/support/FieldRegions.h"
#include "tests/support/InChild.h"
#include "tests/support/RandomPoints.h"
#include "tests/support/Refused.h"

namespace {

using cuda_runtime::emulated::emulator;
using cuda_runtime::emulated::Operation;
using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::PointList;
using pistonfield::Request;
using pistonfield::Tolerance;
using enum Tolerance::Of;

/// What the device has.
struct Held {
    std::size_t bytes = emulator().liveBytes();
    std::size_t hostBytes = emulator().liveHostBytes();
    std::size_t streams = emulator().liveStreams();
};

constexpr unsigned seed = 20261123;

/// A mode of a GPU and that of the CPU in the same precision.
struct Single {
    using Real = float;
    static constexpr Mode onDevice = Mode::cuda;
    static constexpr Mode onCpu = Mode::cpusp;
};
struct Double {
    using Real = double;
    static constexpr Mode onDevice = Mode::cudadp;
    static constexpr Mode onCpu = Mode::cpu;
};

template <class Precision>
struct DeviceTolerance : testing::Test {
    using Values = std::vector<std::complex<typename Precision::Real>>;

    static Request request(Mode mode = Precision::onDevice) {
        Request request = smallRequest();
        request.mode = mode;
        request.tolerance = Tolerance{1e-4, local};
        return request;
    }

    static Values computed(const Plan& plan, const LatticeBox& box) {
        Values values(static_cast<std::size_t>(box.points()));
        plan.compute(box, values.data());
        return values;
    }

    static Values computed(const Plan& plan) {
        return computed(plan, plan.request().lattice.box());
    }

    /// Expects the bits that the same source has on the CPU.
    static void expectCpusBits(Request request, const std::string& where) {
        request.mode = Precision::onCpu;
        const Plan onCpu(request);
        request.mode = Precision::onDevice;
        const Plan onDevice(request);
        EXPECT_EQ(computed(onDevice), computed(onCpu)) << where;
        const auto ofCpu = onCpu.accuracy();
        const auto ofDevice = onDevice.accuracy();
        ASSERT_TRUE(ofCpu && ofDevice) << where;
        EXPECT_EQ(ofDevice->bound, ofCpu->bound) << where;
        EXPECT_EQ(ofDevice->error, ofCpu->error) << where;
        EXPECT_EQ(ofDevice->evaluations, ofCpu->evaluations) << where;
        EXPECT_EQ(ofDevice->points, ofCpu->points) << where;
    }
};
using Precisions = testing::Types<Single, Double>;
TYPED_TEST_SUITE(DeviceTolerance, Precisions);

/// A list of points along a line about a piston of a kind, in a region; the wavelength is 1.
Request listIn(const FieldRegion& region, const PistonKind& kind, Random& random) {
    const PistonSides sides = kind.draw(random);
    const Line line = region.draw(random, sides.x / 2, sides.y / 2);
    Request request;
    request.piston = {.width = sides.x, .height = sides.y};
    request.wave.wavenumber = 2 * std::numbers::pi;
    constexpr int points = 37;
    PointList list;
    for (int i = 0; i < points; ++i) {
        const auto at = [i](const Stretch& stretch) {
            return stretch.from + (stretch.to - stretch.from) * i / (points - 1);
        };
        list.x.push_back(at(line.x));
        list.y.push_back(at(line.y));
        list.z.push_back(at(line.z));
    }
    request.points = list;
    request.lattice.sizes = {points, 1, 1};
    return request;
}

TYPED_TEST(DeviceTolerance, HasTheCpusBitsInEveryRegion) {
    Random random(seed);
    for (const PistonKind& kind : pistonKinds)
        for (const FieldRegion& region : fieldRegions)
            for (const auto of : {largest, local}) {
                Request request = listIn(region, kind, random);
                request.tolerance = Tolerance{1e-3, of};
                request.mode = TypeParam::onCpu;
                request = takenPlan(request).request();
                this->expectCpusBits(request, std::string(region.name) + ", " + kind.name);
            }
}

// Far enough from each other, points of a group are computed in several parts.
TYPED_TEST(DeviceTolerance, HasTheCpusBitsWhereGroupsAreCutIntoParts) {
    Random random(seed);
    for (int i = 0; i < 20; ++i) {
        Request request = this->request();
        request.piston = {random.magnitude(0, 1.5), random.magnitude(0, 1.5)};
        request.wave.wavenumber = 2 * std::numbers::pi;
        auto& m = request.lattice.transform;
        m = {0, 0, 0, -100, 0, 0, 0, -100, 0, 0, 0, 1e-3, 0, 0, 0, 1};
        for (const std::size_t at : std::array<std::size_t, 6>{0, 1, 4, 5, 8, 9})
            m.at(at) = random.magnitude(-1, 1.5);
        request.lattice.sizes = {19, 13, 1};
        this->expectCpusBits(request, std::to_string(i));
    }
}

TYPED_TEST(DeviceTolerance, HasTheCpusBitsOnEveryInstructionSet) {
    const auto before = lanes::instructionSet();
    for (const auto set : lanes::instructionSets) {
        if (set > lanes::bestInstructionSet()) continue;
        lanes::useInstructionSet(set);
        this->expectCpusBits(this->request(), lanes::nameOf(set));
    }
    lanes::useInstructionSet(before);
}

// More groups than are on the device at a time, in whole rows and in short ones. The lattice lies a
// little across the axes: along them the CPU computes in runs.
TYPED_TEST(DeviceTolerance, HasTheSameBitsInBatches) {
    Request request = this->request();
    request.tolerance->value = 0.1;
    request.lattice.transform = {0.01, 1e-6, 0, -1, 0, 0.01, 0, -1, 0, 0, 0.01, 20, 0, 0, 0, 1};
    request.lattice.sizes = {701, 401, 1};
    const Plan plan(request);
    const auto whole = this->computed(plan);
    request.mode = TypeParam::onCpu;
    EXPECT_EQ(whole, this->computed(Plan(request)));
    for (const std::int64_t width : {1, 17}) {
        const LatticeBox box{{5, 0, 0}, {width, 401, 1}};
        const auto columns = this->computed(plan, box);
        for (std::int64_t i = 0; i < box.points(); ++i)
            ASSERT_EQ(columns[static_cast<std::size_t>(i)],
                      whole[static_cast<std::size_t>(i / width * 701 + 5 + i % width)]);
    }
}

TYPED_TEST(DeviceTolerance, HasNoWrongFieldWhateverFailsOnTheDevice) {
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
    // The device is chosen without those that do not answer; what is released may fail.
    EXPECT_GT(thrown, count / 2);
    EXPECT_EQ(emulator().liveBytes(), 0U);
    EXPECT_EQ(this->computed(Plan(request)), whole);
}

TYPED_TEST(DeviceTolerance, IsADeviceFailureAtEveryOperation) {
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

TYPED_TEST(DeviceTolerance, SaysWhatFailed) {
    const Plan plan(this->request());
    const auto textOf = [&](int nth, Operation operation) {
        const RuntimeLog log({{nth, cuda_runtime::cudaErrorMemoryAllocation, operation}});
        return refused([&] { this->computed(plan); });
    };
    EXPECT_EQ(textOf(1, Operation::Malloc), "cudaMalloc: out of memory");
    EXPECT_EQ(textOf(1, Operation::Memcpy), "cudaMemcpy of the rules: out of memory");
    EXPECT_EQ(textOf(2, Operation::Memcpy), "cudaMemcpy of the rules' table: out of memory");
    EXPECT_EQ(textOf(1, Operation::MemcpyAsync), "cudaMemcpyAsync of the points: out of memory");
    EXPECT_EQ(textOf(2, Operation::MemcpyAsync), "cudaMemcpyAsync of the orders: out of memory");
    EXPECT_EQ(textOf(3, Operation::MemcpyAsync), "cudaMemcpyAsync of the field: out of memory");
    EXPECT_EQ(textOf(1, Operation::StreamCreate), "cudaStreamCreate: out of memory");
    EXPECT_EQ(textOf(1, Operation::StreamSynchronize), "cudaStreamSynchronize: out of memory");
    EXPECT_EQ(textOf(1, Operation::Launch), "the launch of the kernel: out of memory");
}

// What there is no field for is refused without a device, too.
TYPED_TEST(DeviceTolerance, IsRefusedAsOnTheCpuBeforeADeviceIsBroughtUp) {
    const auto reasonOf = [](Request request, Mode mode) -> std::string {
        request.mode = mode;
        const RuntimeLog log;
        std::string reason = "none";
        try {
            const Plan plan(request);
        } catch (const pistonfield::InvalidRequest& refused) {
            reason = refused.what();
            // The name of the mode is that of the request.
            const std::string name = std::string("mode ") + nameOf(mode);
            if (const auto at = reason.find(name); at != std::string::npos)
                reason.replace(at, name.size(), "mode");
            EXPECT_TRUE(log.calls.empty());
        }
        return reason;
    };
    Request tight = this->request();
    tight.tolerance->value = 1e-17;
    Request behind = this->request();
    behind.lattice.transform[11] = -1;
    Request far = this->request();
    far.lattice.transform[3] = 1e20;
    Request large = this->request();
    large.piston.width = 1e5;
    Request huge = this->request();
    huge.piston.height = 1e25;
    for (const Request& request : {tight, behind, far, large, huge}) {
        const std::string reason = reasonOf(request, TypeParam::onDevice);
        EXPECT_NE(reason, "none");
        EXPECT_EQ(reason, reasonOf(request, TypeParam::onCpu));
    }
}

TYPED_TEST(DeviceTolerance, WithoutADeviceIsADeviceFailure) {
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

TYPED_TEST(DeviceTolerance, TakesNoMoreMemoryThanItSays) {
    Request request = this->request();
    request.tolerance->value = 0.1;
    request.lattice.transform = {0.01, 0, 0, -1, 0, 0.01, 0, -1, 0, 0, 0.01, 20, 0, 0, 0, 1};
    request.lattice.sizes = {701, 401, 2};
    for (const LatticeBox& box :
         {request.lattice.box(), LatticeBox{{3, 0, 0}, {1, 401, 2}}, LatticeBox{{}, {1, 1, 1}}}) {
        const Plan plan(request);
        const auto most = static_cast<std::int64_t>(
            mostDeviceBytes([&] { static_cast<void>(this->computed(plan, box)); }));
        const pistonfield::Cost cost = plan.cost(box);
        EXPECT_GT(most, 0);
        EXPECT_LE(most, cost.deviceMemory);
        EXPECT_GE(most + (4 << 20), cost.deviceMemory);
        EXPECT_GE(cost.memory, cost.deviceMemory / 2);
    }
}

TYPED_TEST(DeviceTolerance, IsRefusedInAForkedChildAndEndsThere) {
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

TYPED_TEST(DeviceTolerance, LeavesNothing) {
    const Printed printed = captured([&] {
        const Plan plan(this->request());
        static_cast<void>(this->computed(plan));
        EXPECT_EQ(emulator().pendingOperations(), 0U);
    });
    EXPECT_EQ(printed.out + printed.err, "");
    EXPECT_FALSE(emulator().hasContext());
    const Held held;
    EXPECT_EQ(held.bytes + held.hostBytes + held.streams, 0U);
}

TYPED_TEST(DeviceTolerance, KeepsMemoryRulesAndTables) {
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
    EXPECT_EQ(uses(log.calls, "cudaMemcpy"), 0);
    EXPECT_EQ(emulator().liveBytes(), before.bytes);
    EXPECT_EQ(emulator().liveHostBytes(), before.hostBytes);
}

}  // namespace
