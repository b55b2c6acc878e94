// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/estimate.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <iostream>
#include <string>
#include <vector>

#include "field/Plan.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"
#include "run/formatting.h"
#include "run/numbers.h"
#include "run/requestNames.h"

namespace run {

namespace {

/// Seconds that a point takes, from points all over the field.
double measuredSecondsPerPoint(const Layout& layout, const pistonfield::Plan& plan,
                               const pistonfield::Conduct& conduct) {
    constexpr std::int64_t places = 8;
    constexpr std::int64_t mostRows = 4;
    const Slabs slabs = layout.slabs();
    std::vector<std::byte> values(
        static_cast<std::size_t>(mostRows * layout.slabSizes[0] * layout.request.valueBytes()));
    std::int64_t points = 0;
    std::chrono::duration<double> time{};
    for (std::int64_t i = 0; i < places; ++i) {
        // As doubles, the number of slabs being what it may.
        const double share = static_cast<double>(i) / static_cast<double>(places);
        LatticeBox box =
            slabs.slab(static_cast<std::int64_t>(share * static_cast<double>(slabs.count())));
        box.size[1] = std::min(box.size[1], mostRows);
        box.size[2] = 1;
        const auto begin = std::chrono::steady_clock::now();
        plan.computeNative(box, values.data(), conduct);
        // The first one also wakes the processor.
        if (i == 0 && slabs.count() > 1) continue;
        time += std::chrono::steady_clock::now() - begin;
        points += box.points();
    }
    return time.count() / static_cast<double>(points);
}

/// Seconds that a point takes in one process.
double secondsPerPoint(const Layout& layout, const pistonfield::Plan& plan) {
    if (isOnGpu(layout.request.mode)) return measuredSecondsPerPoint(layout, plan, {});
    // Some of the places are large enough for several threads and some are not.
    const double seconds = measuredSecondsPerPoint(layout, plan, {.threads = 1});
    return seconds / std::min(pistonfield::threadCount(), pistonfield::usableCores());
}

/// Whether any point of a lattice lies behind the piston's plane.
bool reachesBehind(const Layout& layout) {
    const auto& transform = layout.request.lattice.transform;
    double lowest = transform[11] / transform[15];
    for (std::size_t i = 0; i < layout.box.size.size(); ++i) {
        const double step = transform[8 + i] / transform[15];
        const auto first = static_cast<double>(layout.box.first[i]);
        const auto last = first + static_cast<double>(layout.box.size[i] - 1);
        lowest += std::min(step * first, step * last);
    }
    return lowest < 0;
}

/// What a process takes: two slabs, and what the plan takes, whose device may be the process's too.
std::int64_t memoryOf(const Layout& layout, const pistonfield::Plan& plan) {
    const pistonfield::Cost cost = plan.cost({layout.box.first, layout.slabSizes});
    return peakMemory() + 2 * layout.slabBytes() + cost.memory + cost.deviceMemory;
}

/// By what the values come about.
std::string wayOf(const pistonfield::Request& request) {
    if (!request.tolerance)
        return std::string("mode ") + nameOf(request.mode) + ", order " +
               std::to_string(request.rule.order);
    return std::string(precisionOf(request.mode)) + " precision, tolerance " +
           numbers::textOf(request.tolerance->value) + " of the " + nameOf(request.tolerance->of) +
           " |p|";
}

std::string textOf(const pistonfield::Accuracy& accuracy) {
    return formatting::twoDigits(accuracy.error) + " measured at " +
           std::to_string(accuracy.points) + " points, " + formatting::twoDigits(accuracy.bound) +
           " at most; " + formatting::figure(accuracy.evaluations) + " evaluations a point";
}

}  // namespace

std::int64_t peakMemory() {
    rusage usage{};
    static_cast<void>(getrusage(RUSAGE_SELF, &usage));
    constexpr std::int64_t kibibyte = 1024;
    return usage.ru_maxrss * kibibyte;
}

std::optional<pistonfield::Accuracy> printEstimate(const std::filesystem::path& output,
                                                   const Layout& layout, std::int64_t missing,
                                                   int processes) {
    const auto& [x, y, z] = layout.box.size;
    const pistonfield::Plan plan(layout.request);
    const std::optional<pistonfield::Accuracy> accuracy = plan.accuracy();
    const double each = secondsPerPoint(layout, plan);
    const auto bytes = [](std::int64_t count) {
        return formatting::bytes(static_cast<double>(count));
    };
    const std::filesystem::path folder = std::filesystem::absolute(output).parent_path();
    constexpr double nano = 1e-9;
    std::cout << "field   " << x << " x " << y << " x " << z << " points, " << wayOf(layout.request)
              << "\n";
    if (accuracy) std::cout << "error   " << textOf(*accuracy) << "\n";
    std::cout << "disk    " << formatting::bytes(layout.bytes()) << " in " << output.string()
              << ", "
              << formatting::bytes(static_cast<double>(std::filesystem::space(folder).available))
              << " free there\n"
              << "memory  about " << bytes(memoryOf(layout, plan)) << " in each process\n"
              << "time    about "
              << formatting::duration(each * static_cast<double>(missing) / processes) << " in "
              << processes << (processes == 1 ? " process" : " processes") << ", at "
              << formatting::figure(each / nano)
              << " ns a point, and the time that the disk takes\n";
    if (reachesBehind(layout))
        std::cout << "note    some points lie behind the piston, where values "
                  << (layout.request.tolerance ? "are those of the points before it\n"
                                               : "mean nothing\n");
    std::cout << std::flush;
    return accuracy;
}

}  // namespace run
