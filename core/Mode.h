// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <algorithm>
#include <array>
#include <optional>
#include <string_view>

namespace pistonfield {

/// What computes a field, and how precisely: the processor in double or single precision, or a GPU
/// in single precision or in double precision with square roots, sines and cosines in single; with
/// a tolerance these are double, too.
enum class Mode { cpu, cpusp, cuda, cudadp };

inline constexpr std::array modes{Mode::cpu, Mode::cpusp, Mode::cuda, Mode::cudadp};

constexpr bool isOnGpu(Mode mode) { return mode == Mode::cuda || mode == Mode::cudadp; }

/// Whether positions, sums and values are in single precision.
constexpr bool isInSingle(Mode mode) { return mode == Mode::cpusp || mode == Mode::cuda; }

constexpr const char* nameOf(Mode mode) {
    switch (mode) {
        case Mode::cpu:
            return "cpu";
        case Mode::cpusp:
            return "cpusp";
        case Mode::cuda:
            return "cuda";
        case Mode::cudadp:
            return "cudadp";
    }
    return "unknown";
}

/// The mode with this name, compared exactly, or none. "cpudp" is another name of "cpu".
constexpr std::optional<Mode> findMode(std::string_view name) {
    if (name == "cpudp") return Mode::cpu;
    const auto* const found =
        std::find_if(modes.begin(), modes.end(), [&](Mode mode) { return name == nameOf(mode); });
    if (found == modes.end()) return std::nullopt;
    return *found;
}

}  // namespace pistonfield
