// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of a point with a tolerance, beside that of the mode of the same precision at the least
// order that keeps the tolerance. docs/performance.md says how to read the table.

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

Request withOrder(Request request, int order) {
    request.rule.order = order;
    return request;
}

Request withTolerance(Request request, double value) {
    request.tolerance = {.value = value};
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

/// The same on average over boxes in every fifth plane. They take a fraction of a millisecond on
/// one core, so that most run undisturbed once on a machine with other work.
double timeOf(const Plan& plan, unsigned threads) {
    constexpr std::int64_t rows = 25;
    const std::array<std::int64_t, 3> whole = plan.request().lattice.sizes;
    std::vector<std::byte> values(
        static_cast<std::size_t>(plan.request().valueBytes() * whole[0] * rows));
    double sum = 0;
    int boxes = 0;
    for (std::int64_t plane = 0; plane < whole[2]; plane += thinning)
        for (std::int64_t row = 0; row + rows <= whole[1]; row += rows, ++boxes)
            sum += timeOf(plan, {{0, row, plane}, {whole[0], rows, 1}}, threads, values.data());
    return sum / boxes;
}

void printTimes(const Plan& plan) {
    std::printf("  %8.1f %8.1f", timeOf(plan, 1), timeOf(plan, pistonfield::usableCores()));
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

void printRow(const char* name, const Request& request, double tolerance, Orders& orders,
              const Values& fine) {
    std::printf("%-6s %-6s %7.0e", name, request.inSingle() ? "single" : "double", tolerance);
    const Request asked = withTolerance(request, tolerance);
    try {
        const Plan plan(asked);
        std::printf("  %6.1f  %8.1e", plan.accuracy()->evaluations, errorOf(fieldOf(asked), fine));
        printTimes(plan);
    } catch (const pistonfield::InvalidRequest&) {
        std::printf("  %35s", "refused");
    }
    if (const auto order = orders.keeping(tolerance)) {
        std::printf("  %5d", *order);
        printTimes(Plan(withOrder(request, *order)));
    } else {
        std::printf("  %24s", "none");
    }
    std::puts("");
}

}  // namespace

int main() {
    std::printf(
        "Nanoseconds a point, of %d repetitions the least, on one core and on %u; %u by %u "
        "by %u points.\n",
        repetitions, pistonfield::usableCores(), sizes[0], sizes[1], sizes[2]);
    std::puts("                             with the tolerance                    with an order");
    std::puts(
        "region           value   nodes     error       one      all  order       one      all");
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
