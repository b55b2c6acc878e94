// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// How many nodes a point takes with a tolerance of 1e-4 of the local amplitude, in the plane y = 0
// of the benchmarks' piston: comma-separated z, x and nodes, in wavelengths.

#include <cstdint>
#include <cstdio>

#include "bench/Fields.h"
#include "field/Plan.h"

namespace {

constexpr double tolerance = 1e-4;
constexpr std::int64_t points = 16;  // that share their orders, in a row
constexpr double step = 0.05;
constexpr int groups = 30;
constexpr int rows = 201;
constexpr double rowStep = 0.25;

/// The nodes of a point, on average over the points in a row from (x, 0, z) on.
double nodesAt(double x, double z) {
    pistonfield::Request request;
    request.piston = {.width = bench::piston.s, .height = bench::piston.l};
    request.wave = {.wavenumber = bench::piston.k};
    request.lattice.transform = {step, 0, 0, x, 0, 1, 0, 0, 0, 0, 1, z, 0, 0, 0, 1};
    request.lattice.sizes = {points, 1, 1};
    request.tolerance = {.value = tolerance, .of = pistonfield::Tolerance::Of::local};
    return pistonfield::Plan(request).accuracy()->evaluations;
}

}  // namespace

int main() {
    constexpr double width = step * points;
    std::puts("z,x,nodes");
    for (int row = 0; row < rows; ++row)
        for (int group = 0; group < groups; ++group) {
            const double x = (group - groups / 2.0) * width;
            std::printf("%g,%g,%g\n", row * rowStep, x + width / 2,
                        nodesAt(x + step / 2, row * rowStep));
        }
    return 0;
}
