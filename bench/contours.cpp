// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of a point of the field of arrays of discs and of rectangles in a medium with losses,
// within a tolerance. In a plane: as a convolution, and element by element, which takes a few
// planes of the same lattice. One disc is turned about its axis there, so that the field is the
// same and no convolution computes it. On a bowl, and on a curved probe: at the points of a
// lattice, and at a tenth of them in a list. docs/performance.md says how to read the table.
//
// Usage: contours_bench

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <ctime>
#include <limits>
#include <memory>
#include <numbers>
#include <string>
#include <utility>
#include <vector>

#include "field/Plan.h"

namespace {

using namespace pistonfield;
using Values = std::vector<std::complex<double>>;

// Lengths are in wavelengths: 1.54 mm at 1 MHz in a medium with 1540 m/s.
constexpr double wavenumber = 2 * std::numbers::pi;
constexpr double decibelsPerWavelength = 0.5 * 0.154;
constexpr double decibelsPerNeper = 8.685889638065037;
constexpr int side = 16;
constexpr std::int64_t planes = 30;
constexpr std::int64_t everyPlane = 10;

/// The time of the calling thread alone: other work on the machine takes turns with it.
double seconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Discs of 0.9 wavelengths side by side, focused 20 wavelengths away.
Array discs() {
    Array array;
    const auto disc = std::make_shared<const Outline>(discOutline(0.45));
    for (int j = 0; j < side; ++j)
        for (int i = 0; i < side; ++i) {
            const double x = i - (side - 1) / 2.0;
            const double y = j - (side - 1) / 2.0;
            array.elements.push_back(
                {.piston = {}, .pose = {.centre = {x, y, 0}}, .outline = disc});
            array.weights.push_back(std::polar(1.0, wavenumber * std::hypot(x, y, 20)));
        }
    return array;
}

/// The lattice, or every so many of its planes.
Lattice latticeOf(std::int64_t every) {
    constexpr std::int64_t points = 128;
    constexpr double step = 0.25;
    constexpr double first = -step * (points - 1) / 2;
    return {.transform = {step, 0, 0, first, 0, step, 0, first, 0, 0, static_cast<double>(every), 3,
                          0, 0, 0, 1},
            .sizes = {points, points, planes / every}};
}

struct Asked {
    const char* name;
    Baffle baffle;
    Quantity quantity;
    Mode mode;
};

Request requestFor(const Asked& asked, double tolerance) {
    Request request;
    request.array = discs();
    request.wave = {wavenumber, decibelsPerWavelength / decibelsPerNeper};
    request.baffle = asked.baffle;
    request.quantity = asked.quantity;
    request.mode = asked.mode;
    request.tolerance = Tolerance{tolerance, Tolerance::Of::largest};
    return request;
}

struct Result {
    double time;  ///< of a point and element, in nanoseconds
    Values values;
};

/// Computes a request and prints its row; of the times of several repetitions the least one.
Result measure(const char* name, const Request& request, int repetitions) {
    const double begin = seconds();
    const Plan plan(request);
    const double planned = seconds() - begin;
    const LatticeBox box = request.lattice.box();
    Result result{std::numeric_limits<double>::infinity(),
                  Values(static_cast<std::size_t>(box.points() * request.fields()))};
    for (int i = 0; i < repetitions; ++i) {
        const double start = seconds();
        plan.compute(box, result.values.data(), {.threads = 1});
        result.time = std::min(result.time, seconds() - start);
    }
    const auto points = static_cast<double>(box.points());
    const double all = result.time;
    result.time *= 1e9 / (points * static_cast<double>(request.array->elements.size()));
    std::printf("%-28s %7.0e  %-11s %9.2f %9.1f %10.3f %8.1e %8.1f\n", name,
                request.tolerance->value, std::string(plan.engine()).c_str(), all,
                1e9 * all / points, result.time, plan.accuracy()->error, 1e3 * planned);
    return result;
}

/// The largest difference at the planes that both have, over the largest value.
double differenceOf(const Values& convolved, const Values& summed, std::size_t fields) {
    constexpr std::size_t plane = std::size_t{128} * 128;
    double difference = 0;
    double largest = 0;
    for (std::size_t f = 0; f < fields; ++f)
        for (std::size_t p = 0; p < planes / everyPlane; ++p)
            for (std::size_t i = 0; i < plane; ++i) {
                const auto value = convolved[(f * planes + p * everyPlane) * plane + i];
                const auto other = summed[(f * (planes / everyPlane) + p) * plane + i];
                difference = std::max(difference, std::abs(value - other));
                largest = std::max(largest, std::abs(other));
            }
    return difference / largest;
}

void compare(const Asked& asked, double tolerance) {
    Request request = requestFor(asked, tolerance);
    request.lattice = latticeOf(1);
    const Result convolved = measure(asked.name, request, 3);
    const double angle = 0.1;
    Pose& pose = request.array->elements.front().pose;
    pose.alongWidth = {std::cos(angle), std::sin(angle), 0};
    pose.alongHeight = {-std::sin(angle), std::cos(angle), 0};
    request.lattice = latticeOf(everyPlane);
    const Result summed = measure(asked.name, request, 1);
    std::printf(
        "%-28s a difference of %.1e, %.0f times the time\n", "",
        differenceOf(convolved.values, summed.values, static_cast<std::size_t>(request.fields())),
        summed.time / convolved.time);
}

/// Discs of 0.9 wavelengths on a bowl with a radius of 60 wavelengths, in the order of a
/// sunflower's seeds.
Array bowl() {
    Array array;
    const auto disc = std::make_shared<const Outline>(discOutline(0.45));
    constexpr double radius = 60;
    for (int i = 0; i < side * side; ++i) {
        const double around = i * std::numbers::pi * (3 - std::sqrt(5.0));
        const double tilt = std::asin(0.5 * std::sqrt((i + 0.5) / (side * side)));
        const double c = std::cos(around);
        const double s = std::sin(around);
        array.elements.push_back(
            {.piston = {},
             .pose = {.centre = {radius * std::sin(tilt) * c, radius * std::sin(tilt) * s,
                                 radius * (1 - std::cos(tilt))},
                      .alongWidth = {c * std::cos(tilt), s * std::cos(tilt), std::sin(tilt)},
                      .alongHeight = {-s, c, 0}},
             .outline = disc});
        array.weights.emplace_back(1);
    }
    return array;
}

/// Rectangles of 0.45 by 6 wavelengths, half a wavelength apart on a cylinder with a radius of 60.
Array curved() {
    Array array;
    constexpr double radius = 60;
    constexpr int elements = 128;
    for (int i = 0; i < elements; ++i) {
        const double tilt = (i - (elements - 1) / 2.0) * 0.5 / radius;
        array.elements.push_back(
            {.piston = {.width = 0.45, .height = 6},
             .pose = {.centre = {radius * std::sin(tilt), 0, radius * (std::cos(tilt) - 1)},
                      .alongWidth = {std::cos(tilt), 0, -std::sin(tilt)},
                      .alongHeight = {0, 1, 0}}});
        array.weights.emplace_back(1);
    }
    return array;
}

/// Every tenth point of a lattice.
PointList somePointsOf(const Lattice& lattice) {
    PointList list;
    const auto& [nx, ny, nz] = lattice.sizes;
    const auto& rows = lattice.transform;
    for (std::int64_t i = 0; i < nx * ny * nz; i += everyPlane) {
        const std::int64_t row = i / nx;
        const std::int64_t layer = row / ny;
        list.x.push_back(rows[0] * static_cast<double>(i % nx) + rows[3]);
        list.y.push_back(rows[5] * static_cast<double>(row % ny) + rows[7]);
        list.z.push_back(rows[10] * static_cast<double>(layer) + rows[11]);
    }
    return list;
}

void compareWithList(const Array& array, const Lattice& lattice, const Asked& asked) {
    Request request = requestFor(asked, 1e-4);
    request.array = array;
    request.lattice = lattice;
    request.behind = true;
    const double onLattice = measure(asked.name, request, 3).time;
    request.points = somePointsOf(lattice);
    request.lattice = {.transform = {},
                       .sizes = {static_cast<std::int64_t>(request.points->x.size()), 1, 1}};
    const double inList = measure("  in a list", request, 1).time;
    std::printf("%-28s %.0f times the time\n", "", inList / onLattice);
}

constexpr std::array quantities{
    Asked{"pressure, rigid, double", Baffle::rigid, Quantity::pressure, Mode::cpu},
    Asked{"pressure, soft, double", Baffle::soft, Quantity::pressure, Mode::cpu},
    Asked{"velocity, rigid, double", Baffle::rigid, Quantity::velocity, Mode::cpu}};

void measureCurvedArrays() {
    std::puts(
        "\n256 discs of 0.9 wavelengths on a bowl with a radius of 60 and an aperture of 60 "
        "wavelengths;\n128 by 128 by 30 points about the focus, a quarter wavelength apart along x "
        "and y and one along z\n");
    const double first = -0.25 * 127 / 2;
    for (const Asked& asked : quantities)
        compareWithList(
            bowl(),
            {.transform = {0.25, 0, 0, first, 0, 0.25, 0, first, 0, 0, 1, 45, 0, 0, 0, 1},
             .sizes = {128, 128, planes}},
            asked);
    std::puts(
        "\n128 rectangles of 0.45 by 6 wavelengths on a cylinder with a radius of 60 "
        "wavelengths;\n321 by 481 points a quarter wavelength apart of the plane through their "
        "middles, z from 2 to 122 wavelengths\n");
    for (const Asked& asked : quantities)
        compareWithList(curved(),
                        {.transform = {0.25, 0, 0, -40, 0, 1, 0, 0, 0, 0, 0.25, 2, 0, 0, 0, 1},
                         .sizes = {321, 1, 481}},
                        asked);
}

}  // namespace

