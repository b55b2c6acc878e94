// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of a point of the field of an array of discs in a medium with losses, within a
// tolerance: as a convolution, and element by element, which takes a few planes of the same
// lattice. One disc is turned about its axis there, so that the field is the same and no
// convolution computes it. docs/performance.md says how to read the table.
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

/// Computes a request and prints its row.
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
    result.time *= 1e9 / (points * side * side);
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
    return 0;
}
