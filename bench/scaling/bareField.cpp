// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// Computes a field with the library alone, a layer at a time into the same memory, and prints the
// seconds it took. Arguments: mode (cpu or cpusp), order, points along x, y and z; then the
// piston's l, s, k and the transform's 16 numbers.

#include <array>
#include <chrono>
#include <complex>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "FastNearfield/RectangularPiston2.h"

namespace {

template <class T>
void computeLayers(const RectangularPistonCuda2& piston, const double* transform,
                   const std::array<std::int64_t, 3>& sizes) {
    std::vector<std::complex<T>> layer(static_cast<std::size_t>(sizes[0] * sizes[1]));
    for (std::int64_t z = 0; z < sizes[2]; ++z)
        piston.computeBox(layer.data(), transform, {{0, 0, z}, {sizes[0], sizes[1], 1}});
}

}  // namespace

int main(int argc, char** argv) {
    constexpr int count = 25;
    if (argc != count) return 2;
    const auto number = [argv](int at) { return std::strtod(argv[at], nullptr); };
    const auto whole = [argv](int at) { return std::strtoll(argv[at], nullptr, 10); };
    std::array<double, 16> transform{};
    for (int i = 0; i < 16; ++i) transform[static_cast<std::size_t>(i)] = number(9 + i);

    const auto begin = std::chrono::steady_clock::now();
    RectangularPistonCuda2 piston(number(6), number(7), number(8));
    piston.doubleRule.compute(static_cast<int>(whole(2)));
    piston.floatRule.compute(static_cast<int>(whole(2)));
    const std::array<std::int64_t, 3> sizes{whole(3), whole(4), whole(5)};
    if (std::string(argv[1]) == "cpusp")
        computeLayers<float>(piston, transform.data(), sizes);
    else
        computeLayers<double>(piston, transform.data(), sizes);
    const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
    std::printf("%.3f\n", time.count());
}
