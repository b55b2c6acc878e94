// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The mode cuda, on the emulation device.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "FastNearfield/GaussLegendre.h"
#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/SilentOutput.h"
#include "core/cudahelper.h"
#include "run/Evaluation.h"
#include "tests/run/FieldFiles.h"
#include "tests/run/Refused.h"
#include "tests/support/Captured.h"
#include "tests/support/EmulatedDevices.h"

namespace {

using run::Request;
using Values = std::vector<std::complex<float>>;

/// A turned lattice.
Request deviceRequest() {
    Request request = smallRequest("cuda");
    request.transform = {0.06,  -0.03, 0.02, -0.2,  0.04, 0.05, -0.03, -0.1,
                         -0.01, 0.02,  0.09, 0.125, 0,    0,    0,     1};
    return request;
}

Values evaluated(const Request& request, const LatticeBox& box) {
    Values values(static_cast<std::size_t>(box.points()));
    evaluationOf(request)->fill(box, values.data());
    return values;
}

/// The field of the whole lattice, by the launcher for lattices.
Values launched(const Request& request) {
    const SilentOutput silent;
    const CudaDeviceThread device;
    setCudaIntegratorParameters("RectangularPiston", request.order);
    std::array<float, 16> transform{};
    for (std::size_t i = 0; i < transform.size(); ++i)
        transform[i] = static_cast<float>(request.transform[i]);
    Values values(140);
    RectangularPiston_func(reinterpret_cast<Complex*>(values.data()), 7, 5, 4, transform.data(),
                           static_cast<float>(request.l), static_cast<float>(request.s),
                           static_cast<float>(request.k));
    return values;
}

TEST(DeviceEvaluation, IsTheFieldOfTheLauncherForLattices) {
    for (const int order : {1, 6, 7, 512}) {
        Request request = deviceRequest();
        request.order = order;
        EXPECT_EQ(evaluated(request, request.lattice()), launched(request));
    }
}

TEST(DeviceEvaluation, HasTheSameBitsWhereverItIsCut) {
    const Request request = deviceRequest();
    const Values whole = evaluated(request, request.lattice());
    for (const std::array<std::int64_t, 3>& sizes :
         {std::array<std::int64_t, 3>{7, 5, 1}, {7, 1, 1}, {2, 2, 3}, {1, 1, 1}}) {
        const run::Slabs slabs(request.lattice(), sizes);
        for (std::int64_t i = 0; i < slabs.count(); ++i) {
            const LatticeBox box = slabs.slab(i);
            const Values values = evaluated(request, box);
            auto next = values.begin();
            for (auto z = box.first[2]; z < box.first[2] + box.size[2]; ++z)
                for (auto y = box.first[1]; y < box.first[1] + box.size[1]; ++y)
                    for (auto x = box.first[0]; x < box.first[0] + box.size[0]; ++x)
                        ASSERT_EQ(*next++, whole[static_cast<std::size_t>((z * 5 + y) * 7 + x)]);
        }
    }
}

TEST(DeviceEvaluation, ComputesBoxAfterBox) {
    const Request request = deviceRequest();
    const Values whole = evaluated(request, request.lattice());
    const auto evaluation = evaluationOf(request);
    Values values(140);
    for (int i = 0; i < 2; ++i) {
        evaluation->fill({{1, 2, 3}, {1, 1, 1}}, values.data());
        evaluation->fill(request.lattice(), values.data());
        EXPECT_EQ(values, whole);
    }
}

/// Halves are exact: the positions are those of the transform divided before.
TEST(DeviceEvaluation, DividesByTheTransformsLastElement) {
    Request request = deviceRequest();
    request.transform[15] = 2;
    Request halved = deviceRequest();
    for (std::size_t i = 0; i < 12; ++i) halved.transform.at(i) /= 2;
    EXPECT_EQ(evaluated(request, request.lattice()), launched(halved));
}

TEST(DeviceEvaluation, TakesTheRuleOfATable) {
    for (const int order : {6, 7}) {
        Request request = deviceRequest();
        request.order = order;
        const Values expected = launched(request);
        GaussLegendre<double> rule;
        rule.compute(order);
        for (int i = 0; i < order; ++i) {
            request.table.push_back(rule.abscissas[i]);
            request.table.push_back(rule.weights[i]);
        }
        EXPECT_EQ(evaluated(request, request.lattice()), expected);
        for (double& number : request.table) number *= 0.5;
        EXPECT_NE(evaluated(request, request.lattice()), expected);
    }
}

TEST(DeviceEvaluation, PrintsNothing) {
    const Printed printed =
        captured([] { static_cast<void>(evaluated(deviceRequest(), deviceRequest().lattice())); });
    EXPECT_EQ(printed.out + printed.err, "");
}

TEST(DeviceEvaluation, HasNoWrongFieldWhateverFailsOnTheDevice) {
    const Request request = deviceRequest();
    const RuntimeLog undisturbed;
    const Values whole = evaluated(request, request.lattice());
    // The last call ends the context; that failing ends the process.
    const int count = static_cast<int>(undisturbed.calls.size()) - 1;
    int thrown = 0;
    const Printed printed = captured([&] {
        for (int nth = 1; nth <= count; ++nth) {
            const RuntimeLog log({{nth, cuda_runtime::cudaErrorMemoryAllocation}});
            const std::string text =
                refused([&] { EXPECT_EQ(evaluated(request, request.lattice()), whole); });
            thrown += text == "no failure" ? 0 : 1;
        }
    });
    // The device is chosen without those that do not answer.
    EXPECT_GT(thrown, count / 2);
}

TEST(DeviceEvaluation, WithoutADeviceThrows) {
    const EmulatedDevices none({});
    EXPECT_NE(refused([] { evaluationOf(deviceRequest()); }), "no failure");
}

}  // namespace
