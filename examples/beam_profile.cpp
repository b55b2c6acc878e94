// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The beam profile of a small ultrasound piston in water, along its axis: a host program that calls
// the library's GPU launchers directly. Without a GPU, build the library for the emulation device.

#include <cmath>
#include <cstddef>
#include <cstdio>
#include <numbers>
#include <string>
#include <vector>

#include "FastNearfield/IntegratorCuda.h"
#include "FastNearfield/RectangularPistonCuda.h"
#include "core/cudahelper.h"

namespace {

// Lengths are in mm.
constexpr float l = 5.0F;                                        // side along y
constexpr float s = 7.5F;                                        // side along x
constexpr float waveLength = 1.5F;                               // 1 MHz in water, 1500 m/s
constexpr float k = 2 * std::numbers::pi_v<float> / waveLength;  // rad/mm
constexpr float step = 2.5F;
constexpr int points = 33;  // from the piston's face to 80 mm
constexpr int order = 32;   // abscissas of each edge integral

std::vector<Complex> fieldAlongAxis() {
    // The context lives as long as this object, and with it the rule on the device.
    const CudaDeviceThread device;
    setCudaIntegratorParameters("RectangularPiston", order);
    std::vector<Complex> field(points);
    // A grid of 1 by 1 by `points`; the first point is the centre of the piston.
    do_calculate(field.data(), 1, 1, points, 0, 0, step, l, s, k);
    return field;
}

void printProfile(const std::vector<Complex>& field) {
    constexpr double charactersPerUnit = 20;
    std::puts("\n z (mm)     |p|");
    for (std::size_t i = 0; i < field.size(); ++i) {
        const double z = step * static_cast<double>(i);
        const double magnitude = std::hypot(field[i].re, field[i].im);
        const std::string bar(static_cast<std::size_t>(magnitude * charactersPerUnit), '#');
        std::printf("%7.1f  %6.4f  %s\n", z, magnitude, bar.c_str());
    }
}

}  // namespace

int main() { printProfile(fieldAlongAxis()); }
