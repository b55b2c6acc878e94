// SPDX-FileCopyrightText: the pistonfield developers
// SPDX-License-Identifier: BSD-3-Clause
#pragma once

#include <array>
#include <complex>
#include <vector>

#include "core/Mode.h"
#include "lanes/InstructionSet.h"

using pistonfield::Mode;
using pistonfield::modes;

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
