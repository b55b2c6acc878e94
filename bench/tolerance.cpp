// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of a point with a tolerance, of lattices that lie across the piston's axes, along them,
// and along them and about the piston's centre; beside that of the mode of the same precision at
// the least order that keeps the tolerance. docs/performance.md says how to read the table.

#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <optional>
#include <utility>
#include <vector>

#include "bench/Fields.h"
#include "field/Plan.h"
#include "parallel/usableCores.h"

namespace {

using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::Request;
using Values = std::vector<std::complex<double>>;

struct Region {
    const char* name;
    bench::Box box;
};

constexpr std::array<unsigned, 3> sizes{101, 101, 50};
constexpr std::array regions{Region{"near", {sizes, {-8, -8, 0.1}, {8, 8, 5}}},
                             Region{"mixed", {sizes, {-8, -8, 1}, {8, 8, 50}}},
                             Region{"far", {sizes, {-50, -50, 50}, {50, 50, 500}}}};
constexpr std::array tolerances{1e-2, 1e-3, 1e-4, 1e-5, 1e-6, 1e-8, 1e-10, 1e-12};
constexpr int fineOrder = 200;
constexpr int repetitions = 12;
constexpr unsigned thinning = 5;

Request requestOf(const bench::Box& box, Mode mode) {
    Request request;
    request.piston = {.width = bench::piston.s, .height = bench::piston.l};
    request.wave = {.wavenumber = bench::piston.k};
    request.lattice.transform = box.transform();
    std::copy(box.sizes.begin(), box.sizes.end(), request.lattice.sizes.begin());
    request.mode = mode;
    return request;
}

/// Sheared by what no value shows, so that it lies along no axis.
Request across(Request request) {
    request.lattice.transform[1] = request.lattice.transform[8] = 1e-9;
    return request;
}

/// Moved by a part of a step, so that no point mirrors another one.
Request moved(Request request) {
    auto& m = request.lattice.transform;
    m[3] += 0.37 * m[0];
    m[7] += 0.37 * m[5];
    return request;
}

Request withOrder(Request request, int order) {
    request.rule.order = order;
    return request;
}

Values fieldOf(const Request& request) {
    Values values(static_cast<std::size_t>(request.lattice.box().points()));
    Plan(request).compute(request.lattice.box(), values.data());
    return values;
}

/// The largest error, relative to the largest value.
double errorOf(const Values& values, const Values& fine) {
    double error = 0;
    double largest = 0;
    for (std::size_t i = 0; i < values.size(); ++i) {
        error = std::max(error, std::abs(values[i] - fine[i]));
        largest = std::max(largest, std::abs(fine[i]));
    }
    return error / largest;
}

/// Nanoseconds a point of a box, of some repetitions the least.
double timeOf(const Plan& plan, const LatticeBox& box, unsigned threads, void* values) {
    double least = std::numeric_limits<double>::infinity();
    for (int i = 0; i < repetitions; ++i) {
        const auto begin = std::chrono::steady_clock::now();
        plan.computeNative(box, values, {.threads = threads});
        const std::chrono::duration<double, std::nano> time =
            std::chrono::steady_clock::now() - begin;
        least = std::min(least, time.count());
    }
    return least / static_cast<double>(box.points());
}

/// The same on average over every fifth plane. One takes a millisecond or less on one core, so that
/// most run undisturbed once on a machine with other work.
double timeOf(const Plan& plan, unsigned threads) {
    const std::array<std::int64_t, 3> whole = plan.request().lattice.sizes;
    std::vector<std::byte> values(
        static_cast<std::size_t>(plan.request().valueBytes() * whole[0] * whole[1]));
    double sum = 0;
    int planes = 0;
    for (std::int64_t plane = 0; plane < whole[2]; plane += thinning, ++planes)
        sum += timeOf(plan, {{0, 0, plane}, {whole[0], whole[1], 1}}, threads, values.data());
    return sum / planes;
}

void printTimes(const Plan& plan) {
    std::printf(" %7.1f %7.1f", timeOf(plan, 1), timeOf(plan, pistonfield::usableCores()));
}

/// Orders of a mode and their errors on every fifth plane of a box, as they are asked for.
class Orders {
  public:
    Orders(const bench::Box& box, Mode mode)
        : request(requestOf(thinned(box), mode)),
          fine(fieldOf(withOrder(requestOf(thinned(box), Mode::cpu), fineOrder))) {}

    /// The least order that keeps a tolerance, from that of the last call on.
    std::optional<int> keeping(double tolerance) {
        for (; order < fineOrder; ++order)
            if (errorOf(fieldOf(withOrder(request, order)), fine) <= tolerance) return order;
        return std::nullopt;
    }

  private:
    static bench::Box thinned(bench::Box box) {
        const double step = (box.last[2] - box.first[2]) / (box.sizes[2] - 1);
        box.sizes[2] /= thinning;
        box.last[2] = box.first[2] + thinning * step * (box.sizes[2] - 1);
        return box;
    }

    Request request;
    Values fine;
    int order = 1;
};

void printWithin(double tolerance, Request request, const Values* fine) {
    request.tolerance = {.value = tolerance};
    try {
        const Plan plan(request);
        std::printf("  %5.1f", plan.accuracy()->evaluations);
        printTimes(plan);
        if (fine != nullptr) std::printf("  %7.1e", errorOf(fieldOf(request), *fine));
    } catch (const pistonfield::InvalidRequest&) {
        std::printf("  %21s", "refused");
        if (fine != nullptr) std::printf("  %7s", "");
    }
}

void printRow(const char* name, const Request& request, double tolerance, Orders& orders,
              const Values& fine) {
    std::printf("%-5s %-6s %5.0e", name, request.inSingle() ? "single" : "double", tolerance);
    printWithin(tolerance, across(request), nullptr);
    printWithin(tolerance, moved(request), nullptr);
    printWithin(tolerance, request, &fine);
    if (const auto order = orders.keeping(tolerance)) {
        std::printf("  %4d", *order);
        printTimes(Plan(withOrder(request, *order)));
    } else {
        std::printf("  %20s", "none");
    }
    std::puts("");
}

}  // namespace

int main() {
    std::printf(
        "Nanoseconds a point, of %d repetitions the least, on one core and on %u; %u by %u "
        "by %u points.\n",
        repetitions, pistonfield::usableCores(), sizes[0], sizes[1], sizes[2]);
    std::puts(
        "                        across the axes            along the axes       "
        "   along, about the centre          with an order");
    std::puts(
        "region        value  nodes     one     all  nodes     one     all"
        "  nodes     one     all    error  order    one     all");
    for (const auto& [name, box] : regions) {
        const Values fine = fieldOf(withOrder(requestOf(box, Mode::cpu), fineOrder));
        for (const Mode mode : {Mode::cpu, Mode::cpusp}) {
            Orders orders(box, mode);
            for (const double tolerance : tolerances)
                printRow(name, requestOf(box, mode), tolerance, orders, fine);
        }
    }
    return 0;
}
