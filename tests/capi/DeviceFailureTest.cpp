// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// A device that fails, and none at all, as callers of the interface for C see them.

#include <gtest/gtest.h>

#include <array>
#include <string>

#include "pistonfield.h"
#include "tests/capi/sampleField.h"
#include "tests/support/EmulatedDevices.h"

namespace {

using cuda_runtime::emulated::Operation;

TEST(CInterface, TellsThatThereIsNoDevice) {
    const EmulatedDevices none({});
    for (const std::int32_t mode : {PISTONFIELD_CUDA, PISTONFIELD_CUDADP}) {
        const pistonfield_request request = sampleRequest(mode);
        pistonfield_plan* plan = nullptr;
        pistonfield_message message;
        EXPECT_EQ(pistonfield_plan_create(&request, &plan, &message), PISTONFIELD_DEVICE_FAILURE);
        EXPECT_NE(std::string(message.text), "");
        EXPECT_EQ(plan, nullptr);
    }
}

TEST(CInterface, TellsThatTheDeviceHasFailed) {
    const pistonfield_request request = sampleRequest(PISTONFIELD_CUDA);
    pistonfield_plan* plan = nullptr;
    ASSERT_EQ(pistonfield_plan_create(&request, &plan, nullptr), PISTONFIELD_SUCCESS);
    const pistonfield_box whole{{0, 0, 0}, {7, 5, 4}};
    std::array<float, std::size_t{2} * samplePoints> values{};
    pistonfield_message message;
    {
        const RuntimeLog log({{.nth = 1,
                               .status = cuda_runtime::cudaErrorMemoryAllocation,
                               .operation = Operation::Malloc}});
        EXPECT_EQ(pistonfield_plan_compute_float(plan, &whole, values.data(), &values[1], 2,
                                                 nullptr, &message),
                  PISTONFIELD_DEVICE_FAILURE);
        EXPECT_STREQ(message.text, "cudaMalloc: out of memory");
    }
    EXPECT_EQ(pistonfield_plan_compute_float(plan, &whole, values.data(), &values[1], 2, nullptr,
                                             &message),
              PISTONFIELD_SUCCESS);
    pistonfield_plan_destroy(plan);
}

}  // namespace
