// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// What goes wrong within the library becomes a status, whatever it is.

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "pistonfield.h"
#include "tests/capi/sampleField.h"
#include "tests/matlab_src/HeapAccount.h"

namespace {

constexpr pistonfield_box whole{{0, 0, 0}, {7, 5, 4}};

/// The sample's plan.
class PlanHandle {
  public:
    explicit PlanHandle(std::int32_t mode) {
        const pistonfield_request request = sampleRequest(mode);
        EXPECT_EQ(pistonfield_plan_create(&request, &plan, nullptr), PISTONFIELD_SUCCESS);
    }
    PlanHandle(const PlanHandle&) = delete;
    PlanHandle& operator=(const PlanHandle&) = delete;
    ~PlanHandle() { pistonfield_plan_destroy(plan); }

    pistonfield_status compute(const pistonfield_conduct* conduct) {
        return pistonfield_plan_compute_float(plan, &whole, values.data(), &values[1], 2, conduct,
                                              &message);
    }

    pistonfield_plan* plan = nullptr;
    pistonfield_message message{};
    std::array<float, std::size_t{2} * samplePoints> values{};
};

/// A progress function that throws an exception of a text, or where there is none a number.
int fail(std::int64_t /*points*/, void* user) {
    if (user == nullptr) throw 42;
    throw std::logic_error(*static_cast<std::string*>(user));
}

pistonfield_conduct failingWith(std::string* text) {
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, nullptr);
    conduct.progress = fail;
    conduct.user = text;
    return conduct;
}

TEST(CInterface, TurnsExceptionsOfTheProgressFunctionIntoStatuses) {
    PlanHandle sample(PISTONFIELD_CPU);
    std::string text = "made up";
    pistonfield_conduct conduct = failingWith(&text);
    EXPECT_EQ(sample.compute(&conduct), PISTONFIELD_FAILURE);
    EXPECT_STREQ(sample.message.text, "made up");
    conduct = failingWith(nullptr);
    EXPECT_EQ(sample.compute(&conduct), PISTONFIELD_FAILURE);
    EXPECT_STREQ(sample.message.text, "an exception of an unknown kind");
}

TEST(CInterface, CutsTextsThatAreTooLongBetweenCharacters) {
    PlanHandle sample(PISTONFIELD_CPU);
    std::string fitting(255, 'x');
    pistonfield_conduct conduct = failingWith(&fitting);
    EXPECT_EQ(sample.compute(&conduct), PISTONFIELD_FAILURE);
    EXPECT_EQ(sample.message.text, fitting);
    std::string longer = fitting.substr(1) + "\u20ac";
    conduct = failingWith(&longer);
    EXPECT_EQ(sample.compute(&conduct), PISTONFIELD_FAILURE);
    EXPECT_EQ(sample.message.text, fitting.substr(1));
}

TEST(CInterface, TellsOfANumberOfThreadsThatIsNone) {
    PlanHandle sample(PISTONFIELD_CPU);
    // A computation that is watched asks for the number however small it is.
    pistonfield_conduct conduct;
    pistonfield_conduct_init(&conduct, sizeof conduct, nullptr);
    conduct.progress = [](std::int64_t, void*) { return 0; };
    ASSERT_EQ(setenv("PISTONFIELD_THREADS", "many", 1), 0);
    EXPECT_EQ(sample.compute(&conduct), PISTONFIELD_FAILURE);
    EXPECT_STREQ(sample.message.text,
                 "PISTONFIELD_THREADS: 'many' is no whole number from 1 to 1024");
    unsetenv("PISTONFIELD_THREADS");
    EXPECT_EQ(sample.compute(&conduct), PISTONFIELD_SUCCESS);
    EXPECT_STREQ(sample.message.text, "");
}

/// What comes of a plan when the allocations from number `nth` on find no memory.
pistonfield_status statusWithoutMemory(const pistonfield_request& request, int nth) {
    pistonfield_message message;
    pistonfield_plan* plan = nullptr;
    pistonfield_status status = PISTONFIELD_SUCCESS;
    {
        const heap::FailingAllocation failing(nth, true);
        status = pistonfield_plan_create(&request, &plan, &message);
    }
    EXPECT_EQ(plan == nullptr, status != PISTONFIELD_SUCCESS);
    EXPECT_STREQ(message.text, status == PISTONFIELD_SUCCESS ? "" : "there is not enough memory");
    pistonfield_plan_destroy(plan);
    return status;
}

