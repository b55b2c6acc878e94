// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

// Declared here as a C program would: this source links only if the names are plain.
extern "C" {

extern int do_timing;
extern double global_time;

void setCudaIntegratorParameters(const char*, int);
void setIntegratorWeightsSym(const char*, const float*, const float*, int);
void setIntegratorWeightsSym_d(const char*, const double*, const double*, int);

void RectangularPiston_func(float*, int, int, int, const float*, float, float, float);
void RectangularPiston_func_device(float*, int, int, int, const float*, float, float, float);
void RectangularPiston_func2(float*, float*, int, int, int, const float*, float, float, float);
void RectangularPiston_func2_device(float*, float*, int, int, int, const float*, float, float,
                                    float);
void RectangularPiston_func_structured(float*, int, int, int, const float*, const float*,
                                       const float*, float, float, float);
void RectangularPiston_func_structured_device(float*, int, int, int, const float*, const float*,
                                              const float*, float, float, float);
void RectangularPiston_func_unstructured(float*, int, const float*, float, float, float);
void RectangularPiston_func_unstructured_device(float*, int, const float*, float, float, float);
void do_calculate_grid(float*, int, int, int, float, float, float, float, float, float, float,
                       float, float, float, float, float, float, float, float);
void do_calculate(float*, int, int, int, float, float, float, float, float, float);

void RectangularPiston_func_d(double*, int, int, int, const double*, double, double, double);
void RectangularPiston_func2_d(double*, double*, int, int, int, const double*, double, double,
                               double);
void do_calculate_grid_d(double*, int, int, int, double, double, double, double, double, double,
                         double, double, double, double, double, double, double, double, double);
void do_calculate_d(double*, int, int, int, double, double, double, double, double, double);
}

namespace {

template <class Function>
const void* addressOf(Function* function) {
    return reinterpret_cast<const void*>(function);
}

TEST(Linkage, OfTheIntegratorIsPlain) {
    std::array addresses{addressOf(setCudaIntegratorParameters),
                         addressOf(setIntegratorWeightsSym),
                         addressOf(setIntegratorWeightsSym_d),
                         addressOf(RectangularPiston_func),
                         addressOf(RectangularPiston_func_device),
                         addressOf(RectangularPiston_func2),
                         addressOf(RectangularPiston_func2_device),
                         addressOf(RectangularPiston_func_structured),
                         addressOf(RectangularPiston_func_structured_device),
                         addressOf(RectangularPiston_func_unstructured),
                         addressOf(RectangularPiston_func_unstructured_device),
                         addressOf(do_calculate_grid),
                         addressOf(do_calculate),
                         addressOf(RectangularPiston_func_d),
                         addressOf(RectangularPiston_func2_d),
                         addressOf(do_calculate_grid_d),
                         addressOf(do_calculate_d)};
    std::sort(addresses.begin(), addresses.end());
    EXPECT_EQ(std::unique(addresses.begin(), addresses.end()), addresses.end());
}

TEST(Linkage, OfTheTimingVariablesIsPlain) {
    EXPECT_EQ(do_timing, 0);
    global_time = 0;
}

}  // namespace
