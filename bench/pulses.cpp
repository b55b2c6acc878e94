// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of the fields that a pulse takes, all of its frequencies: sharing nodes and distances,
// and with a plan for each. docs/performance.md says how to read the table.
//
// Usage: pulses_bench

#include <algorithm>
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

#include "field/Medium.h"
#include "field/Plan.h"
#include "signals/SpectralField.h"

namespace {

using namespace pistonfield;
using Values = std::vector<std::complex<double>>;

// Lengths are in mm.
constexpr double speed = 1.54e6;
constexpr std::size_t count = 64;

/// The time of the calling thread alone: other work on the machine takes turns with it.
double seconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Frequencies from 0.25 MHz to 4 MHz.
std::vector<Tone> tones(double attenuation) {
    std::vector<Tone> all;
    for (std::size_t n = 0; n < count; ++n) {
        const double megahertz = 4.0 * static_cast<double>(n + 4) / (count + 3);
        const double nepers = attenuation / 8.685889638065037 / 10 * megahertz;
        all.push_back({{2 * std::numbers::pi * megahertz * 1e6 / speed, nepers}});
    }
    return all;
}

Request rectangle() {
    Request request;
    request.piston = {10, 8};
    request.tolerance = Tolerance{1e-3};
    return request;
}

Request disc() {
    Request request = rectangle();
    request.array =
        Array{{Element{{}, {}, std::make_shared<const Outline>(discOutline(5))}}, {1.0}};
    return request;
}

/// A row of elements, focused by delays.
Request row() {
    Request request = rectangle();
    request.array.emplace();
    for (int i = 0; i < 16; ++i) {
        request.array->elements.push_back({{0.5, 8}, {{0.6 * (i - 7.5), 0, 0}}});
        request.array->weights.emplace_back(1);
    }
    return request;
}

Request atPoints(Request request, std::int64_t points) {
    request.points.emplace();
    request.lattice.sizes = {points, 1, 1};
    for (std::int64_t i = 0; i < points; ++i) {
        const double t = static_cast<double>(i) / static_cast<double>(points);
        request.points->x.push_back(7 * std::sin(17 * t));
        request.points->y.push_back(5 * std::cos(29 * t));
        request.points->z.push_back(3 + 60 * t);
    }
    return request;
}

/// A plane along the axis.
Request onPlane(Request request, std::int64_t side) {
    const double step = 60.0 / static_cast<double>(side);
    request.lattice = {{step / 3, 0, 0, -10, 0, 0, 1, 0.3, 0, step, 0, 3, 0, 0, 0, 1},
                       {side, side, 1}};
    return request;
}

void compare(const char* name, const Request& request, double attenuation) {
    const std::vector<Tone> all = tones(attenuation);
    const std::int64_t points = request.lattice.box().points();
    const std::int64_t fields = request.fields();
    Values shared(all.size() * static_cast<std::size_t>(points * fields));
    Values apart(shared.size());
    double timeShared = std::numeric_limits<double>::infinity();
    double timeApart = timeShared;
    std::string engine;
    for (int i = 0; i < 3; ++i) {
        const double start = seconds();
        SpectralField(request, all).compute(request.lattice.box(), shared.data(), {.threads = 1});
        timeShared = std::min(timeShared, seconds() - start);
        const double again = seconds();
        for (std::size_t n = 0; n < all.size(); ++n) {
            Request one = request;
            one.wave = all[n].wave;
            const Plan plan(one);
            plan.compute(one.lattice.box(), &apart[n * static_cast<std::size_t>(points)],
                         {.threads = 1});
            engine = plan.engine();
        }
        timeApart = std::min(timeApart, seconds() - again);
    }
    double difference = 0;
    for (std::size_t n = 0; n < all.size(); ++n) {
        double largest = 0;
        double off = 0;
        for (std::size_t i = n * static_cast<std::size_t>(points);
             i < (n + 1) * static_cast<std::size_t>(points); ++i) {
            largest = std::max(largest, std::abs(apart[i]));
            off = std::max(off, std::abs(apart[i] - shared[i]));
        }
        difference = std::max(difference, off / largest);
    }
    const double each = 1e9 / static_cast<double>(all.size()) / static_cast<double>(points);
    std::printf("%-34s %8lld %7.0e  %-11s %9.1f %9.1f %7.1f %9.1e\n", name,
                static_cast<long long>(points), request.tolerance->value, engine.c_str(),
                timeApart * each, timeShared * each, timeApart / timeShared, difference);
}

void compareAll(const char* name, const Request& request, double attenuation) {
    compare(name, atPoints(request, 16), attenuation);
    compare(name, atPoints(request, 1000), attenuation);
    compare(name, onPlane(request, 50), attenuation);
    compare(name, onPlane(request, 200), attenuation);
}

}  // namespace

int main() {
    static_cast<void>(std::setvbuf(stdout, nullptr, _IOLBF, 1 << 12));
    std::printf("%-34s %8s %7s  %-11s %9s %9s %7s %9s\n", "source", "points", "tol.", "engine",
                "apart", "shared", "ratio", "differ");
    Request request = rectangle();
    compareAll("rectangle", request, 0);
    request.tolerance->value = 1e-6;
    compareAll("rectangle", request, 0);
    request.tolerance->value = 1e-3;
    request.mode = Mode::cpusp;
    compareAll("rectangle, single", request, 0);
    request.mode = Mode::cpu;
    compareAll("rectangle, losses", request, 0.5);
    compareAll("disc", disc(), 0);
    compareAll("disc, losses", disc(), 0.5);
    compareAll("16 elements", row(), 0);
    return 0;
}