/// Of many allocations the first ones each, and then ever fewer: with arrays there are thousands.
void expectAllocationsToBeTold(const pistonfield_request& request) {
    constexpr int each = 64;
    int nth = 1;
    while (statusWithoutMemory(request, nth) == PISTONFIELD_OUT_OF_MEMORY) nth += 1 + nth / each;
    EXPECT_EQ(statusWithoutMemory(request, nth), PISTONFIELD_SUCCESS);
    EXPECT_GT(nth, 3);
}

TEST(CInterface, TellsOfEveryAllocationThatFindsNoMemory) {
    for (const std::int32_t mode : {PISTONFIELD_CPU, PISTONFIELD_CPUSP})
        for (const double tolerance : {0.0, 1e-3}) {
            pistonfield_request request = sampleRequest(mode);
            request.tolerance = tolerance;
            expectAllocationsToBeTold(request);
        }
}

TEST(CInterface, TellsOfEveryAllocationForAListThatFindsNoMemory) {
    const std::array positions{0.1, 0.2, 0.3};
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = 1e-3;
    request.x = request.y = request.z = positions.data();
    request.points = positions.size();
    expectAllocationsToBeTold(request);
}

TEST(CInterface, TellsOfAllocationsForAnArrayThatFindNoMemory) {
    const std::array<pistonfield_element, 2> elements{
        {{0.2, 0.3, {-0.2, 0, 0}, {1, 0, 0}, {0, 1, 0}},
         {0.2, 0.3, {0.2, 0, 0}, {1, 0, 0}, {0, 1, 0}}}};
    const std::array weights{1.0, 0.0, 0.0, 1.0};
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = 1e-3;
    request.array = elements.data();
    request.elements = elements.size();
    request.weights = weights.data();
    request.weightings = 1;
    expectAllocationsToBeTold(request);
}

/// What comes of measuring a plan's accuracy when the allocations from number `nth` on find no
/// memory.
pistonfield_status accuracyWithoutMemory(const pistonfield_plan* plan, int nth) {
    pistonfield_message message;
    pistonfield_accuracy accuracy{};
    pistonfield_status status = PISTONFIELD_SUCCESS;
    {
        const heap::FailingAllocation failing(nth, true);
        status = pistonfield_plan_accuracy(plan, &accuracy, &message);
    }
    EXPECT_STREQ(message.text, status == PISTONFIELD_SUCCESS ? "" : "there is not enough memory");
    EXPECT_EQ(accuracy.points > 0, status == PISTONFIELD_SUCCESS);
    return status;
}

TEST(CInterface, TellsOfAnAccuracyThatFindsNoMemory) {
    pistonfield_request request = sampleRequest(PISTONFIELD_CPU);
    request.tolerance = 1e-3;
    pistonfield_plan* plan = nullptr;
    ASSERT_EQ(pistonfield_plan_create(&request, &plan, nullptr), PISTONFIELD_SUCCESS);
    int nth = 1;
    while (accuracyWithoutMemory(plan, nth) == PISTONFIELD_OUT_OF_MEMORY) ++nth;
    EXPECT_EQ(accuracyWithoutMemory(plan, nth), PISTONFIELD_SUCCESS);
    pistonfield_plan_destroy(plan);
}

TEST(CInterface, IsCalledFromAnyThreadsAtTheSameTime) {
    const PlanHandle shared(PISTONFIELD_CPU);
    std::array<float, std::size_t{2} * samplePoints> expected{};
    sampleFieldFloat(PISTONFIELD_CPU, expected.data());
    std::vector<std::jthread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([&] {
            for (int repeat = 0; repeat < 20; ++repeat) {
                std::array<float, std::size_t{2} * samplePoints> values{};
                pistonfield_message message;
                EXPECT_EQ(pistonfield_plan_compute_float(shared.plan, &whole, values.data(),
                                                         &values[1], 2, nullptr, &message),
                          PISTONFIELD_SUCCESS);
                EXPECT_EQ(values, expected);
                const pistonfield_box beyond{{0, 0, 0}, {8 + repeat, 1, 1}};
                EXPECT_EQ(pistonfield_plan_cost(shared.plan, &beyond, nullptr, &message),
                          PISTONFIELD_OUT_OF_RANGE);
                EXPECT_EQ(std::string(message.text).find(std::to_string(8 + repeat)), 0U);
            }
        });
}

}  // namespace
