// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "field/Plan.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <thread>
#include <vector>

#include "FastNearfield/RectangularPiston2.h"
#include "tests/field/smallRequest.h"
#include "tests/support/Captured.h"
#include "tests/support/hasDevice.h"

namespace {

using pistonfield::Conduct;
using pistonfield::Plan;
using pistonfield::Request;
using testing::ElementsAre;

/// Plans of all modes; on a machine without a device they are skipped.
class PlanOfEveryMode : public testing::Test {
  protected:
    void SetUp() override {
        if (!hasDevice()) GTEST_SKIP() << "no device";
    }
};

template <class T>
using Values = std::vector<std::complex<T>>;

template <class T>
Values<T> computed(const Plan& plan, const LatticeBox& box, const Conduct& conduct = {}) {
    Values<T> values(static_cast<std::size_t>(box.points()));
    plan.compute(box, values.data(), conduct);
    return values;
}

template <class T>
Values<T> computed(const Request& request, const LatticeBox& box) {
    return computed<T>(Plan(request), box);
}

/// The field of the small request, by the classic class.
template <class T>
Values<T> expected(const Request& request) {
    RectangularPistonCuda2 piston(request.piston.height, request.piston.width,
                                  request.wave.wavenumber);
    piston.doubleRule.compute(request.rule.order);
    piston.floatRule.compute(request.rule.order);
    const Grid3DR<T> grid(request.lattice.transform.data(), 7, 5, 4);
    std::vector<T> re(140);
    std::vector<T> im(140);
    piston.computeCPU(re.data(), im.data(), grid);
    Values<T> values;
    for (std::size_t i = 0; i < re.size(); ++i) values.emplace_back(re[i], im[i]);
    return values;
}

/// A Gauss-Legendre rule, as a table.
std::vector<double> tableOf(int order) {
    GaussLegendre<double> rule;
    rule.compute(order);
    std::vector<double> table;
    for (int i = 0; i < order; ++i) {
        table.push_back(rule.abscissas[i]);
        table.push_back(rule.weights[i]);
    }
    return table;
}

/// A request that takes several pieces of a computation that is watched, of 96 layers.
Request longRequest() {
    Request request = smallRequest();
    request.lattice.sizes = {64, 64, 96};
    request.rule.order = 500;
    return request;
}

TEST(Plan, OnTheProcessorHasTheFieldOfThePistonsClass) {
    const Request dp = smallRequest("cpu");
    EXPECT_EQ(computed<double>(dp, dp.lattice.box()), expected<double>(dp));
    const Request sp = smallRequest("cpusp");
    EXPECT_EQ(computed<float>(sp, sp.lattice.box()), expected<float>(sp));
}

TEST(Plan, HasTheBitsOfTheWholeInEveryBox) {
    const Plan plan(smallRequest());
    const auto whole = computed<double>(plan, plan.request().lattice.box());
    for (std::int64_t i = 0; i < 140; ++i)
        EXPECT_EQ(computed<double>(plan, {{i % 7, i / 7 % 5, i / 35}, {1, 1, 1}})[0],
                  whole[static_cast<std::size_t>(i)]);
}

TEST(Plan, TakesTheRuleOfATable) {
    for (const int order : {5, 6, 100}) {
        Request request = smallRequest();
        request.rule.order = order;
        request.rule.table = tableOf(order);
        const auto field = expected<double>(request);
        EXPECT_EQ(computed<double>(request, request.lattice.box()), field);
        for (double& number : request.rule.table) number *= 0.5;
        EXPECT_NE(computed<double>(request, request.lattice.box()), field);
    }
}

TEST_F(PlanOfEveryMode, ConvertsToTheCallersPrecision) {
    for (const char* mode : {"cpusp", "cuda"}) {
        const Plan plan(smallRequest(mode));
        const LatticeBox box = plan.request().lattice.box();
        const auto single = computed<float>(plan, box);
        EXPECT_EQ(computed<double>(plan, box), Values<double>(single.begin(), single.end()));
    }
    for (const char* mode : {"cpu", "cudadp"}) {
        const Plan plan(smallRequest(mode));
        const LatticeBox box = plan.request().lattice.box();
        Values<float> rounded;
        for (const auto& value : computed<double>(plan, box)) rounded.emplace_back(value);
        EXPECT_EQ(computed<float>(plan, box), rounded);
    }
}

TEST_F(PlanOfEveryMode, FillsHalvesAndLeavesWhatIsBetween) {
    for (const char* mode : {"cpu", "cpusp", "cuda", "cudadp"}) {
        const Plan plan(smallRequest(mode));
        const LatticeBox box = plan.request().lattice.box();
        std::vector<double> re(280, -1);
        std::vector<double> im(280, -2);
        plan.compute<double>(box, {re.data(), im.data(), 2});
        const auto values = computed<double>(plan, box);
        for (std::size_t i = 0; i < values.size(); ++i) {
            EXPECT_EQ(values[i], std::complex<double>(re[2 * i], im[2 * i]));
            EXPECT_EQ(re[2 * i + 1], -1);
            EXPECT_EQ(im[2 * i + 1], -2);
        }
    }
}

TEST(Plan, OfTheModesPrecisionNeedsNoType) {
    const Plan plan(smallRequest("cpusp"));
    const LatticeBox box = plan.request().lattice.box();
    Values<float> values(140);
    plan.computeNative(box, values.data());
    EXPECT_EQ(values, computed<float>(plan, box));
}

TEST(Plan, HasTheSameBitsInAnyNumberOfThreadsAndPieces) {
    const Plan plan(longRequest());
    const LatticeBox box{{0, 0, 40}, {64, 64, 9}};
    const auto values = computed<double>(plan, box, {.threads = 1});
    EXPECT_EQ(computed<double>(plan, box, {.threads = 5}), values);
    EXPECT_EQ(computed<double>(plan, box, {.progress = [](std::int64_t) {}, .threads = 1}), values);
}

TEST_F(PlanOfEveryMode, IsUsedByAnyThreadsAtTheSameTime) {
    for (const char* mode : {"cpu", "cuda", "cudadp"}) {
        const Plan plan(smallRequest(mode));
        Request otherRequest = smallRequest(mode);
        otherRequest.rule.order = 31;
        const Plan other(otherRequest);
        const LatticeBox box = plan.request().lattice.box();
        const auto values = computed<double>(plan, box);
        const auto otherValues = computed<double>(other, box);
        std::vector<std::jthread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back([&, i] {
                for (int repeat = 0; repeat < 20; ++repeat)
                    EXPECT_EQ(computed<double>(i % 2 == 0 ? plan : other, box),
                              i % 2 == 0 ? values : otherValues);
            });
    }
}

TEST(Plan, TellsHowFarItIs) {
    const Plan plan(longRequest());
    std::vector<std::int64_t> told;
    const LatticeBox box{{}, {64, 64, 24}};
    const Conduct conduct{.progress = [&](std::int64_t points) { told.push_back(points); },
                          .threads = 1};
    static_cast<void>(computed<double>(plan, box, conduct));
    // 2^26 evaluations: 8 layers, of 2000 evaluations a point.
    EXPECT_THAT(told, ElementsAre(8 * 64 * 64, 16 * 64 * 64, box.points()));
}

TEST(Plan, IsStoppedBetweenPieces) {
    const Plan plan(longRequest());
    std::stop_source source;
    std::int64_t done = 0;
    const Conduct conduct{.stop = source.get_token(),
                          .progress =
                              [&](std::int64_t points) {
                                  done = points;
                                  source.request_stop();
                              },
                          .threads = 1};
    EXPECT_THROW(computed<double>(plan, plan.request().lattice.box(), conduct),
                 pistonfield::Stopped);
    EXPECT_EQ(done, 8 * 64 * 64);
    // The plan is none the worse for it.
    EXPECT_EQ(computed<double>(plan, {{}, {1, 1, 1}}),
              computed<double>(longRequest(), {{}, {1, 1, 1}}));
}

TEST(Plan, RefusesBoxesBeyondTheLattice) {
    const Plan plan(smallRequest());
    constexpr std::int64_t many = INT64_MAX;
    for (const LatticeBox& box :
         {LatticeBox{{0, 0, 0}, {8, 5, 4}}, LatticeBox{{0, 4, 0}, {1, 2, 1}},
          LatticeBox{{0, 0, -1}, {1, 1, 1}}, LatticeBox{{0, 0, 0}, {1, 0, 1}},
          LatticeBox{{many, 0, 0}, {1, 1, 1}}, LatticeBox{{1, 0, 0}, {many, 1, 1}},
          LatticeBox{{0, 0, 4}, {1, 1, 1}}}) {
        std::complex<double> value;
        EXPECT_THROW(plan.compute(box, &value), std::out_of_range);
        EXPECT_THROW(plan.cost(box), std::out_of_range);
    }
}

TEST(Plan, OfNoFieldIsRefused) {
    Request request = smallRequest();
    request.piston.width = 0;
    EXPECT_THROW(Plan{request}, pistonfield::InvalidRequest);
}

TEST_F(PlanOfEveryMode, SaysWhatABoxTakes) {
    const Plan cpu(smallRequest());
    EXPECT_EQ(cpu.cost(cpu.request().lattice.box()).evaluations, 140 * 4 * 6);
    EXPECT_EQ(cpu.cost(cpu.request().lattice.box()).memory, 0);
    EXPECT_EQ(cpu.cost(cpu.request().lattice.box()).deviceMemory, 0);
    const Plan gpu(smallRequest("cuda"));
    EXPECT_EQ(gpu.cost({{}, {7, 1, 1}}).memory, 7 * 8);
    // With the transform and half a rule, abscissas and weights.
    EXPECT_EQ(gpu.cost({{}, {7, 1, 1}}).deviceMemory, 7 * 8 + (16 + 6) * 4);
}

TEST_F(PlanOfEveryMode, PrintsNothing) {
    const Printed printed = captured([] {
        for (const char* mode : {"cpu", "cpusp", "cuda", "cudadp"})
            computed<double>(smallRequest(mode), smallRequest().lattice.box());
    });
    EXPECT_EQ(printed.out + printed.err, "");
}

TEST_F(PlanOfEveryMode, MayBeMoved) {
    Plan plan(smallRequest("cuda"));
    const auto values = computed<double>(plan, plan.request().lattice.box());
    const Plan moved = std::move(plan);
    EXPECT_EQ(computed<double>(moved, moved.request().lattice.box()), values);
}

}  // namespace
