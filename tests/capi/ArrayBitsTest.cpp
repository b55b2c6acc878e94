// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Arrays, as a program in C++ asks for them through the interface for C.

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <string>
#include <vector>

#include "field/Plan.h"
#include "pistonfield.h"
#include "tests/capi/sampleField.h"
#include "tests/field/smallRequest.h"

namespace {

using namespace pistonfield;

constexpr pistonfield_box whole{{0, 0, 0}, {7, 5, 4}};

/// A row of elements along x, each turned a little further about y.
Array arcOf(std::size_t elements, std::size_t weightings) {
    Array array;
    for (std::size_t i = 0; i < elements; ++i) {
        const double along = static_cast<double>(i) - 0.5 * static_cast<double>(elements - 1);
        const double angle = -0.1 * along;
        array.elements.push_back(
            {{.width = 0.2, .height = 0.3 + 0.1 * static_cast<double>(i % 2)},
             {{0.3 * along, -0.1, -0.2}, {std::cos(angle), 0, -std::sin(angle)}, {0, 1, 0}}});
    }
    for (std::size_t i = 0; i < elements * weightings; ++i)
        array.weights.push_back(
            std::polar(1.0 + static_cast<double>(i), 0.7 * static_cast<double>(i)));
    return array;
}

std::vector<pistonfield_element> elementsOf(const Array& array) {
    std::vector<pistonfield_element> elements;
    for (const auto& [piston, pose, outline] : array.elements) {
        const auto& [centre, width, height] = pose;
        elements.push_back({piston.width,
                            piston.height,
                            {centre[0], centre[1], centre[2]},
                            {width[0], width[1], width[2]},
                            {height[0], height[1], height[2]}});
    }
    return elements;
}

TEST(CInterface, HasTheBitsOfTheClassesForArrays) {
    constexpr std::size_t weightings = 2;
    for (const std::int32_t mode : {PISTONFIELD_CPU, PISTONFIELD_CPUSP}) {
        Request same = smallRequest(pistonfield_mode_name(mode));
        same.array = arcOf(5, weightings);
        same.tolerance = Tolerance{1e-4, Tolerance::Of::local};
        const Plan plan(same);
        std::vector<std::complex<double>> expected(weightings * samplePoints);
        plan.compute(same.lattice.box(), expected.data());

        const std::vector<pistonfield_element> elements = elementsOf(*same.array);
        pistonfield_request request = sampleRequest(mode);
        request.tolerance = 1e-4;
        request.tolerance_of = PISTONFIELD_LOCAL;
        request.array = elements.data();
        request.elements = static_cast<std::int64_t>(elements.size());
        request.weights = reinterpret_cast<const double*>(same.array->weights.data());
        request.weightings = weightings;
        pistonfield_plan* made = nullptr;
        pistonfield_message message;
        ASSERT_EQ(pistonfield_plan_create(&request, &made, &message), PISTONFIELD_SUCCESS)
            << message.text;
        EXPECT_EQ(pistonfield_plan_engine(made), std::string(plan.engine()));
        std::vector<std::complex<double>> values(expected.size());
        auto* const parts = reinterpret_cast<double*>(values.data());
        EXPECT_EQ(
            pistonfield_plan_compute_double(made, &whole, parts, parts + 1, 2, nullptr, &message),
            PISTONFIELD_SUCCESS)
            << message.text;
        EXPECT_EQ(values, expected);
        pistonfield_plan_destroy(made);
    }
}

}  // namespace
