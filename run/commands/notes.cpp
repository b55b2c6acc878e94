// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/notes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <iomanip>
#include <numbers>
#include <sstream>
#include <string_view>
#include <utility>

#include "arrays/ArrayReport.h"
#include "run/shapedPiston.h"

namespace run {

namespace {

/// Whether any point of a lattice lies behind a piston's plane.
bool reachesBehind(const Layout& layout, const pistonfield::Pose& pose) {
    const auto& transform = layout.request.lattice.transform;
    const pistonfield::Pose::Vector normal = pose.normal();
    // Along the normal, of a column of the transform.
    const auto along = [&](std::size_t column) {
        double sum = 0;
        for (std::size_t j = 0; j < normal.size(); ++j)
            sum += normal[j] * transform[4 * j + column] / transform[15];
        return sum;
    };
    double lowest = along(3);
    for (std::size_t j = 0; j < normal.size(); ++j) lowest -= normal[j] * pose.centre[j];
    for (std::size_t i = 0; i < layout.box.size.size(); ++i) {
        const auto first = static_cast<double>(layout.box.first[i]);
        const auto last = first + static_cast<double>(layout.box.size[i] - 1);
        lowest += std::min(along(i) * first, along(i) * last);
    }
    return lowest < 0;
}

/// Whether any lies behind the piston, or behind an element where those are asked for.
bool reachesBehind(const Layout& layout) {
    const pistonfield::Request& request = layout.request;
    if (!request.array) return reachesBehind(layout, pistonfield::Pose{});
    // Without rounding no other request has such points.
    return request.behind && std::ranges::any_of(request.array->elements, [&](const auto& element) {
               return reachesBehind(layout, element.pose);
           });
}

/// The piston, or the square about it, or the same of the largest element of an array.
pistonfield::RectangularPiston largestOf(const pistonfield::Request& request) {
    if (!request.array) return request.piston;
    if (const pistonfield::Outline* outline = shapeOf(request)) {
        const double side = 2 * circleAbout(*outline).radius;
        return {side, side};
    }
    const auto pistonOf = [](const pistonfield::Element& element) {
        if (!element.outline) return element.piston;
        const double side = 2 * circleAbout(*element.outline).radius;
        return pistonfield::RectangularPiston{side, side};
    };
    const auto longest = [&](const pistonfield::Element& element) {
        const auto [width, height] = pistonOf(element);
        return std::max(width, height);
    };
    return pistonOf(std::ranges::max(request.array->elements, {}, longest));
}

/// Which elements lie in each other, as no pistons can.
std::string noteOnOverlaps(const pistonfield::Array& array) {
    const auto overlaps = pistonfield::survey(array.elements).overlaps;
    if (overlaps.empty()) return {};
    const auto& [one, other] = overlaps.front();
    std::ostringstream note;
    note << (overlaps.size() < pistonfield::ArrayReport::mostListed ? "" : "at least ")
         << overlaps.size()
         << (overlaps.size() == 1 ? " pair of elements overlaps: "
                                  : " pairs of elements overlap, as ")
         << one + 1 << " and " << other + 1;
    return note.str();
}

/// What a piston of hardly any wavelengths, or of very many, is likely to be about. Files in SI
/// units and the functions for Octave have the same limits.
std::string noteOnUnits(const pistonfield::Request& request) {
    constexpr double few = 1e-3;
    constexpr double largestOrderTried = 4096;
    constexpr const char* units =
        ": lengths are in m, the speed in m/s, the frequency in Hz; k is in radians per unit of "
        "length";
    const auto [width, height] = largestOf(request);
    const double longest = std::max(width, height) * request.wave.wavenumber;
    const double perRadian = 1 / (2 * std::numbers::pi);
    std::ostringstream note;
    note << (hasElements(request) ? "the largest element measures " : "the piston measures ");
    if (longest * perRadian < few) {
        note << longest * perRadian << " wavelengths" << units;
        return note.str();
    }
    // An edge takes a quarter of a node for each radian before its waves are resolved at all.
    if (std::ceil(longest / 4) + 8 < largestOrderTried) return {};
    note << width * request.wave.wavenumber * perRadian << " by "
         << height * request.wave.wavenumber * perRadian << " wavelengths"
         << (request.tolerance ? "" : ", more than orders up to 4096 can do") << units;
    return note.str();
}

}  // namespace

std::vector<std::string> notesOn(const Layout& layout) {
    std::vector<std::string> notes;
    const pistonfield::Request& request = layout.request;
    if (reachesBehind(layout))
        notes.emplace_back(
            std::string("some points lie behind ") +
            (hasElements(request) ? "elements" : "the piston") + ", where values " +
            (request.tolerance ? "are those of the points before it" : "mean nothing"));
    if (hasElements(request))
        if (std::string overlaps = noteOnOverlaps(*request.array); !overlaps.empty())
            notes.push_back(std::move(overlaps));
    if (const std::string units = noteOnUnits(request); !units.empty()) notes.push_back(units);
    if (const std::string device = emulationNote(); isOnGpu(request.mode) && !device.empty())
        notes.push_back(device);
    return notes;
}

std::vector<std::string> notesOnCuts(const Layout& layout,
                                     const std::array<std::int64_t, 3>& tile) {
    const LatticeBox lattice = layout.request.lattice.box();
    double timesBySlabs = 1;
    double timesByParts = 1;
    std::ostringstream sizes;
    for (std::size_t i = 0; i < tile.size(); ++i) {
        const auto whole = static_cast<double>(std::min(tile[i], lattice.size[i]));
        const auto inPart = std::min(whole, static_cast<double>(layout.box.size[i]));
        timesBySlabs *= std::max(1.0, inPart / static_cast<double>(layout.slabSizes[i]));
        timesByParts *= whole / inPart;
        sizes << (i == 0 ? "" : " x ") << whole;
    }
    std::vector<std::string> notes;
    const auto add = [&](const char* what, double times, const char* remedy) {
        constexpr double worthTelling = 1.5;
        if (times < worthTelling) return;
        std::ostringstream note;
        note << what << " cut boxes of " << sizes.str()
             << " points that share their work, which is done up to " << std::setprecision(2)
             << times << " times: " << remedy;
        notes.push_back(note.str());
    };
    add("slabs", timesBySlabs, "with more points, --slab, it takes less time and more memory");
    add("parts", timesByParts, "one run of many processes takes less");
    return notes;
}

std::string emulationNote() {
    if (std::string_view(PISTONFIELD_BACKEND) != "emulated") return {};
    return "the modes cuda and cudadp compute on the processor, which stands in for a GPU here";
}

}  // namespace run
