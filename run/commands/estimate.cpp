// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/estimate.h"

#include <sys/resource.h>

#include <array>
#include <cstddef>
#include <cstdint>
#include <iostream>
#include <optional>
#include <string>
#include <string_view>

#include "field/Plan.h"
#include "run/commands/notes.h"
#include "run/commands/pointTime.h"
#include "run/formatting.h"
#include "run/numbers.h"
#include "run/requestNames.h"
#include "run/shapedPiston.h"

namespace run {

namespace {

/// What a process takes: two slabs, and what the plan takes, whose device may be the process's too.
std::int64_t memoryOf(const Layout& layout, const pistonfield::Plan& plan) {
    const pistonfield::Cost cost = plan.cost({layout.box.first, layout.slabSizes});
    return peakMemory() + 2 * layout.slabBytes() + cost.memory + cost.deviceMemory;
}

/// What a tolerance is relative to the largest of, or to what that is locally.
std::string symbolOf(const pistonfield::Request& request) {
    using pistonfield::Quantity;
    if (request.quantity == Quantity::pressure) return "|p|";
    if (request.quantity == Quantity::velocity) return "|v|";
    const bool isLocal = request.tolerance->of == pistonfield::Tolerance::Of::local;
    return isLocal ? "intensity" : "|p| times the largest |v|";
}

/// By what the values come about.
std::string wayOf(const pistonfield::Request& request) {
    if (!request.tolerance)
        return std::string("mode ") + nameOf(request.mode) + ", order " +
               std::to_string(request.rule.order);
    return std::string(precisionOf(request.mode)) + " precision" +
           (isOnGpu(request.mode) ? " on a GPU" : "") + ", tolerance " +
           numbers::textOf(request.tolerance->value) + " of the " + nameOf(request.tolerance->of) +
           " " + symbolOf(request);
}

/// What is said of the wave and the baffle, where that is not what it usually is.
std::string waveOf(const pistonfield::Request& request) {
    std::string text;
    if (const double attenuation = request.wave.attenuation; attenuation > 0)
        text = "attenuation " + numbers::textOf(attenuation) + " Np per unit of length";
    if (request.baffle != pistonfield::Baffle::rigid)
        text.append(text.empty() ? "" : ", ").append(nameOf(request.baffle)).append(" baffle");
    return text;
}

std::string textOf(const pistonfield::Array& array, std::string_view engine) {
    const std::size_t count = array.elements.size();
    return std::to_string(count) + (count == 1 ? " element" : " elements") + ", by the engine " +
           std::string(engine);
}

std::string textOf(const pistonfield::Outline& outline, std::string_view engine) {
    std::size_t edges = 0;
    for (const pistonfield::Loop& loop : outline.loops) edges += loop.size();
    return std::to_string(edges) + " edges, by the engine " + std::string(engine);
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

Outlook printEstimate(const std::filesystem::path& output, const Layout& layout,
                      const pistonfield::Plan& plan, std::int64_t missing, int processes) {
    const auto& [x, y, z] = layout.box.size;
    const std::optional<pistonfield::Accuracy> accuracy = plan.accuracy();
    const double each = secondsOfAPoint(layout, plan);
    const auto bytes = [](std::int64_t count) {
        return formatting::bytes(static_cast<double>(count));
    };
    const std::filesystem::path folder = std::filesystem::absolute(output).parent_path();
    constexpr double nano = 1e-9;
    std::cout << "field   " << x << " x " << y << " x " << z << " points, " << wayOf(layout.request)
              << "\n";
    if (layout.request.components() > 1)
        std::cout << "values  " << nameOf(layout.request.quantity) << ", "
                  << layout.request.components() << " components at each point\n";
    if (const std::string wave = waveOf(layout.request); !wave.empty())
        std::cout << "wave    " << wave << "\n";
    if (const pistonfield::Outline* outline = shapeOf(layout.request))
        std::cout << "outline " << textOf(*outline, plan.engine()) << "\n";
    else if (const auto& array = layout.request.array)
        std::cout << "array   " << textOf(*array, plan.engine()) << "\n";
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
    for (const auto& notes : {notesOn(layout), notesOnCuts(layout, plan.tile())})
        for (const std::string& note : notes) std::cout << "note    " << note << "\n";
    std::cout << std::flush;
    return {accuracy, std::string(plan.engine())};
}

}  // namespace run
