// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/estimate.h"

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <string>
#include <vector>

#include "field/Plan.h"
#include "parallel/threads.h"
#include "parallel/usableCores.h"
#include "run/commands/notes.h"
#include "run/formatting.h"
#include "run/numbers.h"
#include "run/requestNames.h"

namespace run {

namespace {

/// On lattices along the axes so many rows share evaluations; few of them take the time of all.
constexpr std::int64_t mostRows = 64;

std::int64_t rowsOf(const std::array<std::int64_t, 3>& slab) { return std::min(mostRows, slab[1]); }

/// Some of a slab's first points: whole rows, where there are enough for one.
LatticeBox beginningOf(LatticeBox slab, std::int64_t points) {
    slab.size[0] = std::min(slab.size[0], points);
    slab.size[1] = std::min(rowsOf(slab.size), points / slab.size[0]);
    slab.size[2] = 1;
    return slab;
}

/// Seconds that a point of a slab takes: of one point at first, which may take long, and of more
/// until their time can be told. The lesser time of two, as the first one may be that of a start,
/// or of other work.
double secondsPerPoint(const LatticeBox& slab, const pistonfield::Plan& plan, std::byte* values,
                       const pistonfield::Conduct& conduct) {
    constexpr std::chrono::milliseconds enough{5};
    constexpr std::int64_t more = 8;
    const std::int64_t most = rowsOf(slab.size) * slab.size[0];
    for (std::int64_t points = 1;; points = std::min(points * more, most)) {
        const LatticeBox box = beginningOf(slab, points);
        const auto timed = [&] {
            const auto begin = std::chrono::steady_clock::now();
            plan.computeNative(box, values, conduct);
            return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin);
        };
        const std::chrono::duration<double> first = timed();
        const auto time = std::min(first, timed());
        if (points == most || time >= enough)
            return time.count() / static_cast<double>(box.points());
    }
}

/// The same of points all over the field.
double meanSecondsPerPoint(const Layout& layout, const pistonfield::Plan& plan,
                           const pistonfield::Conduct& conduct) {
    constexpr int places = 8;
    const Slabs slabs = layout.slabs();
    std::vector<std::byte> values(static_cast<std::size_t>(
        rowsOf(layout.slabSizes) * layout.slabSizes[0] * layout.request.valueBytes()));
    double sum = 0;
    for (int i = 0; i < places; ++i) {
        // As doubles, the number of slabs being what it may.
        const double slab = static_cast<double>(slabs.count()) * i / places;
        sum += secondsPerPoint(slabs.slab(static_cast<std::int64_t>(slab)), plan, values.data(),
                               conduct);
    }
    return sum / places;
}

/// Seconds that a point takes in one process.
double secondsPerPoint(const Layout& layout, const pistonfield::Plan& plan) {
    if (isOnGpu(layout.request.mode)) return meanSecondsPerPoint(layout, plan, {});
    // Some of the places are large enough for several threads and some are not.
    const double seconds = meanSecondsPerPoint(layout, plan, {.threads = 1});
    return seconds / std::min(pistonfield::threadCount(), pistonfield::usableCores());
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
    return std::string(precisionOf(request.mode)) + " precision" +
           (isOnGpu(request.mode) ? " on a GPU" : "") + ", tolerance " +
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
    for (const std::string& note : notesOn(layout)) std::cout << "note    " << note << "\n";
    std::cout << std::flush;
    return accuracy;
}

}  // namespace run