int main() {
    static_cast<void>(std::setvbuf(stdout, nullptr, _IOLBF, 1 << 12));
    std::puts(
        "16 by 16 discs of 0.9 wavelengths, one wavelength apart, focused at 20 wavelengths, 0.5 "
        "dB/(cm MHz);\n128 by 128 by 30 points a quarter wavelength apart along x and y, z from 3 "
        "to 32 wavelengths; one thread,\nits own time; tolerances of the largest value. Element by "
        "element every tenth plane is computed.\n");
    std::printf("%-28s %7s  %-11s %9s %9s %10s %8s %8s\n", "field", "tol.", "engine", "s",
                "ns/point", "ns/p.,el.", "error", "plan, ms");
    for (const Asked& asked :
         {Asked{"pressure, rigid, double", Baffle::rigid, Quantity::pressure, Mode::cpu},
          Asked{"pressure, rigid, single", Baffle::rigid, Quantity::pressure, Mode::cpusp},
          Asked{"pressure, soft, double", Baffle::soft, Quantity::pressure, Mode::cpu},
          Asked{"velocity, rigid, double", Baffle::rigid, Quantity::velocity, Mode::cpu},
          Asked{"velocity, free, double", Baffle::free, Quantity::velocity, Mode::cpu},
          Asked{"intensity, rigid, double", Baffle::rigid, Quantity::intensity, Mode::cpu}})
        compare(asked, 1e-4);
    compare({"pressure, rigid, double", Baffle::rigid, Quantity::pressure, Mode::cpu}, 1e-8);
    measureCurvedArrays();
    return 0;
}
