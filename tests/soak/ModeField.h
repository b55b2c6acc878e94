// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <vector>

#include "lanes/InstructionSet.h"

/// The module's ways to compute a field.
enum class Mode { cpu, cpusp, cuda, cudadp };
inline constexpr std::array modes{Mode::cpu, Mode::cpusp, Mode::cuda, Mode::cudadp};

const char* nameOf(Mode mode);

constexpr bool isOnGpu(Mode mode) { return mode == Mode::cuda || mode == Mode::cudadp; }
/// Whether positions and sums are in double precision.
constexpr bool isInDouble(Mode mode) { return mode == Mode::cpu || mode == Mode::cudadp; }

/// The bound of a mode's rounding errors, to be multiplied by reference::errorMeasure.
double roundingBound(Mode mode);
/// The unit roundoff that the bound is a small multiple of.
double unitRoundoffOf(Mode mode);

/// What a user passes for a field.
struct FieldCall {
    std::array<double, 16> transform;  ///< row by row
    std::array<int, 3> sizes;
    double l, s, k;
    int order;
};

using FieldValues = std::vector<std::complex<double>>;

/// The field that the module's gateway answers with, on the instruction set in use. For one thread
/// at a time. Progress lines are kept from the log.
FieldValues fieldOf(Mode mode, const FieldCall& call);

/// The instruction sets that this processor has.
std::vector<lanes::InstructionSet> availableSets();
