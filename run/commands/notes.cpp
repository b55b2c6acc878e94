// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#include "run/commands/notes.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <numbers>
#include <sstream>
#include <string_view>

namespace run {

namespace {

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

/// What a piston of hardly any wavelengths, or of very many, is likely to be about. Files in SI
/// units and the functions for Octave have the same limits.
std::string noteOnUnits(const pistonfield::Request& request) {
    constexpr double few = 1e-3;
    constexpr double largestOrderTried = 4096;
    constexpr const char* units =
        ": lengths are in m, the speed in m/s, the frequency in Hz; k is in radians per unit of "
        "length";
    const auto& [width, height] = request.piston;
    const double longest = std::max(width, height) * request.wave.wavenumber;
    const double perRadian = 1 / (2 * std::numbers::pi);
    std::ostringstream note;
    note << "the piston measures ";
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
            std::string("some points lie behind the piston, where values ") +
            (request.tolerance ? "are those of the points before it" : "mean nothing"));
    if (const std::string units = noteOnUnits(request); !units.empty()) notes.push_back(units);
    if (const std::string device = emulationNote(); isOnGpu(request.mode) && !device.empty())
        notes.push_back(device);
    return notes;
}

std::string emulationNote() {
    if (std::string_view(PISTONFIELD_BACKEND) != "emulated") return {};
    return "the modes cuda and cudadp compute on the processor, which stands in for a GPU here";
}

}  // namespace run
