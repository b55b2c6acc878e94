// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause

// The time of a point within a tolerance as one of a list, beside that of the lattice that has the
// same points: in the lattice's order, and in none. On one core; docs/performance.md has the
// figures.

#include <algorithm>
#include <array>
#include <chrono>
#include <complex>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <limits>
#include <numeric>
#include <optional>
#include <utility>
#include <vector>

#include "bench/Fields.h"
#include "field/Plan.h"

namespace {

using pistonfield::Mode;
using pistonfield::Plan;
using pistonfield::PointList;
using pistonfield::Request;

constexpr bench::Box region{{101, 101, 50}, {-8, -8, 1}, {8, 8, 50}};
constexpr int repetitions = 12;

/// The region's lattice, sheared by what no value shows: one that lies along no axis.
Request latticeRequest(Mode mode, double tolerance) {
    Request request;
    request.piston = {.width = bench::piston.s, .height = bench::piston.l};
    request.wave = {.wavenumber = bench::piston.k};
    request.lattice.transform = region.transform();
    request.lattice.transform[1] = request.lattice.transform[8] = 1e-9;
    std::copy(region.sizes.begin(), region.sizes.end(), request.lattice.sizes.begin());
    request.mode = mode;
    request.tolerance = {.value = tolerance};
    return request;
}

PointList pointsOf(const pistonfield::Lattice& lattice) {
    PointList list;
    const std::array<std::vector<double>*, 3> coordinates{&list.x, &list.y, &list.z};
    for (std::int64_t z = 0; z < lattice.sizes[2]; ++z)
        for (std::int64_t y = 0; y < lattice.sizes[1]; ++y)
            for (std::int64_t x = 0; x < lattice.sizes[0]; ++x)
                for (std::size_t i = 0; i < coordinates.size(); ++i) {
                    const double* const row = &lattice.transform[4 * i];
                    coordinates[i]->push_back(row[0] * static_cast<double>(x) +
                                              row[1] * static_cast<double>(y) +
                                              row[2] * static_cast<double>(z) + row[3]);
                }
    return list;
}

/// The same points in an order in which neighbours lie anywhere: each next one is some two thirds
/// of the list further, and each has its turn once.
PointList mixed(const PointList& list) {
    constexpr std::size_t step = 354301;
    const std::size_t count = list.x.size();
    PointList result;
    for (std::size_t i = 0, at = 0; i < count; ++i, at = (at + step) % count) {
        result.x.push_back(list.x[at]);
        result.y.push_back(list.y[at]);
        result.z.push_back(list.z[at]);
    }
    return result;
}

Request withPoints(Request request, PointList points) {
    request.lattice.sizes = {static_cast<std::int64_t>(points.x.size()), 1, 1};
    request.points = std::move(points);
    return request;
}

/// What is measured of a request, in nanoseconds a point: of some repetitions the least.
class Times {
  public:
    explicit Times(Request request) : request(std::move(request)) {}

    /// One more repetition. Each plane's share is timed by itself: it takes about a millisecond,
    /// so that most run undisturbed once on a machine with other work.
    void measure() {
        Request copy = request;
        std::optional<Plan> plan;
        keep(leastPlan, [&] { plan.emplace(std::move(copy)); });
        for (std::size_t i = 0; i < planes; ++i)
            keep(leastShares.at(i),
                 [&] { plan->computeNative(share(i), values.data(), {.threads = 1}); });
    }

    double plan() const { return leastPlan / static_cast<double>(region.points()); }
    double field() const {
        return std::accumulate(leastShares.begin(), leastShares.end(), 0.0) /
               static_cast<double>(region.points());
    }

  private:
    static constexpr std::size_t planes = region.sizes[2];
    static constexpr std::int64_t pointsOfAPlane = std::int64_t{region.sizes[0]} * region.sizes[1];
    static constexpr double infinity = std::numeric_limits<double>::infinity();

    static void keep(double& least, const auto& work) {
        const auto begin = std::chrono::steady_clock::now();
        work();
        const std::chrono::duration<double, std::nano> time =
            std::chrono::steady_clock::now() - begin;
        least = std::min(least, time.count());
    }

    LatticeBox share(std::size_t number) const {
        const auto i = static_cast<std::int64_t>(number);
        if (request.points) return {{i * pointsOfAPlane, 0, 0}, {pointsOfAPlane, 1, 1}};
        return {{0, 0, i}, {region.sizes[0], region.sizes[1], 1}};
    }

    Request request;
    std::vector<std::complex<double>> values = std::vector<std::complex<double>>(pointsOfAPlane);
    double leastPlan = infinity;
    std::vector<double> leastShares = std::vector<double>(planes, infinity);
};

void printRow(Mode mode, double tolerance) {
    const Request request = latticeRequest(mode, tolerance);
    const PointList points = pointsOf(request.lattice);
    Times lattice(request);
    Times list(withPoints(request, points));
    Times inNoOrder(withPoints(request, mixed(points)));
    // In turns, so that other work on the machine is shared alike.
    for (int i = 0; i < repetitions; ++i)
        for (Times* const times : {&lattice, &list, &inNoOrder}) times->measure();
    std::printf("%-6s %7.0e  %8.1f %8.1f %6.2f %9.1f %6.2f %12.1f\n",
                request.inSingle() ? "single" : "double", tolerance, lattice.field(), list.field(),
                list.field() / lattice.field(), inNoOrder.field(),
                inNoOrder.field() / lattice.field(), list.plan());
}

}  // namespace

int main() {
    std::printf(
        "Nanoseconds a point, of %d repetitions the least, on one core; %u by %u by %u "
        "points.\n",
        repetitions, region.sizes[0], region.sizes[1], region.sizes[2]);
    std::puts("                lattice     list  ratio  no order  ratio  list's plan");
    printRow(Mode::cpu, 1e-4);
    printRow(Mode::cpu, 1e-10);
    printRow(Mode::cpusp, 1e-4);
    return 0;
}
