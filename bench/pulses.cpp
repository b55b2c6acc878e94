// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of the fields that a pulse takes, of 64 frequencies: by a plan for each, and as
// `SpectralField` has them, which shares nodes and distances where that pays. docs/performance.md
// says how to read the table.
//
// Usage: pulses_bench

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
#include "reference/FlatSource.h"
#include "signals/SpectralField.h"

namespace {

using namespace pistonfield;
using Values = std::vector<std::complex<double>>;

// Lengths are in mm.
constexpr double speed = 1.54e6;
constexpr std::size_t count = 64;
constexpr double width = 10;
constexpr double height = 8;
constexpr double radius = 5;

/// The time of the calling thread alone: other work on the machine takes turns with it.
double seconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + 1e-9 * static_cast<double>(time.tv_nsec);
}

/// Frequencies from 0.24 MHz to 4 MHz, with losses in dB/(cm MHz).
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
    request.piston = {width, height};
    request.tolerance = Tolerance{1e-3};
    return request;
}

Request disc() {
    Request request = rectangle();
    request.array =
        Array{{Element{{}, {}, std::make_shared<const Outline>(discOutline(radius))}}, {1.0}};
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

/// The field of a source by integrals over its surface.
struct Exact {
    reference::FlatSource source;
    std::vector<double> centres{0};  ///< of its elements along x

    std::complex<double> at(const std::array<double, 3>& point, const Wave& wave) const {
        std::complex<double> sum;
        for (const double x : centres)
            sum += reference::flatIntegrals(source, {point[0] - x, point[1], point[2]},
                                            {wave.wavenumber, -wave.attenuation})
                       .value;
        return wave.wavenumber / (2 * std::numbers::pi) * sum;
    }
};

struct Case {
    const char* name;
    Request request;
    double attenuation;
    Exact exact;
};

std::array<double, 3> placeOf(const Request& request, std::int64_t point) {
    if (request.points) {
        const auto i = static_cast<std::size_t>(point);
        return {request.points->x[i], request.points->y[i], request.points->z[i]};
    }
    const auto& m = request.lattice.transform;
    const std::int64_t row = point / request.lattice.sizes[0];
    const auto x = static_cast<double>(point % request.lattice.sizes[0]);
    const auto y = static_cast<double>(row);
    return {m[0] * x + m[1] * y + m[3], m[4] * x + m[5] * y + m[7], m[8] * x + m[9] * y + m[11]};
}

/// The largest errors of two fields at some points and frequencies, relative to the largest value
/// of each frequency.
std::array<double, 2> errorsOf(const Case& of, const Request& request, const std::vector<Tone>& all,
                               const std::array<const Values*, 2>& fields) {
    const std::int64_t points = request.lattice.box().points();
    std::array<double, 2> errors{};
    for (std::size_t n = 0; n < all.size(); n += 21) {
        const std::size_t first = n * static_cast<std::size_t>(points);
        double largest = 0;
        for (std::int64_t i = 0; i < points; ++i)
            largest =
                std::max(largest, std::abs((*fields[0])[first + static_cast<std::size_t>(i)]));
        for (std::int64_t i = 0; i < points; i += points / 5 + 1) {
            const std::complex<double> exact = of.exact.at(placeOf(request, i), all[n].wave);
            for (std::size_t f = 0; f < fields.size(); ++f) {
                const std::complex<double> value =
                    (*fields[f])[first + static_cast<std::size_t>(i)];
                errors[f] = std::max(errors[f], std::abs(value - exact) / largest);
            }
        }
    }
    return errors;
}

void compare(const Case& of, const Request& request) {
    const std::vector<Tone> all = tones(of.attenuation);
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
    const auto [errorApart, errorShared] = errorsOf(of, request, all, {&apart, &shared});
    const double each = 1e9 / static_cast<double>(all.size()) / static_cast<double>(points);
    std::printf("%-18s %7lld %7.0e  %-11s %9.1f %9.1f %7.1f %9.1e %9.1e\n", of.name,
                static_cast<long long>(points), request.tolerance->value, engine.c_str(),
                timeApart * each, timeShared * each, timeApart / timeShared, errorApart,
                errorShared);
}

void compareAll(const Case& of) {
    for (const std::int64_t points : {16, 1000}) compare(of, atPoints(of.request, points));
    for (const std::int64_t side : {50, 200}) compare(of, onPlane(of.request, side));
}

Request within(Request request, double tolerance, Mode mode = Mode::cpu) {
    request.tolerance->value = tolerance;
    request.mode = mode;
    return request;
}

}  // namespace

int main() {
    static_cast<void>(std::setvbuf(stdout, nullptr, _IOLBF, 1 << 12));
    std::puts(
        "64 frequencies from 0.24 to 4 MHz at 1540 m/s; a rectangle of 10 by 8 mm, a disc of 10 "
        "mm, "
        "and 16 elements\nof 0.5 by 8 mm; losses of 0.5 dB/(cm MHz). Lists of points, and planes "
        "along the axis, from 3 to 63 mm.\nTimes in ns for a point and frequency with all that "
        "comes before, one thread, its own time, the least of\nthree. Errors are relative to the "
        "largest value, against the integral over the surface at 4 points and 4 "
        "frequencies. The\nengine is the last plan's.\n");
    std::printf("%-18s %7s %7s  %-11s %9s %9s %7s %9s %9s\n", "source", "points", "tol.", "engine",
                "plans", "shared", "times", "error", "error");
    const Exact ofRectangle{reference::polygonSource({{-width / 2, -height / 2},
                                                      {width / 2, -height / 2},
                                                      {width / 2, height / 2},
                                                      {-width / 2, height / 2}})};
    const Exact ofDisc{reference::ringSource(0, radius)};
    Exact ofRow{reference::polygonSource({{-0.25, -4}, {0.25, -4}, {0.25, 4}, {-0.25, 4}}), {}};
    const Request elements = row();
    for (const Element& element : elements.array->elements)
        ofRow.centres.push_back(element.pose.centre[0]);
    constexpr double losses = 0.5;
    compareAll({"rectangle", rectangle(), 0, ofRectangle});
    compareAll({"rectangle", within(rectangle(), 1e-6), 0, ofRectangle});
    compareAll({"rectangle, single", within(rectangle(), 1e-3, Mode::cpusp), 0, ofRectangle});
    compareAll({"rectangle, losses", rectangle(), losses, ofRectangle});
    compareAll({"disc", disc(), 0, ofDisc});
    compareAll({"disc, losses", disc(), losses, ofDisc});
    compareAll({"16 elements", row(), 0, ofRow});
    return 0;
}
